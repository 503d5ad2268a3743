#include "numeric/kernels/firkernel.h"

#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/firkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

struct Rows {
    const FilteredRow* rows;
    std::uint32_t rowCount, tapCount;
};

// Eight sums hide the time that each addition takes.
constexpr std::size_t vectorsPerTile = 8;

template <class D>
HWY_INLINE void RunTile(D d, float* output, const Rows& filter, std::size_t first) {
    hn::Vec<D> sums[vectorsPerTile];
    for (auto& sum : sums)
        sum = hn::Zero(d);
    for (std::uint32_t r = 0; r < filter.rowCount; ++r) {
        const float* in = filter.rows[r].input + first;
        for (std::uint32_t t = 0; t < filter.tapCount; ++t, ++in) {
            const auto tap = hn::Set(d, filter.rows[r].taps[t]);
            for (std::size_t v = 0; v < vectorsPerTile; ++v)
                sums[v] = hn::Add(sums[v], hn::Mul(tap, hn::LoadU(d, in + v * hn::Lanes(d))));
        }
    }
    for (std::size_t v = 0; v < vectorsPerTile; ++v)
        hn::StoreU(sums[v], d, output + first + v * hn::Lanes(d));
}

HWY_INLINE float One(const Rows& filter, std::size_t first) {
    float sum = 0;
    for (std::uint32_t r = 0; r < filter.rowCount; ++r)
        for (std::uint32_t t = 0; t < filter.tapCount; ++t)
            sum += filter.rows[r].taps[t] * filter.rows[r].input[first + t];
    return sum;
}

void Filter(float* output, std::uint32_t count, const FilteredRow* rows, std::uint32_t rowCount,
            std::uint32_t tapCount) {
    const Rows filter{rows, rowCount, tapCount};
    const hn::ScalableTag<float> wide;
    const hn::CappedTag<float, 4> narrow;
    std::size_t i = 0;
    for (; count - i >= vectorsPerTile * hn::Lanes(wide); i += vectorsPerTile * hn::Lanes(wide))
        RunTile(wide, output, filter, i);
    for (; count - i >= vectorsPerTile * hn::Lanes(narrow); i += vectorsPerTile * hn::Lanes(narrow))
        RunTile(narrow, output, filter, i);
    for (; i < count; ++i)
        output[i] = One(filter, i);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Filter);

void FilterRows(float* output, std::uint32_t count, const FilteredRow* rows, std::uint32_t rowCount,
                std::uint32_t tapCount) {
    HWY_DYNAMIC_DISPATCH(Filter)(output, count, rows, rowCount, tapCount);
}

}  // namespace hcml
#endif
