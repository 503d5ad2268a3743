#include "numeric/kernels/sinckernel.h"

#include <bit>
#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/sinckernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::uint32_t oneFrame = 1U << 19;

template <std::uint32_t taps>
HWY_INLINE const float* Row(const float* rows, std::uint32_t position) {
    return rows + ((position >> (13 - std::countr_zero(taps))) & (63 * taps));
}

// Folds 2^n products to one.
template <std::uint32_t count>
HWY_INLINE float Fold(float (&products)[count]) {
    for (std::uint32_t half = count / 2; half > 0; half /= 2)
        for (std::uint32_t t = 0; t < half; ++t)
            products[t] += products[t + half];
    return products[0];
}

template <std::uint32_t taps>
HWY_INLINE float ProduceOne(const float* input, const float* rows, std::uint32_t position) {
    const float* row = Row<taps>(rows, position);
    const float* window = input + (position >> 19);
    float products[taps];
    for (std::uint32_t t = 0; t < taps; ++t)
        products[t] = row[t] * window[t];
    return Fold(products);
}

// Where an output's window and the row below its position are, and how far on to the next row it lies.
struct BlendedPlace {
    const float* row;
    const float* window;
    float part;
};

HWY_INLINE BlendedPlace PlaceOf(const float* input, const BlendedSincFilter& filter, std::uint32_t position) {
    const std::uint32_t scaled = position % (1U << 19) << filter.phasesLog2;
    return {filter.rows + std::size_t{filter.taps} * (scaled >> 19), input + (position >> 19),
            static_cast<float>(static_cast<std::int32_t>(scaled % (1U << 19))) * 0x1p-19F};
}

HWY_INLINE float ProduceOneBlended(const BlendedPlace& place, std::uint32_t taps) {
    float lower[16], upper[16];
    for (std::uint32_t i = 0; i < 16; ++i) {
        lower[i] = place.row[i] * place.window[i];
        upper[i] = place.row[taps + i] * place.window[i];
    }
    for (std::uint32_t t = 16; t < taps; ++t) {
        lower[t % 16] += place.row[t] * place.window[t];
        upper[t % 16] += place.row[taps + t] * place.window[t];
    }
    for (std::uint32_t i = 0; i < 16; ++i)
        lower[i] += place.part * (upper[i] - lower[i]);
    return Fold(lower);
}

#if HWY_TARGET == HWY_SCALAR

template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceVectors(float*, std::uint32_t, const float*, const float*, SincWalk) {
    return 0;
}

template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceEven(float*, std::uint32_t, const float*, const float*, std::uint32_t) {
    return 0;
}

template <std::uint32_t>
HWY_INLINE std::uint32_t ProduceBlendedVectors(float*, std::uint32_t, const float*, const BlendedSincFilter&,
                                               SincWalk) {
    return 0;
}

#else

// The products of one output, folded to one vector, of 4 or 8 values.
template <std::uint32_t taps, class D>
HWY_INLINE hn::Vec<D> FoldedProducts(D d, const float* input, const float* rows, std::uint32_t position) {
    constexpr std::size_t lanes = hn::MaxLanes(D()), vectors = taps / lanes;
    const float* row = Row<taps>(rows, position);
    const float* window = input + (position >> 19);
    hn::Vec<D> products[vectors];
    for (std::size_t v = 0; v < vectors; ++v)
        products[v] = hn::Mul(hn::LoadU(d, row + v * lanes), hn::LoadU(d, window + v * lanes));
    for (std::size_t half = vectors / 2; half > 0; half /= 2)
        for (std::size_t v = 0; v < half; ++v)
            products[v] = hn::Add(products[v], products[v + half]);
    return products[0];
}

// Folds four outputs at once, four values each, to one value each: in every block of 128 bits the sums of the
// outputs a, b, c, d.
template <class D>
HWY_INLINE hn::Vec<D> FoldFour(D d, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c, hn::Vec<D> e) {
    const auto ac = hn::Add(hn::InterleaveLower(d, a, c), hn::InterleaveUpper(d, a, c));
    const auto be = hn::Add(hn::InterleaveLower(d, b, e), hn::InterleaveUpper(d, b, e));
    return hn::Add(hn::InterleaveLower(d, ac, be), hn::InterleaveUpper(d, ac, be));
}

