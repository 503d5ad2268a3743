// The kernels of numeric/kernels, one call a block of 512 frames, each beside what the machine can do at
// best, in separate products and sums or in copies in the first-level cache. The mix stands beside sgemm of
// the same shape on one thread, and beside one pass a source.

#include <benchmark/benchmark.h>
#include <cblas.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "bench/support/machinelimits.h"
#include "hwy/targets.h"
#include "numeric/bus.h"
#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/firstorderkernel.h"
#include "numeric/kernels/gainkernel.h"
#include "numeric/kernels/linearkernel.h"
#include "numeric/kernels/mixkernel.h"
#include "numeric/kernels/sinckernel.h"

namespace {

using hcml::ac::Bus;

constexpr std::uint32_t frames = 512;

void FillWithNoise(float* samples, std::size_t count, float level) {
    static std::minstd_rand generator;
    std::uniform_real_distribution<float> noise(-level, level);
    std::generate_n(samples, count, [&] { return noise(generator); });
}

// Says the time of one sample, and beside each rate the most that the machine can do.
void Report(benchmark::State& state, double samples, double operations, double bytes) {
    using benchmark::Counter;
    const double runs = static_cast<double>(state.iterations());
    state.counters["sample"] = Counter(samples * runs, Counter::kIsRate | Counter::kInvert);
    state.counters["FLOP"] = Counter(operations * runs, Counter::kIsRate);
    state.counters["FLOPLimit"] = PeakMultiplyAddRate();
    if (bytes == 0) return;
    state.counters["bytes"] = Counter(bytes * runs, Counter::kIsRate);
    state.counters["bytesLimit"] = CopyBandwidth();
}

// The sources and the channels of a mix, and its gains, as the renderer gathers them.
struct Scene {
    explicit Scene(const benchmark::State& state)
        : sources(frames, static_cast<std::uint32_t>(state.range(0))),
          channels(frames, static_cast<std::uint32_t>(state.range(1))),
          gains(std::size_t{sources.channelCount} * channels.channelCount) {
        for (std::uint32_t s = 0; s < sources.channelCount; ++s)
            FillWithNoise(sources.channels[s], frames, 1);
        FillWithNoise(gains.data(), gains.size(), 0.01f);
    }

    void ReportMix(benchmark::State& state) const {
        const double products = double{frames} * static_cast<double>(gains.size());
        Report(state, double{frames} * sources.channelCount, 2 * products, 0);
    }

    Bus sources, channels;
    std::vector<float> gains;  // of one source side by side
};

void MixOf(benchmark::State& state, const Scene& scene) {
    for (auto _ : state)
        hcml::MixSources({scene.channels.channels, scene.channels.channelCount, scene.sources.channels,
                          scene.sources.channelCount, scene.gains.data(), scene.channels.channelCount,
                          scene.sources.vectors});
    scene.ReportMix(state);
}

void Mix(benchmark::State& state) {
    MixOf(state, Scene(state));
}

void MixOnTarget(benchmark::State& state) {
    const std::int64_t target = state.range(2);
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    MixOf(state, Scene(state));
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    state.SetLabel(hwy::TargetName(target));
}

void MixOnePassASource(benchmark::State& state) {
    const Scene scene(state);
    for (auto _ : state) {
        const float* gain = scene.gains.data();
        for (std::uint32_t s = 0; s < scene.sources.channelCount; ++s)
            for (std::uint32_t c = 0; c < scene.channels.channelCount; ++c)
                hcml::MultiplyAddRow(scene.channels.channels[c], scene.sources.channels[s], *gain++,
                                     scene.sources.vectors);
    }
    scene.ReportMix(state);
}

void MixBySgemm(benchmark::State& state) {
    openblas_set_num_threads(1);
    const Scene scene(state);
    const auto sourceCount = static_cast<int>(scene.sources.channelCount);
    const auto channelCount = static_cast<int>(scene.channels.channelCount);
    float *const *const from = scene.sources.channels, *const *const to = scene.channels.channels;
    const auto fromStride = static_cast<int>(from[1] - from[0]), toStride = static_cast<int>(to[1] - to[0]);
    for (auto _ : state)
        cblas_sgemm(CblasRowMajor, CblasTrans, CblasNoTrans, channelCount, frames, sourceCount, 1,
                    scene.gains.data(), channelCount, from[0], fromStride, 1, to[0], toStride);
    scene.ReportMix(state);
}

void MixShapes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"sources", "channels"})->ArgsProduct({{32, 255, 1024}, {4, 9, 16, 25}});
    benchmark->Unit(benchmark::kMicrosecond)->MinTime(0.1);
}
BENCHMARK(Mix)->Apply(MixShapes);
BENCHMARK(MixBySgemm)->Apply(MixShapes);
BENCHMARK(MixOnePassASource)->Apply(MixShapes);
BENCHMARK(MixOnTarget)
    ->ArgNames({"sources", "channels", "target"})
    ->ArgsProduct({{255}, {25}, hwy::SupportedAndGeneratedTargets()})
    ->Unit(benchmark::kMicrosecond)
    ->MinTime(0.1);

