// What a call of a game costs while the server renders, in units of our own mutex: a call locks two of them.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "AL/tessarune.h"
#include "slib/mutex.h"
#include "tests/support/temporaryfolder.h"

namespace {

// A context with 255 sources that play in a loop, in a store of its own that plays into silence.
class Game {
public:
    Game() {
        store.ChooseSilence();
        context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
        alcMakeContextCurrent(context);
        const std::vector<ALshort> samples(48000);
        alGenBuffers(1, &buffer);
        alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 96000, 48000);
        sources.resize(255);
        alGenSources(255, sources.data());
        for (const ALuint source : sources) {
            alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
            alSourcei(source, AL_LOOPING, AL_TRUE);
            alSourcePlay(source);
        }
    }
    ~Game() {
        alcDestroyContext(context);
        alDeleteBuffers(1, &buffer);
    }
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    testing_support::TemporaryStore store;
    ALCcontext* context;
    ALuint buffer = 0;
    std::vector<ALuint> sources;
};

// The unit, measured in the same run: two locks and unlocks that nobody contends.
void TwoLocksAndUnlocks(benchmark::State& state) {
    slib::Mutex first;
    slib::Mutex second;
    for (auto _ : state) {
        const slib::Lock firstLock(first);
        const slib::Lock secondLock(second);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(TwoLocksAndUnlocks);

void Source3fWhileTheServerRuns(benchmark::State& state) {
    const Game game;
    std::size_t i = 0;
    for (auto _ : state) {
        alSource3f(game.sources[i], AL_POSITION, 1, 2, static_cast<float>(i));
        if (++i == game.sources.size()) i = 0;
    }
}
BENCHMARK(Source3fWhileTheServerRuns);

void GetSourceStateWhileTheServerRuns(benchmark::State& state) {
    const Game game;
    std::size_t i = 0;
    for (auto _ : state) {
        ALint value = 0;
        alGetSourcei(game.sources[i], AL_SOURCE_STATE, &value);
        benchmark::DoNotOptimize(value);
        if (++i == game.sources.size()) i = 0;
    }
}
BENCHMARK(GetSourceStateWhileTheServerRuns);

// How long single calls take while 255 sources play: a game's thread waits for the copy at most.
void DistributionOfCallTimes(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const Game game;
    std::vector<double> times;
    times.reserve(20'000'000);
    std::size_t i = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        alSource3f(game.sources[i], AL_POSITION, 1, 2, static_cast<float>(i));
        const Clock::time_point end = Clock::now();
        if (times.size() < times.capacity())
            times.push_back(std::chrono::duration<double, std::nano>(end - start).count());
        if (++i == game.sources.size()) i = 0;
    }
    std::sort(times.begin(), times.end());
    const auto quantile = [&](double q) {
        return times[static_cast<std::size_t>(q * static_cast<double>(times.size() - 1))];
    };
    state.counters["median_ns"] = quantile(0.5);
    state.counters["p99.9_ns"] = quantile(0.999);
    state.counters["max_ns"] = times.back();
}
BENCHMARK(DistributionOfCallTimes)->MinTime(3);

}  // namespace
