#include "library/timedresponse.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "library/windowedsinc.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

const KaiserWindow window(7);

// The phase that QuarterTurn aims at, as a share of a quarter, from 0 at `turn` = 0 to 1 at 1.
double Eased(double turn) {
    const double x = std::clamp(turn, 0.0, 1.0);
    return x * x * (3 - 2 * x);
}

}  // namespace

void TimedResponse::Add(const TimedResponse& other, double gain) {
    if (other.taps.size() == 0) return;
    if (taps.size() == 0) first = other.first;
    const Index from = std::min(first, other.first), to = std::max(End(), other.End());
    Eigen::VectorXd sum = Eigen::VectorXd::Zero(to - from);
    sum.segment(first - from, taps.size()) = taps;
    sum.segment(other.first - from, other.taps.size()) += gain * other.taps;
    first = from;
    taps = std::move(sum);
}

TimedResponse Convolve(const TimedResponse& a, const TimedResponse& b) {
    if (a.taps.size() == 0 || b.taps.size() == 0) return {};
    TimedResponse product{a.first + b.first, Eigen::VectorXd::Zero(a.taps.size() + b.taps.size() - 1)};
    for (Index i = 0; i < a.taps.size(); ++i)
        if (a.taps[i] != 0) product.taps.segment(i, b.taps.size()) += a.taps[i] * b.taps;
    return product;
}

TimedResponse LowPass(double frequency, double sampleRate) {
    const Index half = static_cast<Index>(std::ceil(2 * sampleRate / frequency));
    TimedResponse filter{-half, Eigen::VectorXd(2 * half + 1)};
    for (Index i = -half; i <= half; ++i) {
        const double t = static_cast<double>(i);
        filter.taps[i + half] =
            Sinc(2 * frequency / sampleRate * t) * window(t / static_cast<double>(half + 1));
    }
    filter.taps /= filter.taps.sum();
    return filter;
}

// Fourier integral of exp(i sign phase(f)) over frequencies, by the midpoint rule, under a window.
TimedResponse QuarterTurn(double sign, double sampleRate) {
    const Index half = static_cast<Index>(std::lround(sampleRate * 0.0105));
    const int bins = 4096;
    TimedResponse filter{-half, Eigen::VectorXd::Zero(2 * half + 1)};
    for (int bin = 0; bin < bins; ++bin) {
        const double frequency = (bin + 0.5) / bins * sampleRate / 2, edge = 150;
        const double phase =
            sign * pi / 2 * Eased(frequency / edge) * Eased((sampleRate / 2 - frequency) / edge);
        for (Index i = -half; i <= half; ++i)
            filter.taps[i + half] +=
                std::cos(2 * pi * frequency / sampleRate * static_cast<double>(i) + phase) / bins;
    }
    for (Index i = -half; i <= half; ++i)
        filter.taps[i + half] *= window(static_cast<double>(i) / static_cast<double>(half + 1));
    return filter;
}

TimedResponse Delay(double seconds, double sampleRate) {
    const double samples = seconds * sampleRate, whole = std::round(samples);
    if (std::abs(samples - whole) < 1e-3) {
        TimedResponse filter = TimedResponse::Impulse(1);
        filter.first = static_cast<Index>(whole);
        return filter;
    }
    const Index half = 24;
    TimedResponse filter{static_cast<Index>(whole) - half, Eigen::VectorXd(2 * half + 1)};
    for (Index i = 0; i < filter.taps.size(); ++i) {
        const double t = static_cast<double>(filter.first + i) - samples;
        filter.taps[i] = Sinc(t) * window(t / (half + 1.0));
    }
    filter.taps /= filter.taps.sum();
    return filter;
}

}  // namespace design
