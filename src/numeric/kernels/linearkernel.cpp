#include "numeric/kernels/linearkernel.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/linearkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::uint64_t oneFrame = 65536;

// Output by output, for steps too wide for windows.
void InterpolateEach(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    for (std::uint32_t k = 0; k < count; ++k, walk.position += walk.step) {
        const float* at = input + (walk.position >> 16);
        const auto fraction = static_cast<std::int32_t>(walk.position % oneFrame);
        output[k] = static_cast<float>(65536 - fraction) * at[-1] + static_cast<float>(fraction) * at[0];
    }
}

#if HWY_TARGET == HWY_SCALAR

void Interpolate(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    InterpolateEach(output, count, input, walk);
}

#else

using Floats = hn::ScalableTag<float>;
using Indices = hn::RebindToUnsigned<Floats>;
constexpr std::size_t lanes = hn::MaxLanes(Floats());

// At a step of up to `windows` frames, the inputs of a vector of outputs lie in so many vectors of input,
// where a permutation finds them quicker than loads one by one.
template <std::size_t windows>
HWY_INLINE hn::Vec<Floats> LookUp(const float* input, hn::Vec<Indices> indices) {
    static_assert(windows == 1 || windows == 2);
    const Floats d;
    const Indices di;
    if constexpr (windows == 1) {
        return hn::TableLookupLanes(hn::LoadU(d, input), hn::IndicesFromVec(d, indices));
    } else {
        const auto within = hn::IndicesFromVec(d, hn::And(indices, hn::Set(di, lanes - 1)));
        const auto second = hn::RebindMask(d, hn::TestBit(indices, hn::Set(di, lanes)));
        return hn::IfThenElse(second, hn::TableLookupLanes(hn::LoadU(d, input + lanes), within),
                              hn::TableLookupLanes(hn::LoadU(d, input), within));
    }
}

// A vector of outputs. Reads from the input before `walk.position`, and `windows` vectors from there on.
template <std::size_t windows>
HWY_INLINE hn::Vec<Floats> InterpolateVector(const float* input, LinearWalk walk) {
    const Floats d;
    const Indices di;
    const float* at = input + (walk.position >> 16);
    const auto fraction = static_cast<std::uint32_t>(walk.position % oneFrame);
    const auto step = static_cast<std::uint32_t>(walk.step);
    const auto positions = hn::Add(hn::Mul(hn::Iota(di, 0), hn::Set(di, step)), hn::Set(di, fraction));
    const auto frames = hn::ShiftRight<16>(positions);
    const auto fractions = hn::And(positions, hn::Set(di, 0xFFFF));
    const auto after = hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<Floats>(), fractions));
    const auto before = hn::Sub(hn::Set(d, 65536.0f), after);
    return hn::Add(hn::Mul(before, LookUp<windows>(at - 1, frames)),
                   hn::Mul(after, LookUp<windows>(at, frames)));
}

// Writes whole vectors of outputs, as long as what they read is needed anyway. Returns how many outputs.
template <std::size_t windows>
HWY_INLINE std::uint32_t InterpolateWhole(float* output, std::uint32_t count, const float* input,
                                          LinearWalk walk) {
    const std::uint64_t last = (walk.position + (count - 1) * walk.step) >> 16;
    std::uint32_t done = 0;
    for (; count - done >= lanes && (walk.position >> 16) + windows * lanes - 1 <= last; done += lanes) {
        hn::StoreU(InterpolateVector<windows>(input, walk), Floats(), output + done);
        walk.position += walk.step * lanes;
    }
    return done;
}

// The rest of a stretch, when fewer inputs or outputs are left than a step of the loop takes: the same from a
// copy of the inputs with room after it.
template <std::size_t windows>
HWY_INLINE void InterpolateRest(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    const Floats d;
    constexpr std::size_t span = windows * lanes;
    const std::uint64_t first = walk.position >> 16, last = (walk.position + (count - 1) * walk.step) >> 16;
    float copy[2 * span] = {}, outputs[lanes];
    std::memcpy(copy, input + first - 1, (last - first + 2) * sizeof(float));
    walk.position %= oneFrame;
    for (; count > 0; walk.position += walk.step * lanes) {
        hn::StoreU(InterpolateVector<windows>(copy + 1, walk), d, outputs);
        const std::uint32_t ready = std::min<std::uint32_t>(count, lanes);
        std::memcpy(output, outputs, ready * sizeof(float));
        output += ready;
        count -= ready;
    }
}

template <std::size_t windows>
void InterpolateInWindows(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    const std::uint32_t done = InterpolateWhole<windows>(output, count, input, walk);
    walk.position += done * walk.step;
    if (done < count) InterpolateRest<windows>(output + done, count - done, input, walk);
}

// At a step of one frame the factors are the same for all, and the inputs lie as the outputs do.
void InterpolateEven(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    if (count < lanes) return InterpolateEach(output, count, input, walk);
    const Floats d;
    const float* at = input + (walk.position >> 16);
    const auto fraction = static_cast<float>(static_cast<std::int32_t>(walk.position % oneFrame));
    const auto before = hn::Set(d, 65536.0f - fraction), after = hn::Set(d, fraction);
    const auto interpolate = [&](std::size_t k) {
        hn::StoreU(hn::Add(hn::Mul(before, hn::LoadU(d, at + k - 1)), hn::Mul(after, hn::LoadU(d, at + k))),
                   d, output + k);
    };
    for (std::size_t k = 0; k < count - lanes; k += lanes)
        interpolate(k);
    interpolate(count - lanes);
}

void Interpolate(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    if (walk.step == oneFrame)
        InterpolateEven(output, count, input, walk);
    else if (walk.step < oneFrame)
        InterpolateInWindows<1>(output, count, input, walk);
    else if (walk.step <= 2 * oneFrame)
        InterpolateInWindows<2>(output, count, input, walk);
    else
        InterpolateEach(output, count, input, walk);
}

#endif

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Interpolate);

void InterpolateLinear(float* output, std::uint32_t count, const float* input, LinearWalk walk) {
    HWY_DYNAMIC_DISPATCH(Interpolate)(output, count, input, walk);
}

}  // namespace hcml
#endif
