// The walk of a kernel over rows of whole groups of four floats, tile by tile, with the one remainder that
// all kernels share. Included by the kernels' sources only, once for each vector target, so that the usual
// guard doesn't serve.

#if defined(TESSARUNE_NUMERIC_KERNELS_TILES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSARUNE_NUMERIC_KERNELS_TILES_INL_H
#undef TESSARUNE_NUMERIC_KERNELS_TILES_INL_H
#else
#define TESSARUNE_NUMERIC_KERNELS_TILES_INL_H
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Calls `body(tag, count, first)` for tiles that cover `groups` * 4 floats in order: `count`, a compile-time
/// constant, vectors of the type that `tag` names, from float `first` on. Most tiles have `vectorsPerTile`
/// full vectors, the last ones single full vectors and then groups of four.
template <std::size_t vectorsPerTile, class Body>
HWY_INLINE void ForEachTile(std::uint32_t groups, const Body& body) {
    const hn::ScalableTag<float> full;
    const hn::CappedTag<float, 4> group;
    const std::integral_constant<std::size_t, vectorsPerTile> many;
    const std::integral_constant<std::size_t, 1> one;
    const std::size_t count = std::size_t{groups} * 4, lanes = hn::Lanes(full);
    std::size_t i = 0;
    for (; count - i >= vectorsPerTile * lanes; i += vectorsPerTile * lanes)
        body(full, many, i);
    for (; count - i >= lanes; i += lanes)
        body(full, one, i);
    for (; i < count; i += hn::Lanes(group))
        body(group, one, i);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
