// The steps between the game's state and the renderer's, which a game's call may have to wait for. Beside
// them the machine's limit for the work: copying what has to be copied from one place in memory to another.

#include "goal/state/enginestate.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

// `count` sources, copied once, of which every `every`th plays.
struct States {
    States(std::int64_t count, std::int64_t every) {
        for (std::int64_t i = 0; i < count; ++i) {
            goal::Source source;
            if (i % every == 0) source.state = goal::SourceState::Playing;
            application.sources.append(source);
            application.touched.Insert(static_cast<std::uint32_t>(i));  // as its creation marks it
        }
        goal::CopyToSnapshot(snapshot, application, retired);
    }

    goal::ApplicationState application;
    goal::RenderSnapshot snapshot;
    slib::RetireList retired;
};

void PerSource(benchmark::State& state) {
    state.counters["time_per_source"] =
        benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Of range(0) sources range(1) changed one of their parameters since the last copy.
void CopyToSnapshot(benchmark::State& state) {
    States states(state.range(0), state.range(0));
    const std::int64_t changed = state.range(1);
    const std::int64_t step = changed > 0 ? state.range(0) / changed : 1;
    for (auto _ : state) {
        for (std::int64_t i = 0; i < changed; ++i) {
            const auto index = static_cast<std::uint32_t>(i * step);
            states.application.sources[index].parametersDirty = true;
            states.application.touched.Insert(index);
        }
        goal::CopyToSnapshot(states.snapshot, states.application, states.retired);
    }
    PerSource(state);
}
BENCHMARK(CopyToSnapshot)
    ->Args({10000, 0})
    ->Args({10000, 10})
    ->Args({10000, 100})
    ->Args({10000, 1000})
    ->Args({10000, 10000})
    ->Args({255, 255});

// The same number of records of the same size, by memcpy.
void CopyOfTheRecords(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0)) * sizeof(goal::Source);
    std::vector<char> from(bytes, 1);
    std::vector<char> to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    }
    PerSource(state);
}
BENCHMARK(CopyOfTheRecords)->Arg(10000)->Arg(255);

void MergeProgress(benchmark::State& state) {
    States states(state.range(0), state.range(1));
    for (auto _ : state)
        goal::MergeProgress(states.snapshot, states.application, states.retired);
    PerSource(state);
}
BENCHMARK(MergeProgress)->Args({10000, 10000})->Args({10000, 40})->Args({255, 1});

}  // namespace
