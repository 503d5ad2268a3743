#include "numeric/kernels/finitekernel.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/finitekernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/tiles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

constexpr std::size_t vectorsPerTile = 8;

// Without their sign the bits of floats, as integers, are in the order of the magnitudes; what isn't finite
// is above all that is.
struct FiniteTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count count, std::size_t first) const {
        const hn::RebindToSigned<D> bits;
        const auto magnitude = hn::Set(bits, 0x7FFFFFFF), infinity = hn::Set(bits, 0x7F800000);
        auto largest = hn::Zero(bits);
        for (std::size_t v = 0; v < count; ++v) {
            const auto samples = hn::BitCast(bits, hn::LoadU(d, row + first + v * hn::Lanes(d)));
            largest = hn::Max(largest, hn::And(samples, magnitude));
        }
        isFinite = isFinite && hn::AllTrue(bits, hn::Lt(largest, infinity));
    }

    const float* row;
    bool& isFinite;
};

bool IsFinite(const float* row, std::uint32_t frames) {
    bool isFinite = true;
    ForEachTile<vectorsPerTile>(frames / 4, FiniteTile{row, isFinite});
    for (std::uint32_t i = frames / 4 * 4; i < frames; ++i)
        isFinite = isFinite && std::isfinite(row[i]);
    return isFinite;
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(IsFinite);

bool IsFiniteRow(const float* row, std::uint32_t frames) {
    return HWY_DYNAMIC_DISPATCH(IsFinite)(row, frames);
}

}  // namespace hcml
#endif
