#include "goal/fx/absorption.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace goal::fx {
namespace {

// The most that a shelf of two octaves can do without bending what is beside it, in dB.
constexpr double mostShelf = 12;

// The most that one is asked for: with 20 dB a round nothing is left to be heard.
constexpr double mostAsked = 20;

// A low shelf of so small a part of a line's whole loss isn't worth its time.
constexpr double needlessShelf = 0.015;

constexpr double middle = 1000;  // Hz

// What the longest decay time may be of the longest one asked for, between the frequencies that are solved
// for.
constexpr double mostLonger = 1.2;

// How far the corner of a shelf lies on the way from the middle to its reference, in octaves: the further,
// the less it does in the middle, as one that does much in a short way must, and the more its end lies beyond
// what is asked.
double CornerPart(double octaves, double time, double endTime) {
    const double most = std::clamp(1.9 / octaves, 0.6, 0.9);
    return std::min(0.6 + 0.05 * std::abs(time / endTime - 1), most);
}

constexpr std::size_t bandCount = 3;  // the middle, high, low
using Bands = std::array<double, bandCount>;

double DecibelsOf(double energy) {
    return 10 * std::log10(std::max(energy, 1e-30));
}

double AmplitudeOf(double decibels) {
    return std::pow(10.0, decibels / 20);
}

// What the bilinear transform makes of a frequency.
double WarpedOf(double frequency, double sampleRate) {
    return std::tan(std::numbers::pi * std::min(frequency / sampleRate, 0.45));
}

// |H|² of a Butterworth shelf whose end has `decibels` and its corner half of them, at a warped frequency
// over that of the corner: of a high shelf, and by the inverse of a low one. With A the amplitude at the
// corner, H = A(A·s² + √(2A)·s + 1)/(s² + √(2A)·s + A).
double ShelfDecibels(double decibels, double ratio) {
    const double squared = AmplitudeOf(decibels);  // A²
    const double fourth = ratio * ratio * ratio * ratio;
    return DecibelsOf(squared * (1 + squared * fourth) / (squared + fourth));
}

// The frequencies at which the decay is to be right over the corners of the shelves, all warped.
struct BandPlan {
    Bands overHigh{};  // of the middle and both references
    Bands underLow{};  // the low corner over them
    double highCorner = 1;
    double lowCorner = 1;
    bool areSeparate = true;  // the references are far enough apart to be solved for
};

BandPlan PlanBands(const RoomDecay& decay, double sampleRate) {
    const double low = decay.lowReference, high = decay.highReference;
    BandPlan plan;
    plan.areSeparate = high >= 4 * low;
    const double centre = plan.areSeparate ? std::clamp(middle, 2 * low, high / 2) : std::sqrt(low * high);
    const auto cornerTowards = [&](double reference, double endTime) {
        const double octaves = std::abs(std::log2(reference / centre));
        const double part = CornerPart(octaves, decay.time, endTime);
        return WarpedOf(centre * std::pow(reference / centre, part), sampleRate);
    };
    plan.highCorner = cornerTowards(high, decay.highTime);
    plan.lowCorner = cornerTowards(low, decay.lowTime);
    const Bands frequencies{centre, high, low};
    for (std::size_t i = 0; i < bandCount; ++i) {
        const double warped = WarpedOf(frequencies[i], sampleRate);
        plan.overHigh[i] = warped / plan.highCorner;
        plan.underLow[i] = plan.lowCorner / warped;
    }
    return plan;
}

// One step towards the gains for `wanted` dB at the three frequencies: a shelf's curve is taken to scale with
// its gain, which it nearly does.
void Improve(Bands& gains, const Bands& wanted, const BandPlan& plan) {
    Bands high{}, low{}, rest{};
    for (std::size_t i = 0; i < bandCount; ++i) {
        high[i] = ShelfDecibels(gains[1], plan.overHigh[i]);
        low[i] = ShelfDecibels(gains[2], plan.underLow[i]);
        rest[i] = wanted[i] - gains[0] - high[i] - low[i];
        high[i] /= gains[1];
        low[i] /= gains[2];
    }
    // The first gain drops out of the differences to the middle.
    const double a = high[1] - high[0], b = low[1] - low[0], c = high[2] - high[0], d = low[2] - low[0];
    const double x = rest[1] - rest[0], y = rest[2] - rest[0], determinant = a * d - b * c;
    const double stepHigh = (x * d - b * y) / determinant, stepLow = (a * y - x * c) / determinant;
    gains[0] += rest[0] - stepHigh * high[0] - stepLow * low[0];
    gains[1] += stepHigh;
    gains[2] += stepLow;
}

// A shelf of no gain has no curve to scale, and one of too much is none that was asked for.
double UsableDecibels(double decibels) {
    constexpr double least = 1e-4, most = 40;
    return std::abs(decibels) < least ? least : std::clamp(decibels, -most, most);
}

// The gain and those of the shelves in dB.
Bands SolveGains(Bands wanted, const BandPlan& plan) {
    for (const std::size_t end : {std::size_t{1}, std::size_t{2}})
        wanted[end] = std::clamp(wanted[end], wanted[0] - mostAsked, wanted[0] + mostAsked);
    Bands gains{wanted[0], UsableDecibels(wanted[1] - wanted[0]), UsableDecibels(wanted[2] - wanted[0])};
    for (int i = 0; plan.areSeparate && i < 3; ++i) {
        Improve(gains, wanted, plan);
        gains[1] = UsableDecibels(gains[1]);
        gains[2] = UsableDecibels(gains[2]);
    }
    return gains;
}

// By how many dB a line is above `most` where it is loudest: at an end, or at a hump around the corners.
double Excess(const Bands& gains, const BandPlan& plan, double most) {
    if (gains[0] + std::max(gains[1], 0.0) + std::max(gains[2], 0.0) <= most) return 0;
    const auto at = [&](double octaves) {  // from the low corner
        const double ratio = std::exp2(octaves);
        return gains[0] + ShelfDecibels(gains[1], ratio * plan.lowCorner / plan.highCorner) +
               ShelfDecibels(gains[2], 1 / ratio);
    };
    const double apart = std::log2(plan.highCorner / plan.lowCorner);
    const double begin = std::min(apart, 0.0) - 4;
    constexpr double step = 0.5;
    const auto steps = static_cast<int>((std::abs(apart) + 8) / step);
    double best = begin;
    for (int i = 1; i <= steps; ++i)
        if (at(begin + i * step) > at(best)) best = begin + i * step;
    double first = best - step, last = best + step;
    for (int i = 0; i < 16; ++i) {
        const double left = first + (last - first) / 3, right = last - (last - first) / 3;
        (at(left) < at(right) ? first : last) = at(left) < at(right) ? left : right;
    }
    const double loudest = std::max({at(first), at(best), gains[0] + gains[1], gains[0] + gains[2]});
    return std::max(loudest - most, 0.0);
}

// The bilinear transform of the shelf above, with its corner at the warped frequency k.
Biquad MakeBiquad(double decibels, double k, bool isHigh, double gain) {
    const double amplitude = AmplitudeOf(decibels / 2), root = std::sqrt(2 * amplitude) * k;
    const double above = isHigh ? amplitude : 1,
                 below = isHigh ? 1 : amplitude;  // in the numerator: of s², 1
    const double squared = k * k, divisor = below + root + above * squared;
    const double scale = gain * amplitude / divisor;
    Biquad section;
    section.n0 = scale * (above + root + below * squared);
    section.n1 = scale * 2 * (below * squared - above);
    section.n2 = scale * (above - root + below * squared);
    section.d1 = 2 * (above * squared - below) / divisor;
    section.d2 = (below - root + above * squared) / divisor;
    return section;
}

}  // namespace

