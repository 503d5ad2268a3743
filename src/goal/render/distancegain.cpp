#include "goal/render/distancegain.h"

#include <algorithm>
#include <cmath>

#include "slib/exception.h"

namespace goal {
namespace {

struct Lengths {
    float reference, max, rolloff;
};

float Inverse(const Lengths& l, float d) {
    return l.reference / ((d - l.reference) * l.rolloff + l.reference);
}
float Linear(const Lengths& l, float d) {
    return 1 - (d - l.reference) * l.rolloff / (l.max - l.reference);
}
float Exponent(const Lengths& l, float d) {
    return std::pow(d / l.reference, -l.rolloff);
}

float Clamped(const Lengths& l, float d) {
    return l.reference <= d ? std::min(d, l.max) : l.reference;
}

float RawGain(DistanceModel model, const Lengths& l, float d) {
    switch (model) {
        case DistanceModel::None:
            return 1;
        case DistanceModel::Inverse:
            return Inverse(l, d);
        case DistanceModel::InverseClamped:
            return Inverse(l, Clamped(l, d));
        case DistanceModel::Linear:
            return Linear(l, std::min(d, l.max));
        case DistanceModel::LinearClamped:
            return Linear(l, Clamped(l, d));
        case DistanceModel::Exponent:
            return Exponent(l, d);
        case DistanceModel::ExponentClamped:
            return Exponent(l, Clamped(l, d));
    }
    slib::ThrowUnreachable();
}

}  // namespace

float distanceGain(DistanceModel model, float referenceDistance, float maxDistance, float rolloff,
                   float distance) {
    const float gain = RawGain(model, {referenceDistance, maxDistance, rolloff}, distance);
    return gain >= 0 && gain < 1e30F ? gain : 1;
}

}  // namespace goal
