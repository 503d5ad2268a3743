// The transform of real signals beside that of FFTW, planned without measuring, on the same buffers' sizes.
// Times are of one transform.

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstdint>

#include "numeric/dft.h"

namespace {

template <typename T>
void Fill(T* values, std::uint32_t count) {
    std::uint32_t seed = 1;
    for (std::uint32_t i = 0; i < count; ++i)
        values[i] = static_cast<T>((seed = seed * 1664525 + 1013904223) >> 8) / (1 << 23) - 1;
}

template <typename T>
void Own(benchmark::State& state, void (hcml::DFT<T>::*execute)()) {
    hcml::DFT<T> dft;
    dft.setSize(static_cast<std::uint32_t>(state.range(0)));
    Fill(dft.timeBuffer, dft.size);
    Fill(reinterpret_cast<T*>(dft.frequencyBuffer), dft.size + 2);
    for (auto _ : state) {
        (dft.*execute)();
        benchmark::ClobberMemory();
    }
}

// What FFTW has for one precision.
template <typename T>
struct FFTW;

template <>
struct FFTW<float> {
    using Complex = fftwf_complex;
    static constexpr auto forward = fftwf_plan_dft_r2c_1d;
    static constexpr auto inverse = fftwf_plan_dft_c2r_1d;
    static constexpr auto execute = fftwf_execute;
    static constexpr auto destroy = fftwf_destroy_plan;
};

template <>
struct FFTW<double> {
    using Complex = fftw_complex;
    static constexpr auto forward = fftw_plan_dft_r2c_1d;
    static constexpr auto inverse = fftw_plan_dft_c2r_1d;
    static constexpr auto execute = fftw_execute;
    static constexpr auto destroy = fftw_destroy_plan;
};

template <typename T>
void Other(benchmark::State& state, bool isForward) {
    hcml::DFT<T> buffers;  // aligned as FFTW wants them
    buffers.setSize(static_cast<std::uint32_t>(state.range(0)));
    auto* const bins = reinterpret_cast<typename FFTW<T>::Complex*>(buffers.frequencyBuffer);
    const int n = static_cast<int>(buffers.size);
    const auto plan = isForward ? FFTW<T>::forward(n, buffers.timeBuffer, bins, FFTW_ESTIMATE)
                                : FFTW<T>::inverse(n, bins, buffers.timeBuffer, FFTW_ESTIMATE);
    Fill(buffers.timeBuffer, buffers.size);
    Fill(reinterpret_cast<T*>(buffers.frequencyBuffer), buffers.size + 2);
    for (auto _ : state) {
        FFTW<T>::execute(plan);
        benchmark::ClobberMemory();
    }
    FFTW<T>::destroy(plan);
}

void AllSizes(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(2)->Range(2, 65536);
}

constexpr auto OwnFloat = Own<float>;
constexpr auto OwnDouble = Own<double>;
constexpr auto OtherFloat = Other<float>;
constexpr auto OtherDouble = Other<double>;

BENCHMARK_CAPTURE(OwnFloat, forward, &hcml::DFT<float>::ExecuteForward)->Apply(AllSizes);
BENCHMARK_CAPTURE(OtherFloat, forward, true)->Apply(AllSizes);
BENCHMARK_CAPTURE(OwnFloat, inverse, &hcml::DFT<float>::ExecuteInverse)->Apply(AllSizes);
BENCHMARK_CAPTURE(OtherFloat, inverse, false)->Apply(AllSizes);
BENCHMARK_CAPTURE(OwnDouble, forward, &hcml::DFT<double>::ExecuteForward)->Apply(AllSizes);
BENCHMARK_CAPTURE(OtherDouble, forward, true)->Apply(AllSizes);
BENCHMARK_CAPTURE(OwnDouble, inverse, &hcml::DFT<double>::ExecuteInverse)->Apply(AllSizes);
BENCHMARK_CAPTURE(OtherDouble, inverse, false)->Apply(AllSizes);

}  // namespace
