#include "goal/dsp/filtergaintables.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/onepole.h"

namespace goal {
namespace {

using Index = std::uint32_t;
constexpr Index openRow = FilterGainTables::openRow;

// The gain of a row.
double RowGain(Index row) {
    const double root = (row + 0.5) / openRow;
    return root * root;
}

FirstOrderRow RowOfPole(double b) {
    return {static_cast<float>(1 - b), static_cast<float>(b)};
}

FirstOrderRow HighFirstOrder(double gain, double angle) {
    return RowOfPole(OnePoleOfGain(gain, angle).b);
}

// The pole b of b(1 - 1/z)/(1 - b/z), what is left without the low-pass: the positive root of
// (2 - 2c - G)b² + 2cGb - G, in the form that neither cancels nor divides by 2 - 2c - G, which may be zero.
FirstOrderRow LowFirstOrder(double gain, double angle) {
    const double squared = gain * gain;
    const double c = std::cos(angle);
    return RowOfPole(squared / (gain * OnePoleRoot(squared, c) + c * squared));
}

// By what factor a Butterworth filter's cut-off lies from the frequency at which its gain is `gain`. The last
// 3% of the gain, where the curve would still cut audibly, move it further away, up to five times.
double CutoffDistance(double gain) {
    const double distance = std::pow(1 / (gain * gain) - 1, 0.25);
    const double rest = (1 - gain) / 0.03;
    return rest < 1 ? distance * (0.8 * rest + 0.2) : distance;
}

// The denominator of the bilinear Butterworth filter with the cut-off tan(angle/2) = k, and a numerator's
// factor.
SecondOrderRow Butterworth(double k, double numerator) {
    const double d = 1 + k * (std::numbers::sqrt2 + k);
    return {static_cast<float>(numerator / d), static_cast<float>(4 * k * k / d),
            static_cast<float>((1 - k * (std::numbers::sqrt2 + 3 * k)) / d), static_cast<float>(k)};
}

// The bilinear transform bends frequencies; with the tangent the cut-off stays where it is to be.
SecondOrderRow HighBentSecondOrder(double gain, double angle) {
    const double k = angle / 2 / CutoffDistance(gain);
    return Butterworth(k, k * k);
}

SecondOrderRow LowBentSecondOrder(double gain, double angle) {
    return Butterworth(angle / 2 * CutoffDistance(gain), 1);
}

SecondOrderRow HighSecondOrder(double gain, double angle) {
    const double k = std::tan(angle / 2) / CutoffDistance(gain);
    return Butterworth(k, k * k);
}

SecondOrderRow LowSecondOrder(double gain, double angle) {
    return Butterworth(std::tan(angle / 2) * CutoffDistance(gain), 1);
}

template <typename Row>
void Fill(FilterGainTables::Table<Row>& table, Row closed, Row open, Row (*make)(double gain, double angle),
          double angle) {
    table.front() = closed;
    table.back() = open;
    for (Index i = 1; i < openRow; ++i)
        table[i] = make(RowGain(i), angle);
}

}  // namespace

double ReferenceAngle(double frequency, double sampleRate) {
    return 2 * std::numbers::pi * std::min(frequency / sampleRate, 0.49);
}

Index FilterRowIndex(float gain) {
    if (!(gain > 0)) return 0;
    return gain < 1 ? static_cast<Index>(openRow * std::sqrt(gain)) : openRow;
}

void buildFilterTables(FilterGainTables& tables, double sampleRate, bool firstOrderOnly, bool isRefined) {
    tables.isRefined = isRefined;
    static_cast<GainSlew&>(tables) = MakeGainSlew(sampleRate);
    setHFReference(tables, 5000, firstOrderOnly, sampleRate);
    setLFReference(tables, 250, firstOrderOnly, sampleRate);
}

void setHFReference(FilterGainTables& tables, double frequency, bool firstOrderOnly, double sampleRate) {
    const double angle = ReferenceAngle(frequency, sampleRate);
    tables.hfReference = frequency;
    Fill(tables.hfFirstOrder, {0, 0}, {1, 0}, HighFirstOrder, angle);
    if (!firstOrderOnly)
        Fill(tables.hfSecondOrder, {0, 1, -1}, {1, 1, -1},
             tables.isRefined ? HighSecondOrder : HighBentSecondOrder, angle);
}

void setLFReference(FilterGainTables& tables, double frequency, bool firstOrderOnly, double sampleRate) {
    const double angle = ReferenceAngle(frequency, sampleRate);
    tables.lfReference = frequency;
    Fill(tables.lfFirstOrder, {1, 0}, {0, 0}, LowFirstOrder, angle);
    if (!firstOrderOnly)
        Fill(tables.lfSecondOrder, {0, 1, -1}, {1, 1, -1},
             tables.isRefined ? LowSecondOrder : LowBentSecondOrder, angle);
}

}  // namespace goal
