#include "orb3core/transform/transformchaining.h"

#include <algorithm>
#include <cstddef>

#include "slib/exception.h"

namespace orb3::strans {
namespace {

using Spectrum = hcml::GenericVector<std::complex<double>, 1>;

std::uint32_t BinsOf(const FrequencyDomainTransform& transform) {
    return transform.impulses.size == 0 ? 0 : transform.impulses[0].size;
}

// N, by the number of bins.
std::uint32_t LengthOf(std::uint32_t bins) {
    return bins <= 1 ? bins : 2 * (bins - 1);
}

void CheckChain(const FrequencyDomainTransform& first, const FrequencyDomainTransform& second) {
    if (first.width == 0 || second.width == 0)
        throw slib::BadDataException("Zero length transforms may not be chained.");
    if (first.impulses.columns != second.impulses.rows || first.sampleRate != second.sampleRate ||
        BinsOf(first) != BinsOf(second))
        throw slib::BadDataException("Transforms that do not match may not be chained.");
    if (std::uint64_t{LengthOf(BinsOf(first))} + 1 < std::uint64_t{first.width} + second.width)
        throw slib::BadDataException(
            "The DFT size is not large enough to chain these transforms without overlap.");
}

void AddProduct(const Spectrum& a, const Spectrum& b, Spectrum& sum) {
    for (std::uint32_t bin = 0; bin < sum.size; ++bin)
        sum[bin] += a[bin] * b[bin];
}

}  // namespace

template <typename T>
void GrowRings(TimeDomainTransform<T, 1>& transform, std::uint32_t length) {
    const std::uint32_t old = transform.Length();
    const std::uint32_t added = length - old;
    const bool isWrapped = std::uint64_t{transform.start} + transform.width > old;
    for (auto& impulse : transform.impulses) {
        impulse.resizePreserving(length, T{0});
        if (!isWrapped) continue;
        std::move_backward(impulse.begin() + transform.start, impulse.begin() + old, impulse.end());
        std::fill_n(impulse.begin() + transform.start, std::min(added, old - transform.start), T{0});
    }
    if (isWrapped) transform.start += added;
}

template void GrowRings(TimeDomainTransform<float, 1>&, std::uint32_t);
template void GrowRings(TimeDomainTransform<double, 1>&, std::uint32_t);

FrequencyDomainTransform ToFrequencyDomain(const TimeDomainTransform<double, 1>& transform,
                                           hcml::DFT<double>& dft) {
    TimeDomainTransform<double, 1> grown = transform;
    GrowRings(grown, dft.size);
    FrequencyDomainTransform result{grown.sampleRate, grown.start, grown.width, {}};
    result.impulses.resize(grown.impulses.rows, grown.impulses.columns);
    for (std::uint32_t e = 0; e < grown.impulses.size; ++e) {
        result.impulses[e].resize(dft.size / 2 + 1);
        dft.forward(grown.impulses[e].data, result.impulses[e].data);
    }
    return result;
}

TimeDomainTransform<double, 1> ToTimeDomain(const FrequencyDomainTransform& transform, hcml::DFT<double>& dft,
                                            double gain) {
    TimeDomainTransform<double, 1> result{transform.sampleRate, transform.start, transform.width, {}};
    result.impulses.resize(transform.impulses.rows, transform.impulses.columns);
    for (std::uint32_t e = 0; e < result.impulses.size; ++e) {
        dft.inverse(transform.impulses[e], result.impulses[e]);
        for (double& sample : result.impulses[e])
            sample *= gain;
    }
    return result;
}

FrequencyDomainTransform chain(const FrequencyDomainTransform& first,
                               const FrequencyDomainTransform& second) {
    CheckChain(first, second);
    const std::uint32_t bins = BinsOf(first);
    const std::uint32_t length = std::max(LengthOf(bins), 1U);  // CheckChain has refused 0
    const std::uint64_t start = std::uint64_t{first.start} + second.start;
    FrequencyDomainTransform result{
        first.sampleRate, static_cast<std::uint32_t>(start % length), first.width - 1 + second.width, {}};
    result.impulses.resize(first.impulses.rows, second.impulses.columns);
    for (std::uint32_t row = 0; row < result.impulses.rows; ++row)
        for (std::uint32_t column = 0; column < result.impulses.columns; ++column) {
            Spectrum& sum = result.impulses(row, column);
            sum.resize(bins);
            sum.fill(0);
            for (std::uint32_t between = 0; between < first.impulses.columns; ++between)
                AddProduct(first.impulses(row, between), second.impulses(between, column), sum);
        }
    return result;
}

}  // namespace orb3::strans
