#pragma once

// Two format libraries as one: that of the system, and the user's own over it. What has the same tag in both
// is the user's, and the chain of a user's composite conversion may lead over conversions of the system. Used
// from any thread, like every librarian.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orb3core/library/formatlibrarian.h"
#include "slib/mutex.h"

namespace orb3::fl {

/// Indices count the system's lists first, with what the user replaced in its place, then the rest of the
/// user's.
///
/// A layout of the user's replaces the system's of the same tag with all that decodes for it: the system's
/// conversions to it, which were designed for other speakers, are no more there. A format of the user's that
/// is no layout only tells his library the channels of one of the system's, and that one counts.
///
/// Changes go to the user's library. The system's takes what was generated from its own conversions, in its
/// cache, and is changed in no other way.
class LayeredLibrarian : public FormatRegistrar {
public:
    /// Neither is null. `system` is one that keeps what is generated in a cache, or one into which nothing is
    /// stored by way of this object.
    LayeredLibrarian(std::unique_ptr<FormatRegistrar> system, std::unique_ptr<FormatRegistrar> own);

    void refresh() override;
    std::string getTag() const override;  ///< the system's
    std::uint32_t getFormatCount() const override;
    void getFormat(std::uint32_t index, Format& format) const override;
    std::uint32_t findFormat(const std::string& tag) const override;
    std::uint32_t findFormatByQuillId(std::int32_t id) const override;
    bool hasFormat(const std::string& tag) const override;
    bool hasFormatWithQuillId(std::int32_t id) const override;
    std::uint32_t getMethodCount() const override;
    void getMethod(std::uint32_t index, Method& method) const override;
    std::uint32_t findMethod(const std::string& tag) const override;
    bool hasMethod(const std::string& tag) const override;
    std::uint32_t getConversionCount() const override;
    void getConversion(std::uint32_t index, Conversion& conversion) const override;
    std::uint32_t findConversion(const ConversionTag& tag) const override;
    bool hasConversion(const ConversionTag& tag) const override;
    void getSampleRates(std::uint32_t index, hcml::GenericVector<int, 1>& rates) const override;
    void getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<float, 1>& transform) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<double, 1>& transform) const override;

    void setTag(const std::string& tag) override;
    void storeFormat(const Format& format) override;
    void eraseFormat(const std::string& tag) override;
    void storeMethod(const Method& method) override;
    void eraseMethod(const std::string& tag) override;
    /// Stores references to those of its formats that only the system's library has, too.
    void storeConversion(const Conversion& conversion) override;
    void eraseConversion(const ConversionTag& tag) override;

    /// Throw slib::BadDataException for the system's base data, too.
    void storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                        const strans::TimeDomainTransform<double, 1>& transform) override;
    void eraseTransform(const ConversionTag& conversion, int rate) override;

    bool hasPendingData() const override;
    void commit() override;

    /// True for the tag of a layout that is the user's.
    bool IsOwnLayout(const std::string& tag) const;

private:
    /// Where an element of a list is.
    template <typename Key>
    struct Place {
        FormatRegistrar* library;
        std::uint32_t index;
        Key key;
    };
    template <typename Key>
    using Places = std::vector<Place<Key>>;

    void Join() SLIB_REQUIRES(mutex);
    void JoinFormats() SLIB_REQUIRES(mutex);
    void JoinMethods() SLIB_REQUIRES(mutex);
    void JoinConversions() SLIB_REQUIRES(mutex);
    Place<ConversionTag> ConversionAt(std::uint32_t index) const;
    template <typename Change>
    void ChangeOwn(const Change& change);
    FormatRegistrar& LibraryOf(const ConversionTag& tag) const;

    const std::unique_ptr<FormatRegistrar> system;
    const std::unique_ptr<FormatRegistrar> own;
    mutable slib::Mutex mutex;
    Places<std::string> formats SLIB_GUARDED_BY(mutex);
    Places<std::string> methods SLIB_GUARDED_BY(mutex);
    Places<ConversionTag> conversions SLIB_GUARDED_BY(mutex);
};

}  // namespace orb3::fl
