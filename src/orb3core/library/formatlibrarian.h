#pragma once

// The two sides of a format library: the catalogue of formats, of methods, and of the conversions between
// formats with their transforms, which FormatLibrarian reads and FormatRegistrar changes as well. Used by
// layout selection, the decoder's set-up and the tools.
//
// Librarians are shared by counted pointer, and every operation may be called from any thread: each
// implementation holds a lock of its own over it. Indices are positions in the library's lists; they hold
// until somebody changes the library. An index beyond a list throws slib::BadParameterException. What an
// operation fills stays as it was when the operation fails.

#include <cstdint>
#include <string>

#include "numeric/genericvector.h"
#include "orb3core/library/conversion.h"
#include "orb3core/library/format.h"
#include "orb3core/library/method.h"
#include "orb3core/library/transformstatus.h"
#include "orb3core/transform/timedomaintransform.h"

namespace orb3::fl {

/// The order of the operations is fixed.
class FormatLibrarian {
public:
    virtual ~FormatLibrarian() = default;

    /// Reads the library again from its storage.
    virtual void refresh() = 0;

    /// The library's own tag.
    virtual std::string getTag() const = 0;

    virtual std::uint32_t getFormatCount() const = 0;
    virtual void getFormat(std::uint32_t index, Format& format) const = 0;

    /// The index of the format with this tag, or this `quillFormat`. Throw slib::BadDataException when there
    /// is none.
    virtual std::uint32_t findFormat(const std::string& tag) const = 0;
    virtual std::uint32_t findFormatByQuillId(std::int32_t id) const = 0;

    virtual bool hasFormat(const std::string& tag) const = 0;
    virtual bool hasFormatWithQuillId(std::int32_t id) const = 0;

    virtual std::uint32_t getMethodCount() const = 0;
    virtual void getMethod(std::uint32_t index, Method& method) const = 0;

    /// Throws slib::BadDataException when there is none.
    virtual std::uint32_t findMethod(const std::string& tag) const = 0;
    virtual bool hasMethod(const std::string& tag) const = 0;

    virtual std::uint32_t getConversionCount() const = 0;
    virtual void getConversion(std::uint32_t index, Conversion& conversion) const = 0;

    /// Throws slib::BadDataException when there is none.
    virtual std::uint32_t findConversion(const ConversionTag& tag) const = 0;
    virtual bool hasConversion(const ConversionTag& tag) const = 0;

    /// The rates, in Hz and ascending, that conversion `index` has stored transforms at.
    virtual void getSampleRates(std::uint32_t index, hcml::GenericVector<int, 1>& rates) const = 0;

    /// For conversion `index` at `rate`, in Hz. A rate that the library doesn't hold leaves `status` as it
    /// is. Throws slib::BadStateException for a stored status that can't be.
    virtual void getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const = 0;

    /// For conversion `index` at `rate`, in Hz. Throws slib::BadDataException for a rate that the library
    /// doesn't hold, and what reading the transform throws. Here: the one in double precision, rounded.
    virtual void getTransform(std::uint32_t index, int rate,
                              strans::TimeDomainTransform<float, 1>& transform) const;
    virtual void getTransform(std::uint32_t index, int rate,
                              strans::TimeDomainTransform<double, 1>& transform) const = 0;
};

/// The changes wait for commit, but for libraries that say otherwise. An operation that fails, with a
/// slib::BadDataException unless documented otherwise, changes nothing.
class FormatRegistrar : public FormatLibrarian {
public:
    virtual void setTag(const std::string& tag) = 0;

    /// Replaces the format with the same tag, or appends.
    virtual void storeFormat(const Format& format) = 0;
    virtual void eraseFormat(const std::string& tag) = 0;

    /// Replaces the method with the same tag, or appends.
    virtual void storeMethod(const Method& method) = 0;
    virtual void eraseMethod(const std::string& tag) = 0;

    /// Replaces the conversion with the same tag, or appends. It has to be valid, and the one replaced
    /// without transforms.
    virtual void storeConversion(const Conversion& conversion) = 0;

    /// Throws as well while the conversion has transforms.
    virtual void eraseConversion(const ConversionTag& tag) = 0;

    /// Stores a transform at its own rate, rounded to whole Hz, replacing the one that was there. Its rows
    /// are the input format's channels and its columns the output format's. The status has to be possible,
    /// and generated for a composite conversion. New base data takes away what was generated from the old.
    virtual void storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                                const strans::TimeDomainTransform<double, 1>& transform) = 0;
    virtual void eraseTransform(const ConversionTag& conversion, int rate) = 0;

    /// True when there is something for commit to write.
    virtual bool hasPendingData() const = 0;

    /// Writes what is pending to the storage. Throws slib::OperatingSystemErrnoException, and then what
    /// wasn't written is still pending.
    virtual void commit() = 0;
};

}  // namespace orb3::fl