double RoomDecay::LongestTime() const {
    return std::max({time, highTime, lowTime});
}

double RoomDecay::PinkEnergy() const {
    constexpr double lowest = 50, highest = 12000;
    // Each end from halfway between its reference and the middle on.
    const double low = std::clamp(std::sqrt(lowReference * middle), lowest, highest);
    const double high = std::clamp(std::sqrt(highReference * middle), low, highest);
    const double sum =
        lowTime * std::log(low / lowest) + time * std::log(high / low) + highTime * std::log(highest / high);
    return sum / (time * std::log(highest / lowest));
}

double EnergyLeft(double length, double time, double sampleRate) {
    return std::pow(10.0, -6 * length / (time * sampleRate));
}

double LongestLine(const RoomDecay& decay) {
    const double middleRate = 1 / decay.time;
    const double most =
        std::max({std::abs(1 / decay.highTime - middleRate), std::abs(1 / decay.lowTime - middleRate), 1e-9});
    return mostShelf / (60 * most);
}

std::array<Biquad, 2> LineFilter::Biquads() const {
    return {MakeBiquad(high, highCorner, true, AmplitudeOf(gain)), MakeBiquad(low, lowCorner, false, 1)};
}

// The low shelf in its band and low outputs: 1 + √2(A - 1)·band + (A² - 1)·low, at the corner over √A.
void LineFilter::Set(hcml::NetworkShelves& shelves, std::size_t line) const {
    const Biquad section = MakeBiquad(high, highCorner, true, AmplitudeOf(gain));
    shelves.n0[line] = static_cast<float>(section.n0);
    shelves.n1[line] = static_cast<float>(section.n1);
    shelves.n2[line] = static_cast<float>(section.n2);
    shelves.d1[line] = static_cast<float>(section.d1);
    shelves.d2[line] = static_cast<float>(section.d2);
    const double amplitude = AmplitudeOf(low / 2), g = lowCorner / std::sqrt(amplitude);
    const double a1 = 1 / (1 + g * (g + std::numbers::sqrt2));
    shelves.a1[line] = static_cast<float>(a1);
    shelves.a2[line] = static_cast<float>(g * a1);
    shelves.a3[line] = static_cast<float>(g * g * a1);
    shelves.bandGain[line] = static_cast<float>(std::numbers::sqrt2 * (amplitude - 1));
    shelves.lowGain[line] = static_cast<float>(amplitude * amplitude - 1);
}

LineFilter DesignAbsorption(const RoomDecay& decay, double sampleRate, const LineLengths& lengths) {
    const BandPlan plan = PlanBands(decay, sampleRate);
    const double elsewhere = -60.0 * lengths.diffuser / (sampleRate * decay.time);
    const double loss = -60.0 * (lengths.delay + lengths.diffuser) / sampleRate;
    Bands gains = SolveGains(
        {loss / decay.time - elsewhere, loss / decay.highTime - elsewhere, loss / decay.lowTime - elsewhere},
        plan);
    if (std::abs(gains[2]) < needlessShelf * std::abs(loss / decay.time)) gains[2] = 0;
    gains[0] -= Excess(gains, plan, loss / (mostLonger * decay.LongestTime()) - elsewhere);
    return {gains[0], gains[1], gains[2], plan.highCorner, plan.lowCorner};
}

}  // namespace goal::fx
