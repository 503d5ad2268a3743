#include "orb3core/library/processingformatlibrarian.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "numeric/dft.h"
#include "orb3core/transform/transformchaining.h"
#include "orb3core/transform/transformprecision.h"
#include "orb3core/transform/transformresampling.h"
#include "slib/exception.h"

namespace orb3::fl {
namespace {

using strans::TimeDomainTransform;
using Transform = TimeDomainTransform<double, 1>;

constexpr TransformStatus storedStatus{true, true, false};
constexpr TransformStatus makeableStatus{true, true, true};

constexpr std::size_t greatestDepth = 64;                              // of composites within composites
constexpr std::uint64_t greatestSampleCount = std::uint64_t{1} << 26;  // of all rings of a transform

// Begins the window of a response that begins late at time zero. Otherwise it would count as one that begins
// before time zero, most of a ring early, as soon as its tail reaches the end of the ring.
void TakeInSilence(TimeDomainTransform<float, 1>& transform) {
    if (std::uint64_t{transform.start} + transform.width > transform.Length()) return;
    transform.width += transform.start;
    transform.start = 0;
}

// The ring that the chained responses take: room for their windows one after the other.
std::uint32_t ChainedLength(const std::vector<const Transform*>& links) {
    std::uint64_t width = 1;
    std::uint64_t length = 1;
    std::uint64_t elements = std::uint64_t{links.front()->impulses.rows} * links.back()->impulses.columns;
    for (const Transform* link : links) {
        width += link->width - 1;
        length = std::max<std::uint64_t>(length, link->Length());
        elements = std::max<std::uint64_t>(elements, link->impulses.size);
    }
    const std::uint64_t needed = std::max(width, length);
    if (needed > greatestSampleCount || std::bit_ceil(needed) * elements > greatestSampleCount)
        throw slib::BadDataException("A composite transform would be too large.");
    return static_cast<std::uint32_t>(std::bit_ceil(needed));
}

// What the decoder's floats can't hold would never leave it again.
void CheckSamples(const Transform& transform) {
    constexpr double limit = std::numeric_limits<float>::max();
    for (const auto& impulse : transform.impulses)
        if (!std::all_of(impulse.begin(), impulse.end(), [](double x) { return std::abs(x) <= limit; }))
            throw slib::BadDataException("A composite transform has samples out of range.");
}

}  // namespace

Transform ChainTransforms(const std::vector<const Transform*>& links, double gain) {
    hcml::DFT<double> dft;
    dft.setSize(ChainedLength(links));
    strans::FrequencyDomainTransform road = strans::ToFrequencyDomain(*links[0], dft);
    for (std::size_t i = 1; i < links.size(); ++i)
        road = strans::chain(road, strans::ToFrequencyDomain(*links[i], dft));
    Transform result = strans::ToTimeDomain(road, dft, gain);
    CheckSamples(result);
    return result;
}

// What is known during one request for a status or a transform.
struct ProcessingFormatLibrarian::Request {
    int rate;                                 // Hz
    std::vector<std::uint32_t> trail;         // composite conversions at work, each a link of the one before
    std::set<std::uint32_t> possible;         // links that are available
    std::map<std::uint32_t, Transform> made;  // links that have been had

    // Adds a conversion to the trail for a scope.
    class Step {
    public:
        Step(Request& request, std::uint32_t index, const ConversionTag& tag) : trail(request.trail) {
            if (trail.size() >= greatestDepth || std::find(trail.begin(), trail.end(), index) != trail.end())
                throw slib::BadDataException(
                    "A composite transform cannot be constructed because its steps lead too deep or back to "
                    "themselves (" +
                    describe(tag) + ").");
            trail.push_back(index);
        }
        ~Step() { trail.pop_back(); }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;