// The argument is the step in thousandths of a frame, the limit two products and a sum.
void Linear(benchmark::State& state) {
    const auto step = static_cast<std::uint64_t>(state.range(0)) * 65536 / 1000;
    std::vector<float> input(frames * step / 65536 + 2), output(frames);
    FillWithNoise(input.data(), input.size(), 1);
    for (auto _ : state)
        hcml::InterpolateLinear(output.data(), frames, input.data() + 1, {12345, step});
    Report(state, frames, frames * 3, 0);
}
BENCHMARK(Linear)
    ->ArgName("step/1000")
    ->Arg(100)
    ->Arg(500)
    ->Arg(919)
    ->Arg(1000)
    ->Arg(1088)
    ->Arg(2000)
    ->Arg(3000);

void Sinc(benchmark::State& state) {
    const auto taps = static_cast<std::uint32_t>(state.range(0));
    std::vector<float> rows(64 * taps), input(frames + taps), output(frames);
    FillWithNoise(rows.data(), rows.size(), 1);
    FillWithNoise(input.data(), input.size(), 1);
    for (auto _ : state)
        hcml::ProduceSinc(output.data(), frames, input.data(), {rows.data(), taps}, {12345, 481690});
    Report(state, frames, frames * (2.0 * taps - 1), 0);
}
BENCHMARK(Sinc)->ArgName("taps")->Arg(4)->Arg(8)->Arg(16);

// A step of one frame stays on two rows; the other, of 44.1 to 48 kHz, goes through all of them.
void BlendedSinc(benchmark::State& state) {
    const auto taps = static_cast<std::uint32_t>(state.range(0));
    const auto step = static_cast<std::uint32_t>(state.range(1));
    std::vector<float> rows(257 * taps), input(frames + taps), output(frames);
    FillWithNoise(rows.data(), rows.size(), 1);
    FillWithNoise(input.data(), input.size(), 1);
    for (auto _ : state)
        hcml::ProduceBlendedSinc(output.data(), frames, input.data(), {rows.data(), taps, 8}, {12345, step});
    Report(state, frames, frames * (4.0 * taps + 2), 0);
}
BENCHMARK(BlendedSinc)->ArgNames({"taps", "step"})->ArgsProduct({{48, 64, 144}, {481690, 524288}});

void FirstOrder(benchmark::State& state) {
    const Bus rows(frames, static_cast<std::uint32_t>(state.range(0)));
    std::vector<hcml::FirstOrderSection> sections;
    for (std::uint32_t r = 0; r < rows.channelCount; ++r) {
        FillWithNoise(rows.channels[r], frames, 1);
        // As gain that is kept, so that in place the samples stay what they are like.
        sections.push_back({rows.channels[r], rows.channels[r], 0.7f, 0.3f, 0});
    }
    for (auto _ : state)
        hcml::RunFirstOrderSections(sections.data(), rows.channelCount, frames);
    const double samples = double{frames} * rows.channelCount;
    Report(state, samples, samples * 3, 0);
}
BENCHMARK(FirstOrder)->ArgName("rows")->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Arg(16);

void Multiply(benchmark::State& state) {
    const Bus rows(frames, 2);
    FillWithNoise(rows.channels[0], frames, 1);
    for (auto _ : state)
        hcml::MultiplyRow(rows.channels[1], rows.channels[0], 0.7f, rows.vectors);
    Report(state, frames, frames, frames * sizeof(float));
}
BENCHMARK(Multiply);

void MultiplyAdd(benchmark::State& state) {
    const Bus rows(frames, 2);
    FillWithNoise(rows.channels[0], frames, 1);
    for (auto _ : state)
        hcml::MultiplyAddRow(rows.channels[1], rows.channels[0], 1e-9f, rows.vectors);
    Report(state, frames, frames * 2, frames * sizeof(float));
}
BENCHMARK(MultiplyAdd);

// The limit is that of reading alone.
void Finite(benchmark::State& state) {
    const Bus row(frames, 1);
    FillWithNoise(row.channels[0], frames, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(hcml::IsFiniteRow(row.channels[0], frames));
    Report(state, frames, 0, frames * sizeof(float));
    state.counters["bytesLimit"] = ReadBandwidth();
}
BENCHMARK(Finite);

}  // namespace
