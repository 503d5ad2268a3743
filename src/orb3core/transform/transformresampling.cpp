#include "orb3core/transform/transformresampling.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "numeric/resampling.h"

namespace orb3::strans {
namespace {

using Transform = TimeDomainTransform<float, 1>;
using Impulse = hcml::GenericVector<float, 1>;

// The place of the response's first sample, in samples from time zero: below 0 for a window that reaches over
// the end of the ring.
std::int64_t BeginOf(const Transform& transform) {
    const std::int64_t start = transform.start;
    const std::int64_t length = transform.Length();
    return start + transform.width > length ? start - length : start;
}

// Turns a ring into a plain response, with sample 0 at index 0 and zeros after the window.
void Unroll(const Transform& transform, Impulse& impulse) {
    std::rotate(impulse.begin(), impulse.begin() + transform.start, impulse.end());
    std::fill(impulse.begin() + transform.width, impulse.end(), 0.0f);
}

// The other way: sample 0 goes to `start`.
void Roll(std::uint32_t start, Impulse& impulse) {
    std::rotate(impulse.begin(), impulse.end() - start, impulse.end());
}

void ResampleImpulses(Transform& transform, double newRate, double transition) {
    hcml::VectorResampler resampler(transform.sampleRate, newRate, transition);
    const float gain = static_cast<float>(transform.sampleRate / newRate);
    for (Impulse& impulse : transform.impulses) {
        Unroll(transform, impulse);
        resampler.process(impulse, impulse);
        for (float& sample : impulse)
            sample *= gain;
    }
}

bool IsSilentAt(const Transform& transform, std::uint32_t sample) {
    const std::size_t index = (std::size_t{transform.start} + sample) % transform.impulses[0].size;
    return std::all_of(transform.impulses.begin(), transform.impulses.end(),
                       [index](const Impulse& impulse) { return impulse[index] == 0.0f; });
}

// Takes samples of 0 off both ends of the window, the last before the first, and leaves at least one.
void Trim(Transform& transform) {
    while (transform.width > 1 && IsSilentAt(transform, transform.width - 1))
        --transform.width;
    for (; transform.width > 1 && IsSilentAt(transform, 0); --transform.width)
        transform.start = (transform.start + 1) % transform.impulses[0].size;
}

}  // namespace

void resample(TimeDomainTransform<float, 1>& transform, double newRate, double transition) {
    transform.validate();
    const double oldRate = transform.sampleRate;
    if (transform.start != 0 || transform.width != 1) {
        const double begin = std::round(static_cast<double>(BeginOf(transform)) * newRate / oldRate);
        ResampleImpulses(transform, newRate, transition);
        transform.width = transform.impulses[0].size;
        const std::int64_t length = transform.width;
        transform.start = static_cast<std::uint32_t>((std::llround(begin) % length + length) % length);
        for (Impulse& impulse : transform.impulses)
            Roll(transform.start, impulse);
        Trim(transform);
    }
    transform.sampleRate = newRate;
    transform.validate();
}

}  // namespace orb3::strans
