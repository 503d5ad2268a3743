#include "numeric/kernels/fourierkernel.h"

#include <bit>
#include <cmath>
#include <complex>
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
HWY_INLINE Complex<D> LoadComplex(D d, SplitComplexOf<hn::TFromD<D>> rows, std::size_t i) {
    return {hn::LoadU(d, rows.real + i), hn::LoadU(d, rows.imaginary + i)};
}

template <class D>
HWY_INLINE void StoreComplex(D d, Complex<D> v, SplitComplexOf<hn::TFromD<D>> rows, std::size_t i) {
    hn::StoreU(v.re, d, rows.real + i);
    hn::StoreU(v.im, d, rows.imaginary + i);
}

// Complex values whose parts stand in turn.
template <typename T>
struct Interleaved {
    T* values;
};

template <class D>
HWY_INLINE Complex<D> LoadComplex(D d, Interleaved<const hn::TFromD<D>> row, std::size_t i) {
    Complex<D> v;
    hn::LoadInterleaved2(d, row.values + 2 * i, v.re, v.im);
    return v;
}

template <class D>
HWY_INLINE void StoreComplex(D d, Complex<D> v, Interleaved<hn::TFromD<D>> row, std::size_t i) {
    hn::StoreInterleaved2(v.re, v.im, d, row.values + 2 * i);
}

// The same, the imaginary part first.
template <typename T>
struct Exchanged {
    T* values;
};

template <class D>
HWY_INLINE void StoreComplex(D d, Complex<D> v, Exchanged<hn::TFromD<D>> row, std::size_t i) {
    hn::StoreInterleaved2(v.im, v.re, d, row.values + 2 * i);
}

// The values before `end`, the last one first.
template <class D, class Rows>
HWY_INLINE Complex<D> LoadBackwards(D d, Rows rows, std::size_t end) {
    const Complex<D> v = LoadComplex(d, rows, end - hn::Lanes(d));
    return {hn::Reverse(d, v.re), hn::Reverse(d, v.im)};
}

// The three rotations of a pass, w^p, w^2p and w^3p, one for each of `count` lanes or for single values of p.
template <typename T>
struct Rotations {
    template <class D>
    HWY_INLINE Complex<D> Load(D d, std::size_t k, std::size_t i) const {
        const T* row = factors + 2 * (k - 1) * count + i;
        return {hn::LoadU(d, row), hn::LoadU(d, row + count)};
    }

    template <class D>
    HWY_INLINE Complex<D> Broadcast(D d, std::size_t k, std::size_t p) const {
        const T* row = factors + 2 * (k - 1) * count + p;
        return {hn::Set(d, row[0]), hn::Set(d, row[count])};
    }

    const T* factors;
    std::size_t count;
};