// Four outputs from four values each, or eight from eight.
template <std::uint32_t taps, class D>
HWY_INLINE hn::Vec<D> ProduceVector(D d, const float* input, const float* rows, SincWalk walk) {
    constexpr std::size_t lanes = hn::MaxLanes(D());
    hn::Vec<D> p[lanes];
    for (std::uint32_t k = 0; k < lanes; ++k)
        p[k] = FoldedProducts<taps>(d, input, rows, walk.position + k * walk.step);
    if constexpr (lanes == 8) {
        for (std::size_t k = 0; k < 4; ++k)
            p[k] = hn::Add(hn::ConcatLowerLower(d, p[k + 4], p[k]), hn::ConcatUpperUpper(d, p[k + 4], p[k]));
    }
    return FoldFour(d, p[0], p[1], p[2], p[3]);
}

// Returns how many outputs it wrote: all, unless they are fewer than a vector. The last vector may make some
// a second time.
template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceVectors(float* output, std::uint32_t count, const float* input,
                                        const float* rows, SincWalk walk) {
    // Wider vectors would spend on folding what they save in products.
    const hn::CappedTag<float, taps == 4 ? 4 : 8> d;
    constexpr std::uint32_t lanes = hn::MaxLanes(d);
    if (count < lanes) return 0;
    const auto produce = [&](std::uint32_t k) {
        const SincWalk at{walk.position + k * walk.step, walk.step};
        hn::StoreU(ProduceVector<taps>(d, input, rows, at), d, output + k);
    };
    for (std::uint32_t k = 0; k < count - lanes; k += lanes)
        produce(k);
    produce(count - lanes);
    return count;
}

// The products of a vector of outputs one frame apart, of every `stride`-th tap from `first` on, folded.
template <std::uint32_t taps, std::uint32_t first, std::uint32_t stride, class D>
HWY_INLINE hn::Vec<D> FoldedEven(D d, const float* windows, const hn::Vec<D>* row) {
    if constexpr (stride == taps)
        return hn::Mul(row[first], hn::LoadU(d, windows + first));
    else
        return hn::Add(FoldedEven<taps, first, 2 * stride>(d, windows, row),
                       FoldedEven<taps, first + stride, 2 * stride>(d, windows, row));
}

// As ProduceVectors for a step of one frame, at which all outputs take the same row. Lane by lane that is the
// same sum, and nothing has to be folded across a vector.
template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceEven(float* output, std::uint32_t count, const float* input,
                                     const float* rows, std::uint32_t position) {
    const hn::CappedTag<float, 16> d;
    constexpr std::uint32_t lanes = hn::MaxLanes(d);
    if (count < lanes) return 0;
    const float* weights = Row<taps>(rows, position);
    hn::Vec<decltype(d)> row[taps];
    for (std::uint32_t t = 0; t < taps; ++t)
        row[t] = hn::Set(d, weights[t]);
    const float* windows = input + (position >> 19);
    for (std::uint32_t k = 0; k < count - lanes; k += lanes)
        hn::StoreU(FoldedEven<taps, 0, 1>(d, windows + k, row), d, output + k);
    hn::StoreU(FoldedEven<taps, 0, 1>(d, windows + (count - lanes), row), d, output + (count - lanes));
    return count;
}

