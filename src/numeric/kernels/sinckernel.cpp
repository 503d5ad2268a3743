#include "numeric/kernels/sinckernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/sinckernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <std::uint32_t taps>
HWY_INLINE const float* Row(const float* rows, std::uint32_t position) {
    return rows + std::size_t{taps} * ((position >> 13) % 64);
}

template <std::uint32_t taps>
HWY_INLINE float ProduceOne(const float* input, const float* rows, std::uint32_t position) {
    const float* row = Row<taps>(rows, position);
    const float* window = input + (position >> 19);
    float products[taps];
    for (std::uint32_t t = 0; t < taps; ++t)
        products[t] = row[t] * window[t];
    for (std::uint32_t half = taps / 2; half > 0; half /= 2)
        for (std::uint32_t t = 0; t < half; ++t)
            products[t] += products[t + half];
    return products[0];
}

#if HWY_TARGET == HWY_SCALAR

template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceVectors(float*, std::uint32_t, const float*, const float*, SincWalk) {
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

// Returns how many outputs it wrote.
template <std::uint32_t taps>
HWY_INLINE std::uint32_t ProduceVectors(float* output, std::uint32_t count, const float* input,
                                        const float* rows, SincWalk walk) {
    // Wider vectors would spend on folding what they save in products.
    const hn::CappedTag<float, taps == 4 ? 4 : 8> d;
    constexpr std::uint32_t lanes = hn::MaxLanes(d);
    std::uint32_t done = 0;
    for (; count - done >= lanes; done += lanes, walk.position += lanes * walk.step)
        hn::StoreU(ProduceVector<taps>(d, input, rows, walk), d, output + done);
    return done;
}

#endif

template <std::uint32_t taps>
void ProduceRun(float* output, std::uint32_t count, const float* input, const float* rows, SincWalk walk) {
    std::uint32_t done = ProduceVectors<taps>(output, count, input, rows, walk);
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

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Produce);

void ProduceSinc(float* output, std::uint32_t count, const float* input, SincFilter filter, SincWalk walk) {
    HWY_DYNAMIC_DISPATCH(Produce)(output, count, input, filter, walk);
}

}  // namespace hcml
#endif
