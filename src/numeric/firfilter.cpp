#include "numeric/firfilter.h"

#include <cmath>
#include <numbers>
#include <numeric>

#include "slib/exception.h"

namespace hcml {
namespace {

constexpr double pi = std::numbers::pi;

// The windows after Harris (1978), at the angle `t`, which runs from 0 to 2 pi along the filter.
double WindowAt(FIRWindow window, double t) {
    switch (window) {
        case FIRWindow::None:
            return 1;
        case FIRWindow::Hamming:
            return 0.53836 - 0.46164 * std::cos(t);
        case FIRWindow::Blackman:
            return 0.42 - 0.5 * std::cos(t) + 0.08 * std::cos(2 * t);
    }
    return 1;  // a value outside the enumeration
}

// Writes both taps that are `k` samples from the middle one.
void DesignTaps(FIRFilter& filter, double w, std::int32_t k) {
    const std::int32_t middle = filter.order / 2;
    const float sinc = static_cast<float>(k == 0 ? w : std::sin(k * w) / k);
    const double t = filter.order == 0 ? pi : 2 * pi * (middle - k) / filter.order;
    const float tap = static_cast<float>(static_cast<double>(sinc) * WindowAt(filter.window, t));
    filter.taps[static_cast<std::uint32_t>(middle - k)] = tap;
    filter.taps[static_cast<std::uint32_t>(middle + k)] = tap;
}

void Normalise(GenericVector<float, 1>& taps) {
    const double sum = std::accumulate(taps.begin(), taps.end(), 0.0);
    for (float& tap : taps)
        tap = static_cast<float>(static_cast<double>(tap) / sum);
}

}  // namespace

void designLowPass(FIRFilter& filter, float cutoff) {
    const float cycles = cutoff * filter.inverseRate;  // in a sample
    if (filter.order < 0 || filter.order % 2 != 0)
        throw slib::BadParameterException("The order of a filter has to be even and not below 0.");
    if (!std::isfinite(cycles) || cycles <= 0)
        throw slib::BadParameterException("The cutoff of a low-pass filter has to be above 0.");
    filter.taps.resize(static_cast<std::uint32_t>(filter.order) + 1);
    for (std::int32_t k = 0; k <= filter.order / 2; ++k)
        DesignTaps(filter, 2 * pi * static_cast<double>(cycles), k);
    Normalise(filter.taps);
}

}  // namespace hcml