    private:
        std::vector<std::uint32_t>& trail;
    };
};

ProcessingFormatLibrarian::ProcessingFormatLibrarian(
    slib::SmartPtr<FormatLibrarian, slib::ThreadsafeCounter> library, FormatRegistrar* registrar,
    double sincTruncation, slib::Log* log, bool commitAtOnce)
    : library(std::move(library)),
      registrar(registrar),
      sincTruncation(sincTruncation),
      log(log),
      commitAtOnce(commitAtOnce) {}

void ProcessingFormatLibrarian::refresh() {
    library->refresh();
}

std::string ProcessingFormatLibrarian::getTag() const {
    return library->getTag();
}

std::uint32_t ProcessingFormatLibrarian::getFormatCount() const {
    return library->getFormatCount();
}

void ProcessingFormatLibrarian::getFormat(std::uint32_t index, Format& format) const {
    library->getFormat(index, format);
}

std::uint32_t ProcessingFormatLibrarian::findFormat(const std::string& tag) const {
    return library->findFormat(tag);
}

std::uint32_t ProcessingFormatLibrarian::findFormatByQuillId(std::int32_t id) const {
    return library->findFormatByQuillId(id);
}

bool ProcessingFormatLibrarian::hasFormat(const std::string& tag) const {
    return library->hasFormat(tag);
}

bool ProcessingFormatLibrarian::hasFormatWithQuillId(std::int32_t id) const {
    return library->hasFormatWithQuillId(id);
}

std::uint32_t ProcessingFormatLibrarian::getMethodCount() const {
    return library->getMethodCount();
}

void ProcessingFormatLibrarian::getMethod(std::uint32_t index, Method& method) const {
    library->getMethod(index, method);
}

std::uint32_t ProcessingFormatLibrarian::findMethod(const std::string& tag) const {
    return library->findMethod(tag);
}

bool ProcessingFormatLibrarian::hasMethod(const std::string& tag) const {
    return library->hasMethod(tag);
}

std::uint32_t ProcessingFormatLibrarian::getConversionCount() const {
    return library->getConversionCount();
}

void ProcessingFormatLibrarian::getConversion(std::uint32_t index, Conversion& conversion) const {
    library->getConversion(index, conversion);
}

std::uint32_t ProcessingFormatLibrarian::findConversion(const ConversionTag& tag) const {
    return library->findConversion(tag);
}

bool ProcessingFormatLibrarian::hasConversion(const ConversionTag& tag) const {
    return library->hasConversion(tag);
}

void ProcessingFormatLibrarian::getSampleRates(std::uint32_t index,
                                               hcml::GenericVector<int, 1>& rates) const {
    library->getSampleRates(index, rates);
}

void ProcessingFormatLibrarian::getTransformStatus(std::uint32_t index, int rate,
                                                   TransformStatus& status) const {
    Request request{rate, {}, {}, {}};
    TransformStatus found = status;
    FindStatus(index, request, found);
    status = found;
}

void ProcessingFormatLibrarian::getTransform(std::uint32_t index, int rate,
                                             TimeDomainTransform<float, 1>& transform) const {
    if (!ReadStored(index, rate, transform)) FormatLibrarian::getTransform(index, rate, transform);
}

void ProcessingFormatLibrarian::getTransform(std::uint32_t index, int rate, Transform& transform) const {
    Request request{rate, {}, {}, {}};
    transform = Provide(index, request);
}

void ProcessingFormatLibrarian::setTag(const std::string& tag) {
    Registrar().setTag(tag);
}

void ProcessingFormatLibrarian::storeFormat(const Format& format) {
    Registrar().storeFormat(format);
}

void ProcessingFormatLibrarian::eraseFormat(const std::string& tag) {
    Registrar().eraseFormat(tag);
}

void ProcessingFormatLibrarian::storeMethod(const Method& method) {
    Registrar().storeMethod(method);
}

void ProcessingFormatLibrarian::eraseMethod(const std::string& tag) {
    Registrar().eraseMethod(tag);
}

void ProcessingFormatLibrarian::storeConversion(const Conversion& conversion) {
    Registrar().storeConversion(conversion);
}

void ProcessingFormatLibrarian::eraseConversion(const ConversionTag& tag) {
    Registrar().eraseConversion(tag);
}

void ProcessingFormatLibrarian::storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                                               const Transform& transform) {
    status.validate();
    Registrar().storeTransform(conversion, status, transform);
}

void ProcessingFormatLibrarian::eraseTransform(const ConversionTag& conversion, int rate) {
    Registrar().eraseTransform(conversion, rate);
}

bool ProcessingFormatLibrarian::hasPendingData() const {
    return registrar != nullptr && registrar->hasPendingData();
}

void ProcessingFormatLibrarian::commit() {
    Registrar().commit();
}

FormatRegistrar& ProcessingFormatLibrarian::Registrar() const {
    if (registrar == nullptr)
        throw slib::BadStateException("No format registrar is available to store data.");
    return *registrar;
}

void ProcessingFormatLibrarian::FindStatus(std::uint32_t index, Request& request,
                                           TransformStatus& status) const {
    library->getTransformStatus(index, request.rate, status);
    if (!status.possible) ResolveStatus(index, request, status);
    status.validate();
}

// Says whether a transform that isn't stored can be made.
void ProcessingFormatLibrarian::ResolveStatus(std::uint32_t index, Request& request,
                                              TransformStatus& status) const {
    Conversion conversion;
    library->getConversion(index, conversion);
    if (conversion.chain.size != 0) {
        const Request::Step step(request, index, conversion);
        for (const ConversionTag& link : conversion.chain)
            ResolveLink(link, request);
    } else {
        hcml::GenericVector<int, 1> rates;
        library->getSampleRates(index, rates);
        if (rates.size == 0) return;
        FindBaseRate(index);
    }
    status = makeableStatus;
}

