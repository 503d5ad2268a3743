#include "goal/fx/combloop.h"

#include <algorithm>
#include <cmath>

namespace goal::fx {
namespace {

// What is left of a sound after `length` samples.
double Remainder(double length, double decayTime) {
    return std::pow(10.0, -3 * length / decayTime);
}

CombShelf Boost(double gain, double angle) {
    const double c = 2 - std::cos(angle);
    const double b = c - std::sqrt(c * c - 1);
    return {static_cast<float>(1 - b), static_cast<float>(b), static_cast<float>(gain - 1)};
}

CombShelf MakeShelf(double gain, double angle, const FilterGainTables::Table<FirstOrderRow>& cuts) {
    if (gain > 1) return Boost(gain, angle);
    const FirstOrderRow& row = cuts[FilterRowIndex(static_cast<float>(gain))];
    return {row.a, row.b, 0};
}

// |p - q/z|² at an angle.
double SquaredFactor(double p, double q, double angle) {
    return p * p + q * q - 2 * p * q * std::cos(angle);
}

// Of a loop whose shelves both boost.
double SquaredGain(const CombLoop& loop, double angle) {
    const auto& [feedback, high, low] = loop;
    return double{feedback} * feedback *
           SquaredFactor(1 + high.boost * high.b, (1 + high.boost) * high.b, angle) /
           SquaredFactor(1, high.b, angle) * SquaredFactor(1 + low.boost * low.a, low.b, angle) /
           SquaredFactor(1, low.b, angle);
}

// Whether the loop is as strong in the middle as its strongest end, or stronger. One-pole shelves change so
// slowly with the frequency that a few points show it.
bool HasHump(const CombLoop& loop, const CombDecay& decay, double length) {
    if (!(loop.high.boost > 0 && loop.low.boost > 0)) return false;
    const double most = Remainder(length, std::max({decay.time, decay.highTime, decay.lowTime}));
    constexpr int points = 12;
    for (int i = 0; i <= points; ++i) {
        const double part = static_cast<double>(i) / points;
        const double angle = decay.lowAngle * std::pow(decay.highAngle / decay.lowAngle, part);
        if (SquaredGain(loop, angle) >= most * most) return true;
    }
    return false;
}

}  // namespace

CombLoop MakeCombLoop(const CombDecay& decay, double length, double weight, const FilterGainTables& tables) {
    const double feedback = Remainder(length, decay.time) * weight;
    const auto shelved = [&](double high, double low) {
        return CombLoop{static_cast<float>(-feedback), MakeShelf(high, decay.highAngle, tables.hfFirstOrder),
                        MakeShelf(low, decay.lowAngle, tables.lfFirstOrder)};
    };
    const double high = Remainder(length, decay.highTime) / feedback;
    const double low = Remainder(length, decay.lowTime) / feedback;
    const CombLoop loop = shelved(high, low);
    if (weight == 1 || !HasHump(loop, decay, length)) return loop;
    const double even = std::sqrt(1 / feedback);
    return shelved(std::min(high, std::max(even, 1 / (feedback * low))),
                   std::min(low, std::max(even, 1 / (feedback * high))));
}

}  // namespace goal::fx
