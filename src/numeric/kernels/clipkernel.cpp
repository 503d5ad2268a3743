#include "numeric/kernels/clipkernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/clipkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/tiles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

struct MeanOfClipTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count count, std::size_t start) const {
        const auto one = hn::Set(d, 1), half = hn::Set(d, 0.5F), least = hn::Set(d, 1e-20F);
        for (std::size_t v = 0; v < count; ++v) {
            const std::size_t i = start + v * hn::Lanes(d);
            const auto x = hn::LoadU(d, from + i), y = hn::LoadU(d, to + i);
            const auto a = hn::Min(one, hn::Max(hn::Neg(one), x)), b = hn::Min(one, hn::Max(hn::Neg(one), y));
            const auto share = hn::Div(hn::Abs(hn::Sub(b, a)), hn::Max(hn::Abs(hn::Sub(y, x)), least));
            const auto mean = hn::Mul(hn::Add(a, b), half);
            const auto middle = hn::Mul(hn::Add(x, y), half);
            hn::StoreU(hn::Add(mean, hn::Mul(hn::Sub(middle, mean), share)), d, output + i);
        }
    }

    float* output;
    const float* from;
    const float* to;
};

void MeanOfClip(float* output, const float* from, const float* to, std::uint32_t vectors) {
    ForEachTile<2>(vectors, MeanOfClipTile{output, from, to});
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(MeanOfClip);

void MeanOfClipRow(float* output, const float* from, const float* to, std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(MeanOfClip)(output, from, to, vectors);
}

}  // namespace hcml
#endif
