#include "numeric/kernels/fourierkernel.h"

#include <cmath>
#include <numbers>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/fourierkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

// Stockham's form of the transform, which leaves the bins in order: passes of radix 4, each from one pair of
// rows to another, and a last one of radix 4 or 8. A pass takes, with n = size / spacing and m = n / 4,
//
//     y[q + spacing * (4p + k)] = w^(kp) * sum over l of (-i)^(kl) * x[q + spacing * (p + m * l)]
//
// for q below spacing, p below m, k below 4 and w = exp(-2 pi i / n); the next one has four times the
// spacing. Its reads stand in order, since j = q + spacing * p counts up, with size / 4 from l to l + 1; only
// the first two passes write in pieces smaller than a vector.

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
struct Complex {
    hn::Vec<D> re, im;
};

template <class D>
HWY_INLINE Complex<D> operator+(Complex<D> a, Complex<D> b) {
    return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
}

template <class D>
HWY_INLINE Complex<D> operator-(Complex<D> a, Complex<D> b) {
    return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)};
}

// a - i * b and a + i * b
template <class D>
HWY_INLINE Complex<D> MinusI(Complex<D> a, Complex<D> b) {
    return {hn::Add(a.re, b.im), hn::Sub(a.im, b.re)};
}

template <class D>
HWY_INLINE Complex<D> PlusI(Complex<D> a, Complex<D> b) {
    return {hn::Sub(a.re, b.im), hn::Add(a.im, b.re)};
}

template <class D>
HWY_INLINE Complex<D> operator*(Complex<D> a, Complex<D> b) {
    return {hn::Sub(hn::Mul(a.re, b.re), hn::Mul(a.im, b.im)),
            hn::Add(hn::Mul(a.re, b.im), hn::Mul(a.im, b.re))};
}

template <class D>
HWY_INLINE Complex<D> LoadComplex(D d, SplitComplex rows, std::size_t i) {
    return {hn::LoadU(d, rows.real + i), hn::LoadU(d, rows.imaginary + i)};
}

template <class D>
HWY_INLINE void StoreComplex(D d, Complex<D> v, SplitComplex rows, std::size_t i) {
    hn::StoreU(v.re, d, rows.real + i);
    hn::StoreU(v.im, d, rows.imaginary + i);
}

// The three rotations of a pass, w^p, w^2p and w^3p, one for each of `count` lanes or for single values of p.
struct Rotations {
    template <class D>
    HWY_INLINE Complex<D> Load(D d, std::size_t k, std::size_t i) const {
        const float* row = factors + 2 * (k - 1) * count + i;
        return {hn::LoadU(d, row), hn::LoadU(d, row + count)};
    }

    template <class D>
    HWY_INLINE Complex<D> Broadcast(D d, std::size_t k, std::size_t p) const {
        const float* row = factors + 2 * (k - 1) * count + p;
        return {hn::Set(d, row[0]), hn::Set(d, row[count])};
    }

    const float* factors;
    std::size_t count;
};

// Sums of radix 4 of what stands `step` apart. When the second half is empty the last two are zero.
template <bool halfEmpty, class D>
HWY_INLINE void LoadFour(D d, SplitComplex rows, std::size_t i, std::size_t step, Complex<D> (&y)[4]) {
    const Complex<D> a = LoadComplex(d, rows, i), b = LoadComplex(d, rows, i + step);
    if constexpr (halfEmpty) {
        y[0] = a + b;
        y[1] = MinusI(a, b);
        y[2] = a - b;
        y[3] = PlusI(a, b);
    } else {
        const Complex<D> c = LoadComplex(d, rows, i + 2 * step), e = LoadComplex(d, rows, i + 3 * step);
        const Complex<D> sumAC = a + c, differenceAC = a - c, sumBE = b + e, differenceBE = b - e;
        y[0] = sumAC + sumBE;
        y[1] = MinusI(differenceAC, differenceBE);
        y[2] = sumAC - sumBE;
        y[3] = PlusI(differenceAC, differenceBE);
    }
}

// The same of what stands a quarter apart, rotated for the pass.
template <bool halfEmpty, class D>
HWY_INLINE void LoadRotated(D d, SplitComplex rows, std::size_t j, Rotations rotations, Complex<D> (&y)[4]) {
    LoadFour<halfEmpty>(d, rows, j, rotations.count, y);
    for (std::size_t k = 1; k < 4; ++k)
        y[k] = y[k] * rotations.Load(d, k, j);
}

// The pass of spacing 1.
template <bool halfEmpty, class D>
HWY_INLINE void FirstPass(D d, std::size_t size, SplitComplex from, SplitComplex to, const float* factors) {
    const Rotations rotations{factors, size / 4};
    for (std::size_t j = 0; j < rotations.count; j += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadRotated<halfEmpty>(d, from, j, rotations, y);
        hn::StoreInterleaved4(y[0].re, y[1].re, y[2].re, y[3].re, d, to.real + 4 * j);
        hn::StoreInterleaved4(y[0].im, y[1].im, y[2].im, y[3].im, d, to.imaginary + 4 * j);
    }
}

