// The stage that every path of a source passes through, in time per sample of one path of 512 frames at 48
// kHz. Beside it the machine's limit for the paths without a section, a copy of the block; a section is bound
// by its recursion, and the plainest first-order loop, one multiply and one add after the other, stands for
// that.

#include "goal/dsp/filterstage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t frames = 512;

hcml::FloatTupleVector Input() {
    hcml::FloatTupleVector input(frames);
    for (std::uint32_t i = 0; i < frames; ++i)
        input.data[i] = std::sin(0.13F * static_cast<float>(i));
    return input;
}

void PerSample(benchmark::State& state, std::size_t paths = 1) {
    state.counters["time_per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * frames * static_cast<double>(paths),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Blocks take the two filters in turn; with equal ones the gains are constant.
void Run(benchmark::State& state, goal::FilterParameters even, goal::FilterParameters odd) {
    static goal::FilterGainTables tables;
    goal::buildFilterTables(tables, 48000, false);
    const hcml::FloatTupleVector input = Input();
    hcml::FloatTupleVector output(frames);
    goal::SourceFilterState path;
    bool isOdd = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(goal::filterOne(isOdd ? odd : even, path, input, output, tables, {}));
        isOdd = !isOdd;
        benchmark::ClobberMemory();
    }
    PerSample(state);
}

void FilterStage(benchmark::State& state, goal::FilterParameters filter) {
    Run(state, filter, filter);
}
BENCHMARK_CAPTURE(FilterStage, all_at_1, {.gain = 1});
BENCHMARK_CAPTURE(FilterStage, constant_gain, {.gain = 0.5F});
BENCHMARK_CAPTURE(FilterStage, high_constant, {.order = 1, .gain = 0.5F, .gainHF = 0.3F});
BENCHMARK_CAPTURE(FilterStage, high_and_low_constant,
                  {.order = 1, .gain = 0.5F, .gainHF = 0.3F, .gainLF = 0.3F});
BENCHMARK_CAPTURE(FilterStage, high_constant_second_order, {.order = 2, .gain = 0.5F, .gainHF = 0.3F});
BENCHMARK_CAPTURE(FilterStage, silent, {.gain = 0});

// What the renderer does with the paths of a batch whose gains stand still.
void SixtyFourPathsSideBySide(benchmark::State& state) {
    static goal::FilterGainTables tables;
    goal::buildFilterTables(tables, 48000, false);
    hcml::FloatTupleVector constant(frames);
    std::fill_n(constant.data, frames, 1.0F);  // passes as it is, however often it is filtered in place
    std::vector<hcml::FloatTupleVector> rows(64, constant);
    std::vector<goal::SourceFilterState> paths(rows.size());
    goal::SectionBatch waiting(frames);
    for (auto _ : state) {
        for (std::size_t p = 0; p < rows.size(); ++p)
            benchmark::DoNotOptimize(goal::FilterOneLater({.order = 1, .gain = 1, .gainHF = 0.3F}, paths[p],
                                                          rows[p], tables, {}, waiting));
        waiting.Run();
        benchmark::ClobberMemory();
    }
    PerSample(state, rows.size());
}
BENCHMARK(SixtyFourPathsSideBySide);

// The targets are so far apart that the gains never arrive.
BENCHMARK_CAPTURE(Run, gain_moving, {.gain = 1}, {.gain = 0.01F});
BENCHMARK_CAPTURE(Run, gain_moving_high_constant, {.gain = 1, .gainHF = 0.3F},
                  {.gain = 0.01F, .gainHF = 0.3F});
BENCHMARK_CAPTURE(Run, gain_and_high_moving, {.gain = 1, .gainHF = 0.9F}, {.gain = 0.01F, .gainHF = 0.01F});

void CopyOfTheBlock(benchmark::State& state) {
    const hcml::FloatTupleVector input = Input();
    const hcml::FloatTupleVector output(frames);
    for (auto _ : state) {
        std::memcpy(output.data, input.data, frames * sizeof(float));
        benchmark::ClobberMemory();
    }
    PerSample(state);
}
BENCHMARK(CopyOfTheBlock);

void PlainRecursion(benchmark::State& state) {
    const hcml::FloatTupleVector input = Input();
    const hcml::FloatTupleVector output(frames);
    float a = 0.4F;
    float b = 0.6F;
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    float y = 0;
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < frames; ++i) {
            y = a * input.data[i] + b * y;
            output.data[i] = y;
        }
        benchmark::ClobberMemory();
    }
    PerSample(state);
}
BENCHMARK(PlainRecursion);

}  // namespace
