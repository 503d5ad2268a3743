#include "numeric/kernels/spectrumkernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/spectrumkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/tiles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

// The sums of a tile, of one spectrum or of two, stay in registers over all products.
constexpr std::size_t vectorsPerSumTile = HWY_TARGET <= HWY_AVX3 ? 4 : 2;
constexpr std::size_t vectorsPerTwoSumsTile = 2;

// The bins from `first` on, and those that mirror them, of which the last one is at size - first.
struct SplitTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count, std::size_t first) const {
        const std::size_t mirror = size - first + 1 - hn::Lanes(d);
        const auto re = hn::LoadU(d, packed.real + first), im = hn::LoadU(d, packed.imaginary + first);
        const auto mirroredRe = hn::Reverse(d, hn::LoadU(d, packed.real + mirror));
        const auto mirroredIm = hn::Reverse(d, hn::LoadU(d, packed.imaginary + mirror));
        hn::StoreU(hn::Add(re, mirroredRe), d, pair.first.real + first);
        hn::StoreU(hn::Sub(im, mirroredIm), d, pair.first.imaginary + first);
        hn::StoreU(hn::Add(im, mirroredIm), d, pair.second.real + first);
        hn::StoreU(hn::Sub(mirroredRe, re), d, pair.second.imaginary + first);
    }

    std::size_t size;
    SplitComplex packed;
    const SpectrumPair& pair;
};

struct JoinTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count, std::size_t first) const {
        const std::size_t mirror = size - first + 1 - hn::Lanes(d);
        const auto re1 = hn::LoadU(d, pair.first.real + first);
        const auto im1 = hn::LoadU(d, pair.first.imaginary + first);
        const auto re2 = hn::LoadU(d, pair.second.real + first);
        const auto im2 = hn::LoadU(d, pair.second.imaginary + first);
        hn::StoreU(hn::Sub(re1, im2), d, packed.real + first);
        hn::StoreU(hn::Add(im1, re2), d, packed.imaginary + first);
        hn::StoreU(hn::Reverse(d, hn::Add(re1, im2)), d, packed.real + mirror);
        hn::StoreU(hn::Reverse(d, hn::Sub(re2, im1)), d, packed.imaginary + mirror);
    }

    std::size_t size;
    const SpectrumPair& pair;
    SplitComplex packed;
};

void Split(std::uint32_t size, SplitComplex packed, const SpectrumPair& pair) {
    const std::size_t half = size / 2;
    packed.real[size] = packed.real[0];
    packed.imaginary[size] = packed.imaginary[0];
    ForEachTile<1>(size / 8, SplitTile{size, packed, pair});
    pair.first.real[half] = packed.real[half] + packed.real[half];
    pair.second.real[half] = packed.imaginary[half] + packed.imaginary[half];
    pair.first.imaginary[half] = pair.second.imaginary[half] = 0;
}

void Join(std::uint32_t size, const SpectrumPair& pair, SplitComplex packed) {
    const std::size_t half = size / 2;
    ForEachTile<1>(size / 8, JoinTile{size, pair, packed});
    packed.real[half] = pair.first.real[half];
    packed.imaginary[half] = pair.second.real[half];
}

template <std::size_t sumCount>
struct SumTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count, std::size_t first) const {
        constexpr std::size_t tile = Count::value;
        hn::Vec<D> real[sumCount][tile], imaginary[sumCount][tile];
        for (std::size_t s = 0; s < sumCount; ++s) {
            for (std::size_t v = 0; v < tile; ++v) {
                real[s][v] = hn::LoadU(d, sums[s].real + first + v * hn::Lanes(d));
                imaginary[s][v] = hn::LoadU(d, sums[s].imaginary + first + v * hn::Lanes(d));
            }
        }
        for (const SpectrumProduct* product = products; product != products + count; ++product) {
            for (std::size_t v = 0; v < tile; ++v) {
                const std::size_t i = first + v * hn::Lanes(d);
                const auto signalRe = hn::LoadU(d, product->signalReal + i);
                const auto signalIm = hn::LoadU(d, product->signalImaginary + i);
                for (std::size_t s = 0; s < sumCount; ++s) {
                    const auto re = hn::LoadU(d, product->responseReal[s] + i);
                    const auto im = hn::LoadU(d, product->responseImaginary[s] + i);
                    real[s][v] = hn::Add(real[s][v], hn::Sub(hn::Mul(re, signalRe), hn::Mul(im, signalIm)));
                    imaginary[s][v] =
                        hn::Add(imaginary[s][v], hn::Add(hn::Mul(re, signalIm), hn::Mul(im, signalRe)));
                }
            }
        }
        for (std::size_t s = 0; s < sumCount; ++s) {
            for (std::size_t v = 0; v < tile; ++v) {
                hn::StoreU(real[s][v], d, sums[s].real + first + v * hn::Lanes(d));
                hn::StoreU(imaginary[s][v], d, sums[s].imaginary + first + v * hn::Lanes(d));
            }
        }
    }

    SplitComplex sums[sumCount];
    const SpectrumProduct* products;
    std::uint32_t count;
};

void AddToOne(SplitComplex sum, const SpectrumProduct* products, std::uint32_t count, std::uint32_t vectors) {
    ForEachTile<vectorsPerSumTile>(vectors, SumTile<1>{{sum}, products, count});
}

void AddToTwo(const SpectrumPair& sums, const SpectrumProduct* products, std::uint32_t count,
              std::uint32_t vectors) {
    ForEachTile<vectorsPerTwoSumsTile>(vectors, SumTile<2>{{sums.first, sums.second}, products, count});
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(Split);
HWY_EXPORT(Join);
HWY_EXPORT(AddToOne);
HWY_EXPORT(AddToTwo);

void SplitPacked(std::uint32_t size, SplitComplex packed, SpectrumPair pair) {
    HWY_DYNAMIC_DISPATCH(Split)(size, packed, pair);
}

void JoinPacked(std::uint32_t size, SpectrumPair pair, SplitComplex packed) {
    HWY_DYNAMIC_DISPATCH(Join)(size, pair, packed);
}

void AddSpectrumProducts(SplitComplex sum, const SpectrumProduct* products, std::uint32_t count,
                         std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(AddToOne)(sum, products, count, vectors);
}

void AddSpectrumProductsToTwo(SpectrumPair sums, const SpectrumProduct* products, std::uint32_t count,
                              std::uint32_t vectors) {
    HWY_DYNAMIC_DISPATCH(AddToTwo)(sums, products, count, vectors);
}

}  // namespace hcml
#endif
