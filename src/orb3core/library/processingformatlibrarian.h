#pragma once

// What the rest of the system uses instead of a stored library: it also makes the transforms that the library
// doesn't have. A transform at another rate is resampled from a stored one; that of a composite conversion is
// the chain of its links. What was made is stored, so that the work is done once. Used from any thread. It
// has no lock: nobody waits for the long work.

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "orb3core/library/formatlibrarian.h"
#include "slib/log.h"
#include "slib/smartptr.h"

namespace orb3::fl {

/// The transforms one after the other, of one rate and with the outputs of each as the inputs of the next,
/// times `gain`. Throws slib::BadDataException for those that don't match, or that would become too large.
strans::TimeDomainTransform<double, 1> ChainTransforms(
    const std::vector<const strans::TimeDomainTransform<double, 1>*>& links, double gain);

class ProcessingFormatLibrarian : public FormatRegistrar {
public:
    /// `library` is read. `registrar` takes what is stored: `library` seen from its write side, or another
    /// one that outlives this object, or null, and then nothing is stored. `sincTruncation` is the transition
    /// of the resampler's low-pass, as a fraction of the rate. `log` is borrowed, outlives the object and may
    /// be null. With `commitAtOnce` each transform that was made is committed.
    ProcessingFormatLibrarian(slib::SmartPtr<FormatLibrarian, slib::ThreadsafeCounter> library,
                              FormatRegistrar* registrar, double sincTruncation, slib::Log* log,
                              bool commitAtOnce);

    void refresh() override;
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

    /// Covers what can be made, too. Throws slib::BadDataException for a composite conversion with a link
    /// that is missing or unavailable, or that leads back to itself, and for a conversion with generated data
    /// alone.
    void getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const override;

    /// Takes seconds where the transform has to be made. A transform that can't be stored is returned all the
    /// same, and the reason is logged; one that was generated earlier but can't be read is made again. Rings
    /// of what is made have a power of two for their length.
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<float, 1>& transform) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<double, 1>& transform) const override;

    /// These go to the registrar, and throw slib::BadStateException when there is none.
    void setTag(const std::string& tag) override;
    void storeFormat(const Format& format) override;
    void eraseFormat(const std::string& tag) override;
    void storeMethod(const Method& method) override;
    void eraseMethod(const std::string& tag) override;
    void storeConversion(const Conversion& conversion) override;
    void eraseConversion(const ConversionTag& tag) override;
    void storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                        const strans::TimeDomainTransform<double, 1>& transform) override;
    void eraseTransform(const ConversionTag& conversion, int rate) override;
    bool hasPendingData() const override;
    void commit() override;

private:
    using Transform = strans::TimeDomainTransform<double, 1>;
    struct Request;

    void FindStatus(std::uint32_t index, Request& request, TransformStatus& status) const;
    void ResolveStatus(std::uint32_t index, Request& request, TransformStatus& status) const;
    void ResolveLink(const ConversionTag& link, Request& request) const;
    int FindBaseRate(std::uint32_t index) const;

    template <typename T>
    [[nodiscard]] bool ReadStored(std::uint32_t index, int rate,
                                  strans::TimeDomainTransform<T, 1>& transform) const;
    Transform Provide(std::uint32_t index, Request& request) const;
    const Transform& ProvideLink(const ConversionTag& link, Request& request) const;
    Transform Generate(std::uint32_t index, Request& request) const;
    Transform GenerateResampled(std::uint32_t index, int rate) const;
    Transform GenerateChained(std::uint32_t index, const Conversion& conversion, Request& request) const;
    void Keep(std::uint32_t index, const Transform& transform) const;
    void Note(const char* what, const std::exception& failure) const;
    FormatRegistrar& Registrar() const;

    slib::SmartPtr<FormatLibrarian, slib::ThreadsafeCounter> library;
    FormatRegistrar* registrar;
    double sincTruncation;
    slib::Log* log;
    bool commitAtOnce;
};

}  // namespace orb3::fl