// Adds the upper half of a vector to the lower until four values are left.
template <class D>
HWY_INLINE auto FoldToFour(D /*d*/, hn::Vec<D> v) {
    if constexpr (hn::MaxLanes(D()) == 4) {
        return v;
    } else {
        const hn::Half<D> half;
        return FoldToFour(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
}

// The blended products of one output, folded to four values. `fixedTaps` is the taps, or 0 for any.
template <std::uint32_t fixedTaps, class D>
HWY_INLINE auto BlendedProducts(D d, const BlendedPlace& place, std::size_t taps) {
    constexpr std::size_t lanes = hn::MaxLanes(D()), vectors = 16 / lanes;
    if constexpr (fixedTaps > 0) taps = fixedTaps;
    const float* nextRow = place.row + taps;
    hn::Vec<D> lower[vectors], upper[vectors];
    for (std::size_t v = 0; v < vectors; ++v) {
        const auto window = hn::LoadU(d, place.window + v * lanes);
        lower[v] = hn::Mul(window, hn::LoadU(d, place.row + v * lanes));
        upper[v] = hn::Mul(window, hn::LoadU(d, nextRow + v * lanes));
    }
    for (std::size_t t = 16; t < taps; t += 16) {
        for (std::size_t v = 0; v < vectors; ++v) {
            const auto window = hn::LoadU(d, place.window + t + v * lanes);
            lower[v] = hn::Add(lower[v], hn::Mul(window, hn::LoadU(d, place.row + t + v * lanes)));
            upper[v] = hn::Add(upper[v], hn::Mul(window, hn::LoadU(d, nextRow + t + v * lanes)));
        }
    }
    const auto part = hn::Set(d, place.part);
    for (std::size_t v = 0; v < vectors; ++v)
        lower[v] = hn::Add(lower[v], hn::Mul(part, hn::Sub(upper[v], lower[v])));
    for (std::size_t half = vectors / 2; half > 0; half /= 2)
        for (std::size_t v = 0; v < half; ++v)
            lower[v] = hn::Add(lower[v], lower[v + half]);
    return FoldToFour(d, lower[0]);
}

// Returns how many outputs it wrote, as ProduceVectors does.
template <std::uint32_t fixedTaps>
HWY_INLINE std::uint32_t ProduceBlendedVectors(float* output, std::uint32_t count, const float* input,
                                               const BlendedSincFilter& filter, SincWalk walk) {
    const hn::CappedTag<float, 16> d;
    const hn::CappedTag<float, 4> four;
    if (count < 4) return 0;
    const auto produce = [&](std::uint32_t k) {
        std::uint32_t position = walk.position + k * walk.step;
        hn::Vec<decltype(four)> p[4];
        for (auto& products : p) {
            products = BlendedProducts<fixedTaps>(d, PlaceOf(input, filter, position), filter.taps);
            position += walk.step;
        }
        hn::StoreU(FoldFour(four, p[0], p[1], p[2], p[3]), four, output + k);
    };
    for (std::uint32_t k = 0; k < count - 4; k += 4)
        produce(k);
    produce(count - 4);
    return count;
}

#endif

template <std::uint32_t taps>
void ProduceRun(float* output, std::uint32_t count, const float* input, const float* rows, SincWalk walk) {
    std::uint32_t done = 0;
    if (walk.step == oneFrame) done = ProduceEven<taps>(output, count, input, rows, walk.position);
    if (done == 0) done = ProduceVectors<taps>(output, count, input, rows, walk);
    for (; done < count; ++done)
        output[done] = ProduceOne<taps>(input, rows, walk.position + done * walk.step);
}

void Produce(float* output, std::uint32_t count, const float* input, SincFilter filter, SincWalk walk) {
    switch (filter.taps) {
        case 4:
            return ProduceRun<4>(output, count, input, filter.rows, walk);
        case 8:
            return ProduceRun<8>(output, count, input, filter.rows, walk);
        case 16:
            return ProduceRun<16>(output, count, input, filter.rows, walk);
    }
}

void ProduceBlended(float* output, std::uint32_t count, const float* input, BlendedSincFilter filter,
                    SincWalk walk) {
    // Most sources play at ratios up to 1, which need no more than 64.
    std::uint32_t done = filter.taps == 64 ? ProduceBlendedVectors<64>(output, count, input, filter, walk)
                                           : ProduceBlendedVectors<0>(output, count, input, filter, walk);
    for (; done < count; ++done)
        output[done] =
            ProduceOneBlended(PlaceOf(input, filter, walk.position + done * walk.step), filter.taps);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Produce);
HWY_EXPORT(ProduceBlended);

void ProduceSinc(float* output, std::uint32_t count, const float* input, SincFilter filter, SincWalk walk) {
    HWY_DYNAMIC_DISPATCH(Produce)(output, count, input, filter, walk);
}

void ProduceBlendedSinc(float* output, std::uint32_t count, const float* input, BlendedSincFilter filter,
                        SincWalk walk) {
    HWY_DYNAMIC_DISPATCH(ProduceBlended)(output, count, input, filter, walk);
}

}  // namespace hcml
#endif
