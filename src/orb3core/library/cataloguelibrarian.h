#pragma once

// The part that all stored libraries have in common: a catalogue in memory, its queries, and the rules by
// which transforms are let in and out. The base of BasicFormatLibrarian and PAKFormatLibrarian.

#include <cstdint>
#include <string>

#include "orb3core/library/catalogue.h"
#include "orb3core/library/formatlibrarian.h"
#include "slib/mutex.h"

namespace orb3::fl {

/// For Stored = FiledTransform and EmbeddedTransform.
template <typename Stored>
class CatalogueLibrarian : public FormatRegistrar {
public:
    std::string getTag() const override;
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

protected:
    using Data = ConversionData<Stored>;

    /// The conversion at `index`; throws slib::BadParameterException for one beyond the list.
    const Data& At(std::uint32_t index) const SLIB_REQUIRES(mutex);

    /// The conversion of this tag; throws slib::BadDataException when there is none.
    Data& Named(const ConversionTag& tag) SLIB_REQUIRES(mutex);

    /// Throws what storeTransform throws for what can't be stored.
    void CheckStorable(const Conversion& conversion, const TransformStatus& status,
                       const strans::TimeDomainTransform<double, 1>& transform) const SLIB_REQUIRES(mutex);

    /// Throws slib::BadDataException unless a transform that was stored for this conversion at `rate` is of
    /// that rate, and of the channels of the formats as far as the library knows them.
    template <typename T>
    void CheckFits(const Conversion& conversion, int rate,
                   const strans::TimeDomainTransform<T, 1>& transform) const SLIB_REQUIRES(mutex);

    mutable slib::Mutex mutex;                           // guards everything here and in derived classes
    Catalogue<Stored> catalogue SLIB_GUARDED_BY(mutex);  // tag, formats, methods, conversions
};

/// The rate of a transform in whole Hz. Throws slib::BadDataException for one that an int doesn't hold, or
/// below half a Hz.
int RoundedRate(double sampleRate);

extern template class CatalogueLibrarian<FiledTransform>;
extern template class CatalogueLibrarian<EmbeddedTransform>;

}  // namespace orb3::fl