// Sums of radix 4 of what stands `step` apart. When the second half is empty the last two are zero.
template <bool halfEmpty, class D, class Rows>
HWY_INLINE void LoadFour(D d, Rows rows, std::size_t i, std::size_t step, Complex<D> (&y)[4]) {
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
template <bool halfEmpty, class D, class Rows>
HWY_INLINE void LoadRotated(D d, Rows rows, std::size_t j, Rotations<hn::TFromD<D>> rotations,
                            Complex<D> (&y)[4]) {
    LoadFour<halfEmpty>(d, rows, j, rotations.count, y);
    for (std::size_t k = 1; k < 4; ++k)
        y[k] = y[k] * rotations.Load(d, k, j);
}

// The pass of spacing 1.
template <bool halfEmpty, class D, class Rows, typename T>
HWY_INLINE void FirstPass(D d, std::size_t size, Rows from, SplitComplexOf<T> to, const T* factors) {
    const Rotations<T> rotations{factors, size / 4};
    for (std::size_t j = 0; j < rotations.count; j += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadRotated<halfEmpty>(d, from, j, rotations, y);
        hn::StoreInterleaved4(y[0].re, y[1].re, y[2].re, y[3].re, d, to.real + 4 * j);
        hn::StoreInterleaved4(y[0].im, y[1].im, y[2].im, y[3].im, d, to.imaginary + 4 * j);
    }
}

// A pass of a spacing of at least a vector.
template <class D, typename T>
HWY_INLINE void LaterPass(D d, std::size_t size, std::size_t spacing, SplitComplexOf<T> from,
                          SplitComplexOf<T> to, Rotations<T> rotations) {
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

// Stores blocks of four values, those of a first, then those of b, c and e: all first ones, then all second
// ones, and so on. `j` values have been stored of each before. Vectors of floats of more than four lanes hold
// several blocks; others one at most.
template <class D, typename T>
HWY_INLINE void StoreBlocks(D d, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c, hn::Vec<D> e, T* to,
                            std::size_t j) {
    constexpr std::size_t lanes = hn::MaxLanes(D());
    if constexpr (lanes <= 4) {
        to += 16 * (j / 4) + j % 4;
        hn::StoreU(a, d, to);
        hn::StoreU(b, d, to + 4);
        hn::StoreU(c, d, to + 8);
        hn::StoreU(e, d, to + 12);
    }
#if HWY_TARGET != HWY_SCALAR
    else if constexpr (lanes == 8) {
        to += 4 * j;
        hn::StoreU(hn::ConcatLowerLower(d, b, a), d, to);
        hn::StoreU(hn::ConcatLowerLower(d, e, c), d, to + 8);
        hn::StoreU(hn::ConcatUpperUpper(d, b, a), d, to + 16);
        hn::StoreU(hn::ConcatUpperUpper(d, e, c), d, to + 24);
    } else {
        to += 4 * j;
        const auto lowerAC = hn::ConcatLowerLower(d, c, a), upperAC = hn::ConcatUpperUpper(d, c, a);
        const auto lowerBE = hn::ConcatLowerLower(d, e, b), upperBE = hn::ConcatUpperUpper(d, e, b);
        hn::StoreU(hn::OddEvenBlocks(hn::SwapAdjacentBlocks(lowerBE), lowerAC), d, to);
        hn::StoreU(hn::OddEvenBlocks(lowerBE, hn::SwapAdjacentBlocks(lowerAC)), d, to + 16);
        hn::StoreU(hn::OddEvenBlocks(hn::SwapAdjacentBlocks(upperBE), upperAC), d, to + 32);
        hn::StoreU(hn::OddEvenBlocks(upperBE, hn::SwapAdjacentBlocks(upperAC)), d, to + 48);
    }
#endif
}

// The pass of spacing 4. Its rotations are there four times each.
template <class D, typename T>
HWY_INLINE void SecondPass(D d, std::size_t size, SplitComplexOf<T> from, SplitComplexOf<T> to,
                           const T* factors) {
    const Rotations<T> rotations{factors, size / 4};
    for (std::size_t j = 0; j < rotations.count; j += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadRotated<false>(d, from, j, rotations, y);
        StoreBlocks(d, y[0].re, y[1].re, y[2].re, y[3].re, to.real, j);
        StoreBlocks(d, y[0].im, y[1].im, y[2].im, y[3].im, to.imaginary, j);
    }
}

// The last pass has no rotations, since p is 0.
template <class D, typename T, class Rows>
HWY_INLINE void LastPassOf4(D d, std::size_t size, SplitComplexOf<T> from, Rows to) {
    const std::size_t spacing = size / 4;
    for (std::size_t q = 0; q < spacing; q += hn::Lanes(d)) {
        Complex<D> y[4];
        LoadFour<false>(d, from, q, spacing, y);
        for (std::size_t k = 0; k < 4; ++k)
            StoreComplex(d, y[k], to, q + k * spacing);
    }
}

// Radix 8 as two times radix 4, on the even and the odd ones, and radix 2.
template <class D, typename T, class Rows>
HWY_INLINE void LastPassOf8(D d, std::size_t size, SplitComplexOf<T> from, Rows to) {
    const std::size_t spacing = size / 8;
    const auto root = hn::Set(d, std::numbers::sqrt2_v<T> / 2);
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

// Where the passes of spacing 1, 4, 16 and so on write: in turn, from `first` on.
template <typename T>
class Targets {
public:
    Targets(SplitComplexOf<T> first, SplitComplexOf<T> second) : next(second), other(first) {}

    // Where this pass writes; the next one reads there.
    SplitComplexOf<T> Next() {
        std::swap(next, other);
        return next;
    }

private:
    SplitComplexOf<T> next, other;
};

// All passes but the last one, and `spacing` becomes that one's. The answer is where it reads.
template <bool halfEmpty, class D, class Rows, typename T>
HWY_INLINE SplitComplexOf<T> RunPasses(D d, std::size_t size, const T* factors, Rows input,
                                       Targets<T>& targets, std::size_t& spacing) {
    SplitComplexOf<T> at = targets.Next();
    FirstPass<halfEmpty>(d, size, input, at, factors);
    factors += 6 * (size / 4);
    for (spacing = 4; size / spacing > 8; spacing *= 4) {
        const SplitComplexOf<T> to = targets.Next();
        if (spacing == 4) {
            constexpr std::size_t most = sizeof(T) == 4 ? 16 : 4;  // lanes that StoreBlocks takes
            SecondPass(hn::CappedTag<T, most>(), size, at, to, factors);
            factors += 6 * (size / 4);
        } else {
            const Rotations<T> rotations{factors, size / spacing / 4};
            LaterPass(d, size, spacing, at, to, rotations);
            factors += 6 * rotations.count;
        }
        at = to;
    }
    return at;
}

template <class D, typename T, class Rows>
HWY_INLINE void LastPass(D d, std::size_t size, std::size_t spacing, SplitComplexOf<T> from, Rows to) {
    if (size / spacing == 4)
        LastPassOf4(d, size, from, to);
    else
        LastPassOf8(d, size, from, to);
}

// The first target is chosen so that the last pass writes `output`.
template <bool halfEmpty, class D, typename T>
HWY_INLINE void TransformWith(D d, const FourierOf<T>& fourier) {
    const bool isOddCount = std::countr_zero(fourier.size) / 2 % 2 == 1;
    Targets<T> targets(isOddCount ? fourier.output : fourier.scratch,
                       isOddCount ? fourier.scratch : fourier.output);
    std::size_t spacing = 0;
    const auto at = RunPasses<halfEmpty>(d, fourier.size, fourier.factors, fourier.input, targets, spacing);
    LastPass(d, fourier.size, spacing, at, targets.Next());
}

// ---- Real signals, as complex ones of half the size: even samples real, odd ones imaginary ----

// The bins from 1 to m - 1 by vectors, of which the last one may run again over what the one before it did.
template <class D, class Body>
HWY_INLINE void ForInnerBins(D d, std::size_t m, Body body) {
    const std::size_t lanes = hn::Lanes(d);
    std::size_t k = 1;
    for (; k + lanes < m; k += lanes)
        body(k);
    body(m - lanes);
}

// Bin k of the real signal is the sum of the transforms of its even and odd samples, which are the even and
// the odd part of the complex one's.
template <class D, typename T>
HWY_INLINE void Unpack(D d, std::size_t m, SplitComplexOf<T> from, const T* rotations, T* bins) {
    const auto half = hn::Set(d, T{0.5});
    ForInnerBins(d, m, [&](std::size_t k) {
        const Complex<D> a = LoadComplex(d, from, k), b = LoadBackwards(d, from, m - k + 1);
        const Complex<D> even{hn::Mul(half, hn::Add(a.re, b.re)), hn::Mul(half, hn::Sub(a.im, b.im))};
        const Complex<D> odd{hn::Sub(a.re, b.re), hn::Add(a.im, b.im)};
        const Complex<D> rotation{hn::LoadU(d, rotations + k), hn::LoadU(d, rotations + m + k)};
        StoreComplex(d, even + odd * rotation, Interleaved<T>{bins}, k);
    });
    bins[0] = from.real[0] + from.imaginary[0];
    bins[2 * m] = from.real[0] - from.imaginary[0];
    bins[1] = bins[2 * m + 1] = 0;
}

// The other way, without the factor 1/2. The first and the last bin are taken as real.
template <class D, typename T>
HWY_INLINE void Pack(D d, std::size_t m, const T* bins, const T* rotations, SplitComplexOf<T> to) {
    const Interleaved<const T> from{bins};
    const auto two = hn::Set(d, T{2});
    ForInnerBins(d, m, [&](std::size_t k) {
        const Complex<D> a = LoadComplex(d, from, k), b = LoadBackwards(d, from, m - k + 1);
        const Complex<D> even{hn::Add(a.re, b.re), hn::Sub(a.im, b.im)};
        const Complex<D> odd{hn::Mul(two, hn::Sub(a.re, b.re)), hn::Mul(two, hn::Add(a.im, b.im))};
        const Complex<D> rotation{hn::LoadU(d, rotations + k), hn::Neg(hn::LoadU(d, rotations + m + k))};
        StoreComplex(d, even + odd * rotation, to, k);
    });
    to.real[0] = bins[0] + bins[2 * m];
    to.imaginary[0] = bins[0] - bins[2 * m];
}

template <class D, typename T>
HWY_INLINE void TransformRealWith(D d, const RealFourierOf<T>& fourier) {
    const std::size_t m = fourier.size / 2;
    Targets<T> targets(fourier.one, fourier.other);
    std::size_t spacing = 0;
    const auto at =
        RunPasses<false>(d, m, fourier.factors, Interleaved<const T>{fourier.time}, targets, spacing);
    const SplitComplexOf<T> packed = targets.Next();
    LastPass(d, m, spacing, at, packed);
    Unpack(d, m, packed, fourier.factors + FourierFactorCount(fourier.size / 2), fourier.bins);
}

// The inverse is the transform with real and imaginary parts exchanged, before and after.
template <class D, typename T>
HWY_INLINE void TransformBackWith(D d, const RealFourierOf<T>& fourier) {
    const std::size_t m = fourier.size / 2;
    const SplitComplexOf<T> packed = fourier.one;
    Pack(d, m, fourier.bins, fourier.factors + FourierFactorCount(fourier.size / 2), packed);
    const SplitComplexOf<T> exchanged{packed.imaginary, packed.real};
    Targets<T> targets(fourier.other, exchanged);
    std::size_t spacing = 0;
    const auto at = RunPasses<false>(d, m, fourier.factors, exchanged, targets, spacing);
    LastPass(d, m, spacing, at, Exchanged<T>{fourier.time});
}

// A vector has at most as many lanes as a quarter of the size has values.
template <typename T, class Run>
HWY_INLINE void WithVectorsFor(std::uint32_t complexSize, Run run) {
    if (complexSize < 64)
        run(hn::CappedTag<T, 4>());
    else
        run(hn::CappedTag<T, 16>());
}

void TransformFull(const Fourier& fourier) {
    WithVectorsFor<float>(fourier.size, [&](auto d) { TransformWith<false>(d, fourier); });
}

void TransformHalf(const Fourier& fourier) {
    WithVectorsFor<float>(fourier.size, [&](auto d) { TransformWith<true>(d, fourier); });
}

void TransformRealFloat(const RealFourierOf<float>& fourier) {
    WithVectorsFor<float>(fourier.size / 2, [&](auto d) { TransformRealWith(d, fourier); });
}

void TransformBackFloat(const RealFourierOf<float>& fourier) {
    WithVectorsFor<float>(fourier.size / 2, [&](auto d) { TransformBackWith(d, fourier); });
}

void TransformRealDouble(const RealFourierOf<double>& fourier) {
    WithVectorsFor<double>(fourier.size / 2, [&](auto d) { TransformRealWith(d, fourier); });
}

void TransformBackDouble(const RealFourierOf<double>& fourier) {
    WithVectorsFor<double>(fourier.size / 2, [&](auto d) { TransformBackWith(d, fourier); });
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

// exp(-2 pi i turns / n), right to the last digit of a double.
std::complex<long double> Rotation(std::uint64_t turns, std::uint64_t n) {
    const long double angle = -2 * std::numbers::pi_v<long double> * static_cast<long double>(turns % n) /
                              static_cast<long double>(n);
    return {std::cos(angle), std::sin(angle)};
}

}  // namespace

std::uint32_t FourierFactorCount(std::uint32_t size) {
    std::uint32_t count = 0;
    ForEachRotatingPass(size,
                        [&](std::uint32_t n, std::uint32_t repeats) { count += 6 * (n / 4) * repeats; });
    return count;
}

template <typename T>
void FillFourierFactors(std::uint32_t size, T* factors) {
    ForEachRotatingPass(size, [&](std::uint32_t n, std::uint32_t repeats) {
        const std::uint32_t count = n / 4 * repeats;
        for (std::uint32_t k = 1; k < 4; ++k, factors += std::size_t{2} * count) {
            for (std::uint32_t i = 0; i < count; ++i) {
                const auto rotation = Rotation(std::uint64_t{k} * (i / repeats), n);
                factors[i] = static_cast<T>(rotation.real());
                factors[count + i] = static_cast<T>(rotation.imag());
            }
        }
    });
}

template void FillFourierFactors(std::uint32_t size, float* factors);
template void FillFourierFactors(std::uint32_t size, double* factors);

std::uint32_t RealFourierFactorCount(std::uint32_t size) {
    return FourierFactorCount(size / 2) + size;
}

template <typename T>
void FillRealFourierFactors(std::uint32_t size, T* factors) {
    const std::uint32_t m = size / 2;
    FillFourierFactors(m, factors);
    factors += FourierFactorCount(m);
    for (std::uint32_t k = 0; k < m; ++k) {  // -i/2 times the rotation
        const auto rotation = Rotation(k, size);
        factors[k] = static_cast<T>(rotation.imag() / 2);
        factors[m + k] = static_cast<T>(-rotation.real() / 2);
    }
}

template void FillRealFourierFactors(std::uint32_t size, float* factors);
template void FillRealFourierFactors(std::uint32_t size, double* factors);

HWY_EXPORT(TransformFull);
HWY_EXPORT(TransformHalf);
HWY_EXPORT(TransformRealFloat);
HWY_EXPORT(TransformBackFloat);
HWY_EXPORT(TransformRealDouble);
HWY_EXPORT(TransformBackDouble);

void TransformComplex(const Fourier& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformFull)(fourier);
}

void TransformHalfEmpty(const Fourier& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformHalf)(fourier);
}

void TransformReal(const RealFourierOf<float>& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformRealFloat)(fourier);
}

void TransformReal(const RealFourierOf<double>& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformRealDouble)(fourier);
}

void TransformBack(const RealFourierOf<float>& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformBackFloat)(fourier);
}

void TransformBack(const RealFourierOf<double>& fourier) {
    HWY_DYNAMIC_DISPATCH(TransformBackDouble)(fourier);
}

}  // namespace hcml
#endif
