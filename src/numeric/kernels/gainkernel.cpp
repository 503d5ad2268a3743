#include "numeric/kernels/gainkernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/gainkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/tiles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

constexpr std::size_t vectorsPerTile = 4;

struct MultiplyTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count count, std::size_t first) const {
        for (std::size_t v = 0; v < count; ++v) {
            const std::size_t i = first + v * hn::Lanes(d);
            hn::StoreU(hn::Mul(hn::LoadU(d, source + i), hn::Set(d, gain)), d, target + i);
        }
    }

    float* target;
    const float* source;
    float gain;
};

struct MultiplyRowsTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count count, std::size_t first) const {
        for (std::size_t v = 0; v < count; ++v) {
            const std::size_t i = first + v * hn::Lanes(d);
            hn::StoreU(hn::Mul(hn::LoadU(d, source + i), hn::LoadU(d, gains + i)), d, target + i);
        }
    }

    float* target;
    const float* source;
    const float* gains;
};

struct MultiplyAddTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count count, std::size_t first) const {
        for (std::size_t v = 0; v < count; ++v) {
            const std::size_t i = first + v * hn::Lanes(d);
            const auto product = hn::Mul(hn::LoadU(d, source + i), hn::Set(d, gain));
            hn::StoreU(hn::Add(hn::LoadU(d, target + i), product), d, target + i);
        }
    }

    float* target;
    const float* source;
    float gain;
};

void Multiply(float* target, const float* source, float gain, std::uint32_t vectors) {
    ForEachTile<vectorsPerTile>(vectors, MultiplyTile{target, source, gain});
}

void MultiplyBoth(float* target, const float* source, const float* gains, std::uint32_t vectors) {
    ForEachTile<vectorsPerTile>(vectors, MultiplyRowsTile{target, source, gains});
}

void MultiplyAdd(float* target, const float* source, float gain, std::uint32_t vectors) {
    ForEachTile<vectorsPerTile>(vectors, MultiplyAddTile{target, source, gain});
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Multiply);
HWY_EXPORT(MultiplyBoth);
HWY_EXPORT(MultiplyAdd);

void MultiplyRow(float* target, const float* source, float gain, std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(Multiply)(target, source, gain, vectors);
}

void MultiplyRows(float* target, const float* source, const float* gains, std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(MultiplyBoth)(target, source, gains, vectors);
}

void MultiplyAddRow(float* target, const float* source, float gain, std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(MultiplyAdd)(target, source, gain, vectors);
}

}  // namespace hcml
#endif