void ProcessingFormatLibrarian::ResolveLink(const ConversionTag& link, Request& request) const {
    const std::uint32_t index = library->findConversion(link);
    if (request.possible.contains(index)) return;
    TransformStatus status;
    FindStatus(index, request, status);
    if (!status.possible)
        throw slib::BadDataException("A composite transform cannot be constructed because a required step (" +
                                     describe(link) + ") is unavailable.");
    request.possible.insert(index);
}

// The highest rate, in Hz, that there is base data for; the conversion has transforms.
int ProcessingFormatLibrarian::FindBaseRate(std::uint32_t index) const {
    hcml::GenericVector<int, 1> rates;
    library->getSampleRates(index, rates);
    for (std::uint32_t i = rates.size; i-- > 0;) {
        TransformStatus status;
        library->getTransformStatus(index, rates[i], status);
        if (!status.possible) throw slib::BadDataException("Impossible data found in library.");
        status.validate();
        if (!status.generated) return rates[i];
    }
    throw slib::BadDataException("There is generated data but no base data for a conversion.");
}

// False when it isn't stored, and when it was generated and can be again, since it can't be read.
template <typename T>
bool ProcessingFormatLibrarian::ReadStored(std::uint32_t index, int rate,
                                           TimeDomainTransform<T, 1>& transform) const {
    TransformStatus status;
    library->getTransformStatus(index, rate, status);
    status.validate();
    if (!status.possible || status.needsGeneration) return false;
    try {
        library->getTransform(index, rate, transform);
        return true;
    } catch (const slib::StringException& failure) {
        if (!status.generated) throw;
        Note("A generated transform can't be read and is made anew. ", failure);
        return false;
    }
}

Transform ProcessingFormatLibrarian::Provide(std::uint32_t index, Request& request) const {
    Transform transform;
    if (ReadStored(index, request.rate, transform)) return transform;
    TransformStatus status;
    ResolveStatus(index, request, status);
    if (!status.possible) throw slib::BadDataException("The requested transform cannot be provided.");
    transform = Generate(index, request);
    Keep(index, transform);
    return transform;
}

// A link that occurs several times is made once, also where nothing can be stored.
const Transform& ProcessingFormatLibrarian::ProvideLink(const ConversionTag& link, Request& request) const {
    const std::uint32_t index = library->findConversion(link);
    auto found = request.made.find(index);
    if (found == request.made.end()) {
        found = request.made.emplace(index, Provide(index, request)).first;
        found->second.sampleRate = request.rate;  // where it was stored with a fraction
    }
    return found->second;
}

Transform ProcessingFormatLibrarian::Generate(std::uint32_t index, Request& request) const {
    Conversion conversion;
    library->getConversion(index, conversion);
    return conversion.chain.size == 0 ? GenerateResampled(index, request.rate)
                                      : GenerateChained(index, conversion, request);
}

Transform ProcessingFormatLibrarian::GenerateResampled(std::uint32_t index, int rate) const {
    TimeDomainTransform<float, 1> transform;
    library->getTransform(index, FindBaseRate(index), transform);
    TakeInSilence(transform);
    strans::resample(transform, rate, sincTruncation * rate);
    TakeInSilence(transform);  // of whose beginning the resampler may have taken some off
    strans::GrowRings(transform, std::bit_ceil(transform.Length()));
    Transform result;
    strans::ChangePrecision(transform, result);
    return result;
}

Transform ProcessingFormatLibrarian::GenerateChained(std::uint32_t index, const Conversion& conversion,
                                                     Request& request) const {
    conversion.validate();
    const Request::Step step(request, index, conversion);
    std::vector<const Transform*> links;
    for (const ConversionTag& link : conversion.chain)
        links.push_back(&ProvideLink(link, request));
    return ChainTransforms(links, conversion.gain);
}

// A library that can't be written to, such as one that was installed for all users, must not keep anybody
// from hearing what was made.
void ProcessingFormatLibrarian::Keep(std::uint32_t index, const Transform& transform) const {
    if (registrar == nullptr) return;
    try {
        Conversion conversion;
        library->getConversion(index, conversion);
        registrar->storeTransform(conversion, storedStatus, transform);
        if (commitAtOnce) registrar->commit();
    } catch (const std::exception& failure) {
        Note("A generated transform can't be stored and will have to be made again. ", failure);
    }
}

void ProcessingFormatLibrarian::Note(const char* what, const std::exception& failure) const {
    if (log != nullptr) log->Write(std::string(what) + failure.what(), true);
}

}  // namespace orb3::fl
