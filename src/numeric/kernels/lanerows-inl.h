// Four frames of several rows into the lanes of vectors, a row a lane, and back. Included by the sources of
// kernels that run rows side by side, once for each vector target, so that the usual guard doesn't serve.

#if defined(TESSARUNE_NUMERIC_KERNELS_LANEROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSARUNE_NUMERIC_KERNELS_LANEROWS_INL_H
#undef TESSARUNE_NUMERIC_KERNELS_LANEROWS_INL_H
#else
#define TESSARUNE_NUMERIC_KERNELS_LANEROWS_INL_H
#endif

#include <cstddef>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Four frames of as many rows as there are lanes, in the order in which rows and frames change places inside
// each block of 128 bits: rows 0, 4, ... in the first vector, rows 1, 5, ... in the second.
template <class D>
HWY_INLINE hn::Vec<D> LoadRows(D d, const float* const* rows, std::size_t i) {
    if constexpr (hn::MaxLanes(D()) == 4) {
        return hn::LoadU(d, rows[0] + i);
    } else {
        const hn::Half<D> half;
        return hn::Combine(d, LoadRows(half, rows + hn::MaxLanes(half), i), LoadRows(half, rows, i));
    }
}

template <class D>
HWY_INLINE void StoreRows(D d, hn::Vec<D> v, float* const* rows, std::size_t i) {
    if constexpr (hn::MaxLanes(D()) == 4) {
        hn::StoreU(v, d, rows[0] + i);
    } else {
        const hn::Half<D> half;
        StoreRows(half, hn::LowerHalf(half, v), rows, i);
        StoreRows(half, hn::UpperHalf(half, v), rows + hn::MaxLanes(half), i);
    }
}

// Its own inverse.
template <class D>
HWY_INLINE void Transpose(D d, hn::Vec<D>& v0, hn::Vec<D>& v1, hn::Vec<D>& v2, hn::Vec<D>& v3) {
    const auto lower02 = hn::InterleaveLower(d, v0, v2), upper02 = hn::InterleaveUpper(d, v0, v2);
    const auto lower13 = hn::InterleaveLower(d, v1, v3), upper13 = hn::InterleaveUpper(d, v1, v3);
    v0 = hn::InterleaveLower(d, lower02, lower13);
    v1 = hn::InterleaveUpper(d, lower02, lower13);
    v2 = hn::InterleaveLower(d, upper02, upper13);
    v3 = hn::InterleaveUpper(d, upper02, upper13);
}

#endif

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
