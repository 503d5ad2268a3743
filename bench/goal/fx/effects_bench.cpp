// The effects by themselves: one block of 512 frames at 48 kHz, into a bus of order 4. `core_share` is the
// part of one core that one slot takes in real time.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/support/effectrun.h"

namespace {

void Measure(benchmark::State& state, std::int32_t type, const EffectQuality& quality, bool isRefined) {
    EffectRun run(type, quality, isRefined);
    for (auto _ : state)
        run.Process();
    state.counters["core_share"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * EffectRun::frames / EffectRun::sampleRate,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

const bool isRegistered = [] {
    for (const BenchedEffect& effect : BenchedEffects())
        for (const EffectQuality& quality : EffectQualities())
            for (const bool isRefined : {true, false}) {
                if (!effect.hasQualities && &quality != &EffectQualities().back()) continue;
                const std::string name = std::string("Effect/") + effect.name +
                                         (effect.hasQualities ? std::string("/") + quality.name : "") +
                                         (isRefined ? "" : "/classic");
                benchmark::RegisterBenchmark(name.c_str(), Measure, effect.type, quality, isRefined)
                    ->Unit(benchmark::kMicrosecond);
            }
    return true;
}();

}  // namespace
