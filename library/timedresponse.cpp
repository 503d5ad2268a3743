#include "library/timedresponse.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "library/headfourier.h"
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

constexpr double speedOfSound = 346.4;  // metres a second, as the acoustic models have it

// Runs a section of second order, by the bilinear transform of s^`power` / (s^2 + sqrt(2) s + 1) with the
// given numerator, over the samples.
void RunSection(const Eigen::Vector3d& numerator, double frequency, double sampleRate,
                Eigen::VectorXd& samples) {
    const double w = std::tan(pi * frequency / sampleRate), w2 = w * w, damp = std::numbers::sqrt2 * w;
    const double scale = 1 / (1 + damp + w2);
    const double a1 = 2 * (w2 - 1) * scale, a2 = (1 - damp + w2) * scale;
    // Of the numerator c0 + c1 s + c2 s^2 at s = (1 - z) / (w (1 + z)).
    const double c0 = numerator[0] * w2, c1 = numerator[1] * w, c2 = numerator[2];
    const double b0 = (c0 + c1 + c2) * scale, b1 = 2 * (c0 - c2) * scale, b2 = (c0 - c1 + c2) * scale;
    double s1 = 0, s2 = 0;
    for (double& sample : samples) {
        const double out = b0 * sample + s1;
        s1 = b1 * sample - a1 * out + s2;
        s2 = b2 * sample - a2 * out;
        sample = out;
    }
}

// Lets the end from `begin` on fade to nothing.
void FadeOut(Eigen::VectorXd& samples, Index begin) {
    const double length = static_cast<double>(samples.size() - begin);
    for (Index i = begin; i < samples.size(); ++i)
        samples[i] *= 0.5 + 0.5 * std::cos(pi * (static_cast<double>(i - begin) + 0.5) / length);
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

TimedResponse LinkwitzRiley(CrossoverPart part, double frequency, double sampleRate) {
    // The slowest pole's envelope falls by 100 dB in this many periods, the double pole's growth included.
    const auto length = static_cast<Index>(std::ceil(2.8 * sampleRate / frequency));
    TimedResponse filter{0, Eigen::VectorXd::Unit(length, 0)};
    const double damp = std::numbers::sqrt2;
    switch (part) {
        case CrossoverPart::Bass:
            RunSection({1, 0, 0}, frequency, sampleRate, filter.taps);
            RunSection({1, 0, 0}, frequency, sampleRate, filter.taps);
            break;
        case CrossoverPart::Rest:
            RunSection({0, 0, 1}, frequency, sampleRate, filter.taps);
            RunSection({0, 0, 1}, frequency, sampleRate, filter.taps);
            break;
        case CrossoverPart::AllPass:
            RunSection({1, -damp, 1}, frequency, sampleRate, filter.taps);
            break;
    }
    FadeOut(filter.taps, length * 9 / 10);
    return filter;
}

TimedResponse NearFieldCompensation(unsigned degree, double distance, double sampleRate) {
    HeadFourier fourier(16384);
    Eigen::VectorXcd spectrum = Eigen::VectorXcd::Zero(fourier.bins);
    for (Index bin = 1; bin < fourier.bins; ++bin) {
        const double frequency = static_cast<double>(bin) * sampleRate / static_cast<double>(fourier.length);
        const std::complex<double> turns(0, 4 * pi * frequency * distance / speedOfSound);
        // The spherical wave's sum, from its term of power 0 on.
        std::complex<double> term = 1, sum = 1;
        for (unsigned m = 1; m <= degree; ++m) {
            term *= static_cast<double>((degree + m) * (degree - m + 1)) / (static_cast<double>(m) * turns);
            sum += term;
        }
        spectrum[bin] = 1.0 / sum;
    }
    const auto begin = static_cast<Index>(0.012 * sampleRate);
    TimedResponse filter{0, fourier.Signal(spectrum).head(2 * begin)};
    FadeOut(filter.taps, begin);
    return filter;
}

}  // namespace design
