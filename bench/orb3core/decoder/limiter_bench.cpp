// The limiter over one block of 512 frames, as time per block. Each round first brings the block back from a
// copy, which is measured alone too: it is the machine's limit for a pass over these samples.

#include "orb3core/decoder/limiter.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

constexpr std::uint32_t frames = 512;

std::vector<float> Block(std::uint32_t channels, float level) {
    std::vector<float> block(frames * channels);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = level * std::sin(0.13F * static_cast<float>(i));
    return block;
}

// Each block is met with the same gain.
void Run(benchmark::State& state, float gain, float level) {
    const auto channels = static_cast<std::uint32_t>(state.range(0));
    const std::vector<float> source = Block(channels, level);
    std::vector<float> block = source;
    orb3::Limiter limiter(48000);
    for (auto _ : state) {
        block = source;
        limiter.gain = gain;
        benchmark::DoNotOptimize(limiter.limit(block.data(), frames, channels));
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(Run, limit_at_gain_1, 1, 0.5F)->Name("Limiter/at_gain_1")->Arg(2)->Arg(8);
BENCHMARK_CAPTURE(Run, limit_falling, 1, 1000)->Name("Limiter/falling")->Arg(2)->Arg(8);
BENCHMARK_CAPTURE(Run, limit_rising, 0.01F, 0.5F)->Name("Limiter/rising")->Arg(2)->Arg(8);

void CopyOfTheBlock(benchmark::State& state) {
    const std::vector<float> source = Block(static_cast<std::uint32_t>(state.range(0)), 1);
    std::vector<float> block = source;
    for (auto _ : state) {
        block = source;
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CopyOfTheBlock)->Arg(2)->Arg(8);

}  // namespace
