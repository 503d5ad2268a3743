#include "goal/render/distancegain.h"

#include <algorithm>
#include <cmath>

#include "AL/al.h"
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

float RawGain(std::int32_t model, const Lengths& l, float d) {
    switch (model) {
        case AL_NONE:
            return 1;
        case AL_INVERSE_DISTANCE:
            return Inverse(l, d);
        case AL_INVERSE_DISTANCE_CLAMPED:
            return Inverse(l, Clamped(l, d));
        case AL_LINEAR_DISTANCE:
            return Linear(l, std::min(d, l.max));
        case AL_LINEAR_DISTANCE_CLAMPED:
            return Linear(l, Clamped(l, d));
        case AL_EXPONENT_DISTANCE:
            return Exponent(l, d);
        case AL_EXPONENT_DISTANCE_CLAMPED:
            return Exponent(l, Clamped(l, d));
    }
    slib::ThrowUnreachable();
}

}  // namespace

float distanceGain(std::int32_t model, float referenceDistance, float maxDistance, float rolloff,
                   float distance) {
    const float gain = RawGain(model, {referenceDistance, maxDistance, rolloff}, distance);
    return gain >= 0 && gain < 1e30F ? gain : 1;
}

}  // namespace goal
