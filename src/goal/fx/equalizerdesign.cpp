#include "goal/fx/equalizerdesign.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace goal::fx {
namespace {

using hcml::SecondOrderCoefficients;

constexpr double highestFrequency = 0.49;  // of the rate; the tangent breaks at a half

// (b0 + b1/z) / (1 + a/z)
struct FirstOrder {
    double a, b0, b1;
};

// The coefficient of the all-pass filter with the tangent t. A boost moves its pole, as a cut does its zero.
double AllPass(double t, double gain) {
    const double zero = std::max(gain, 1.0);
    return (t - zero) / (t + zero);
}

// 1 at the highest frequencies, `gain` at the lowest.
FirstOrder LowShelf(double tangent, double gain) {
    const double a = AllPass(2 * tangent, gain);
    const double k = (a + 1) * (gain - 1) / 2;
    return {a, 1 + k, a + k};
}

// 1 at the lowest frequencies, `gain` at the highest.
FirstOrder HighShelf(double tangent, double gain) {
    const double t = tangent / 2 * std::max(gain, 1.0);
    const double a = (t - 1) / (t + 1);
    const double k = (1 - a) * (gain - 1) / 2;
    return {a, 1 + k, a - k};
}

SecondOrderCoefficients Product(const FirstOrder& low, const FirstOrder& high) {
    return {.a1 = low.a + high.a,
            .a2 = low.a * high.a,
            .b1 = low.b0 * high.b1 + low.b1 * high.b0,
            .b2 = low.b1 * high.b1,
            .b0 = low.b0 * high.b0};
}

}  // namespace

EqualizerDesign::EqualizerDesign(double sampleRate)
    : sampleRate(sampleRate), piOverRate(std::numbers::pi / sampleRate), twoPiOverRate(2 * piOverRate) {}

std::array<SecondOrderCoefficients, hcml::sectionsPerCascade> EqualizerDesign::Sections(
    const orb3::fx::ParametricEQParameters& p) const {
    return {Shelves(p), Peak(p.mid1Gain, p.mid1Center, p.mid1Width),
            Peak(p.mid2Gain, p.mid2Center, p.mid2Width)};
}

double EqualizerDesign::Tangent(double frequency) const {
    return std::tan(std::min(frequency, highestFrequency * sampleRate) * piOverRate);
}

SecondOrderCoefficients EqualizerDesign::Shelves(const orb3::fx::ParametricEQParameters& p) const {
    return Product(LowShelf(Tangent(p.lowCutoff), p.lowGain), HighShelf(Tangent(p.highCutoff), p.highGain));
}

// 1 at the lowest and highest frequencies, `gain` at `center`, in Hz. `width` is a fraction of that.
SecondOrderCoefficients EqualizerDesign::Peak(double gain, double center, double width) const {
    const double a = AllPass(Tangent(width * center), gain);
    const double c = -std::cos(std::min(center, highestFrequency * sampleRate) * twoPiOverRate);
    const double k = (a + 1) * (gain - 1) / 2;
    return {.a1 = (1 - a) * c, .a2 = -a, .b1 = (1 - a) * c, .b2 = -a - k, .b0 = 1 + k};
}

}  // namespace goal::fx
