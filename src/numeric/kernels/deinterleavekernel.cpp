#include "numeric/kernels/deinterleavekernel.h"

#include <algorithm>
#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/deinterleavekernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void TakeApartEach(float* const* rows, const float* frames, std::uint32_t channels, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i)
        for (std::uint32_t c = 0; c < channels; ++c)
            rows[c][i] = frames[std::size_t{i} * channels + c];
}

#if HWY_TARGET == HWY_SCALAR

void TakeApart(float* const* rows, const float* frames, std::uint32_t channels, std::uint32_t count) {
    TakeApartEach(rows, frames, channels, count);
}

#else

using Floats = hn::CappedTag<float, 8>;
constexpr std::uint32_t lanes = hn::MaxLanes(Floats());

// Four samples of frame `i`, and in a vector of eight those of frame `i` + 4.
HWY_INLINE hn::Vec<Floats> FourSamples(const float* frames, std::size_t channels, std::size_t i) {
    const Floats d;
    if constexpr (lanes == 4) {
        return hn::LoadU(d, frames + i * channels);
    } else {
        const hn::Half<Floats> half;
        return hn::Combine(d, hn::LoadU(half, frames + (i + 4) * channels),
                           hn::LoadU(half, frames + i * channels));
    }
}

// Calls `take` for the first frame of every vector; where the last isn't whole, it takes some a second time.
template <class Take>
HWY_INLINE void ForEachVector(std::uint32_t count, Take take) {
    for (std::size_t i = 0; i < count - lanes; i += lanes)
        take(i);
    take(count - lanes);
}

// Four neighbouring channels out of `channels`: a transposition in every block of 128 bits.
HWY_INLINE void TakeFour(float* const* rows, const float* frames, std::uint32_t channels,
                         std::uint32_t count) {
    const Floats d;
    ForEachVector(count, [&](std::size_t i) {
        const auto p = FourSamples(frames, channels, i), q = FourSamples(frames, channels, i + 1);
        const auto r = FourSamples(frames, channels, i + 2), s = FourSamples(frames, channels, i + 3);
        const auto lowerPr = hn::InterleaveLower(d, p, r), upperPr = hn::InterleaveUpper(d, p, r);
        const auto lowerQs = hn::InterleaveLower(d, q, s), upperQs = hn::InterleaveUpper(d, q, s);
        hn::StoreU(hn::InterleaveLower(d, lowerPr, lowerQs), d, rows[0] + i);
        hn::StoreU(hn::InterleaveUpper(d, lowerPr, lowerQs), d, rows[1] + i);
        hn::StoreU(hn::InterleaveLower(d, upperPr, upperQs), d, rows[2] + i);
        hn::StoreU(hn::InterleaveUpper(d, upperPr, upperQs), d, rows[3] + i);
    });
}

HWY_INLINE void TakeTwo(float* const* rows, const float* frames, std::uint32_t count) {
    const Floats d;
    ForEachVector(count, [&](std::size_t i) {
        hn::Vec<Floats> left, right;
        hn::LoadInterleaved2(d, frames + 2 * i, left, right);
        hn::StoreU(left, d, rows[0] + i);
        hn::StoreU(right, d, rows[1] + i);
    });
}

void TakeApart(float* const* rows, const float* frames, std::uint32_t channels, std::uint32_t count) {
    if (count < lanes || channels == 3) return TakeApartEach(rows, frames, channels, count);
    if (channels == 2) return TakeTwo(rows, frames, count);
    for (std::uint32_t c = 0; c + 4 < channels; c += 4)
        TakeFour(rows + c, frames + c, channels, count);
    // Where they aren't a multiple of four, some a second time.
    TakeFour(rows + (channels - 4), frames + (channels - 4), channels, count);
}

#endif

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(TakeApart);

void Deinterleave(float* const* rows, const float* frames, std::uint32_t channels, std::uint32_t count) {
    if (channels == 1) {
        std::copy_n(frames, count, rows[0]);
        return;
    }
    HWY_DYNAMIC_DISPATCH(TakeApart)(rows, frames, channels, count);
}

}  // namespace hcml
#endif