// A pass of a spacing of at least a vector.
template <class D>
HWY_INLINE void LaterPass(D d, std::size_t size, std::size_t spacing, SplitComplex from, SplitComplex to,
                          Rotations rotations) {
    const std::size_t quarter = size / 4;
    for (std::size_t p = 0; p < rotations.count; ++p) {
        const Complex<D> w1 = rotations.Broadcast(d, 1, p), w2 = rotations.Broadcast(d, 2, p),
                         w3 = rotations.Broadcast(d, 3, p);
        for (std::size_t q = 0; q < spacing; q += hn::Lanes(d)) {
            Complex<D> y[4];
            LoadFour<false>(d, from, p * spacing + q, quarter, y);
            const std::size_t at = 4 * p * spacing + q;
            StoreComplex(d, y[0], to, at);
            StoreComplex(d, y[1] * w1, to, at + spacing);
            StoreComplex(d, y[2] * w2, to, at + 2 * spacing);
            StoreComplex(d, y[3] * w3, to, at + 3 * spacing);
        }
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class D>
HWY_INLINE void SecondPass(D d, std::size_t size, SplitComplex from, SplitComplex to, const float* factors) {
    for (std::size_t j = 0; j < size / 4; ++j) {
        Complex<D> y[4];
        LoadRotated<false>(d, from, j, Rotations{factors, size / 4}, y);
        for (std::size_t k = 0; k < 4; ++k)
            StoreComplex(d, y[k], to, 16 * (j / 4) + j % 4 + 4 * k);
    }
}

#else

// Stores blocks of four floats: all first ones of a to e in order, then all second ones, and so on.
template <class D>
HWY_INLINE void StoreBlocks(D d, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c, hn::Vec<D> e, float* to) {
    constexpr std::size_t lanes = hn::MaxLanes(D());
    if constexpr (lanes == 4) {
        hn::StoreU(a, d, to);
        hn::StoreU(b, d, to + 4);
        hn::StoreU(c, d, to + 8);
        hn::StoreU(e, d, to + 12);
    } else if constexpr (lanes == 8) {
        hn::StoreU(hn::ConcatLowerLower(d, b, a), d, to);
        hn::StoreU(hn::ConcatLowerLower(d, e, c), d, to + 8);
        hn::StoreU(hn::ConcatUpperUpper(d, b, a), d, to + 16);
        hn::StoreU(hn::ConcatUpperUpper(d, e, c), d, to + 24);
    } else {
        const auto lowerAC = hn::ConcatLowerLower(d, c, a), upperAC = hn::ConcatUpperUpper(d, c, a);
        const auto lowerBE = hn::ConcatLowerLower(d, e, b), upperBE = hn::ConcatUpperUpper(d, e, b);
        hn::StoreU(hn::OddEvenBlocks(hn::SwapAdjacentBlocks(lowerBE), lowerAC), d, to);
        hn::StoreU(hn::OddEvenBlocks(lowerBE, hn::SwapAdjacentBlocks(lowerAC)), d, to + 16);
        hn::StoreU(hn::OddEvenBlocks(hn::SwapAdjacentBlocks(upperBE), upperAC), d, to + 32);
        hn::StoreU(hn::OddEvenBlocks(upperBE, hn::SwapAdjacentBlocks(upperAC)), d, to + 48);
    }
}

// The pass of spacing 4. Its rotations are there four times each.
template <class D>
HWY_INLINE void SecondPass(D d, std::size_t size, SplitComplex from, SplitComplex to, const float* factors) {
    const Rotations rotations{factors, size / 4};
    for (std::size_t j = 0; j < rotations.count; j += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadRotated<false>(d, from, j, rotations, y);
        StoreBlocks(d, y[0].re, y[1].re, y[2].re, y[3].re, to.real + 4 * j);
        StoreBlocks(d, y[0].im, y[1].im, y[2].im, y[3].im, to.imaginary + 4 * j);
    }
}

#endif

// The last pass has no rotations, since p is 0.
template <class D>
HWY_INLINE void LastPassOf4(D d, std::size_t size, SplitComplex from, SplitComplex to) {
    const std::size_t spacing = size / 4;
    for (std::size_t q = 0; q < spacing; q += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadFour<false>(d, from, q, spacing, y);
        for (std::size_t k = 0; k < 4; ++k)
            StoreComplex(d, y[k], to, q + k * spacing);
    }
}

// Radix 8 as two times radix 4, on the even and the odd ones, and radix 2.
template <class D>
HWY_INLINE void LastPassOf8(D d, std::size_t size, SplitComplex from, SplitComplex to) {
    const std::size_t spacing = size / 8;
    const auto root = hn::Set(d, std::numbers::sqrt2_v<float> / 2);
    for (std::size_t q = 0; q < spacing; q += hn::Lanes(d)) {
        Complex<D> even[4], odd[4];
        LoadFour<false>(d, from, q, 2 * spacing, even);
        LoadFour<false>(d, from, q + spacing, 2 * spacing, odd);
        odd[1] = {hn::Mul(root, hn::Add(odd[1].re, odd[1].im)), hn::Mul(root, hn::Sub(odd[1].im, odd[1].re))};
        odd[3] = {hn::Mul(root, hn::Sub(odd[3].im, odd[3].re)),
                  hn::Mul(root, hn::Neg(hn::Add(odd[3].re, odd[3].im)))};
        StoreComplex(d, even[0] + odd[0], to, q);
        StoreComplex(d, even[0] - odd[0], to, q + 4 * spacing);
        StoreComplex(d, even[1] + odd[1], to, q + spacing);
        StoreComplex(d, even[1] - odd[1], to, q + 5 * spacing);
        StoreComplex(d, MinusI(even[2], odd[2]), to, q + 2 * spacing);
        StoreComplex(d, PlusI(even[2], odd[2]), to, q + 6 * spacing);
        StoreComplex(d, even[3] + odd[3], to, q + 3 * spacing);
        StoreComplex(d, even[3] - odd[3], to, q + 7 * spacing);
    }
}

// Where the passes of spacing 1, 4, 16 and so on to the last write, so that the last one writes `output`.
class Targets {
public:
    explicit Targets(const Fourier& fourier) : next(fourier.scratch), other(fourier.output) {
        std::uint32_t passes = 1;
        for (std::uint32_t n = fourier.size; n > 8; n /= 4)
            ++passes;
        if (passes % 2 == 1) std::swap(next, other);
    }
    // Says where this pass writes, and from the second one on its reads come from where the last one wrote.
    SplitComplex Next() {
        std::swap(next, other);
        return other;
    }

private:
    SplitComplex next, other;
};

template <bool halfEmpty, class D>
HWY_INLINE void TransformWith(D d, const Fourier& fourier) {
    const std::size_t size = fourier.size;
    const float* factors = fourier.factors;
    Targets targets(fourier);
    SplitComplex at = targets.Next();
    FirstPass<halfEmpty>(d, size, fourier.input, at, factors);
    factors += 6 * (size / 4);
    std::size_t spacing = 4;
    for (; size / spacing > 8; spacing *= 4) {
        const SplitComplex to = targets.Next();
        if (spacing == 4) {
            SecondPass(d, size, at, to, factors);
            factors += 6 * (size / 4);
        } else {
            const Rotations rotations{factors, size / spacing / 4};
            LaterPass(d, size, spacing, at, to, rotations);
            factors += 6 * rotations.count;
        }
        at = to;
    }
    if (size / spacing == 4)
        LastPassOf4(d, size, at, targets.Next());
    else
        LastPassOf8(d, size, at, targets.Next());
}

template <bool halfEmpty>
HWY_INLINE void TransformAny(const Fourier& fourier) {
    if (fourier.size < 64)
        TransformWith<halfEmpty>(hn::CappedTag<float, 4>(), fourier);
    else
        TransformWith<halfEmpty>(hn::CappedTag<float, 16>(), fourier);
}

void TransformFull(const Fourier& fourier) {
    TransformAny<false>(fourier);
}

void TransformHalf(const Fourier& fourier) {
    TransformAny<true>(fourier);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {
namespace {

// Calls `body(n, repeats)` for the passes that rotate, in order: how many of their values make a turn, and
// how often each rotation stands in the table.
template <class Body>
void ForEachRotatingPass(std::uint32_t size, Body body) {
    body(size, 1u);
    for (std::uint32_t spacing = 4; size / spacing > 8; spacing *= 4)
        body(size / spacing, spacing == 4 ? 4u : 1u);
}

}  // namespace

std::uint32_t FourierFactorCount(std::uint32_t size) {
    std::uint32_t count = 0;
    ForEachRotatingPass(size,
                        [&](std::uint32_t n, std::uint32_t repeats) { count += 6 * (n / 4) * repeats; });
    return count;
}

void FillFourierFactors(std::uint32_t size, float* factors) {
    ForEachRotatingPass(size, [&](std::uint32_t n, std::uint32_t repeats) {
        const std::uint32_t count = n / 4 * repeats;
        for (std::uint32_t k = 1; k < 4; ++k, factors += std::size_t{2} * count) {
            for (std::uint32_t i = 0; i < count; ++i) {
                const std::uint32_t turn = i / repeats;
                const double angle = -2 * std::numbers::pi * k * turn / n;
                factors[i] = static_cast<float>(std::cos(angle));
                factors[count + i] = static_cast<float>(std::sin(angle));
            }
        }
    });
}

HWY_EXPORT(TransformFull);
HWY_EXPORT(TransformHalf);

void TransformComplex(const Fourier& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformFull)(fourier);
}

void TransformHalfEmpty(const Fourier& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformHalf)(fourier);
}

}  // namespace hcml
#endif
