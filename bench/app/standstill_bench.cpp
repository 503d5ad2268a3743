// How long the sound stands still at worst while a game asks for much at once: the longest time between two
// moves of a source that plays, as another thread of the game sees it. The time of a block is the least that
// it can be, and what the first row shows.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "tests/support/temporaryfolder.h"

namespace {

using Clock = std::chrono::steady_clock;

// A game with a source that plays in a loop, in a store of its own that plays into silence.
class PlayingGame {
public:
    PlayingGame() {
        store.ChooseSilence();
        context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
        alcMakeContextCurrent(context);
        const std::vector<ALshort> samples(480000);
        alGenBuffers(1, &buffer);
        alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 960000, 48000);
        alGenSources(1, &source);
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
        alSourcei(source, AL_LOOPING, AL_TRUE);
        alSourcePlay(source);
    }
    ~PlayingGame() { alcDestroyContext(context); }
    PlayingGame(const PlayingGame&) = delete;
    PlayingGame& operator=(const PlayingGame&) = delete;

    // Seconds.
    double LongestStandstill(const std::function<void()>& work) const {
        std::atomic<bool> isOver{false};
        double longest = 0;
        std::thread watch([&] {
            ALint last = -1, now = 0;
            for (auto moved = Clock::now(); !isOver;) {
                alGetSourcei(source, AL_SAMPLE_OFFSET, &now);
                if (std::exchange(last, now) != now) {
                    const auto time = Clock::now();
                    longest = std::max(longest, std::chrono::duration<double>(time - moved).count());
                    moved = time;
                }
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        work();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        isOver = true;
        watch.join();
        return longest;
    }

    testing_support::TemporaryStore store;
    ALCcontext* context;
    ALuint buffer = 0, source = 0;
};

void Measure(
    benchmark::State& state, const PlayingGame& game, const std::function<void()>& work,
    const std::function<void()>& clean = [] {}) {
    for (auto _ : state) {
        state.SetIterationTime(game.LongestStandstill(work));
        clean();
    }
}

void Nothing(benchmark::State& state) {
    const PlayingGame game;
    Measure(state, game, [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); });
}

void GenSources(benchmark::State& state) {
    for (auto _ : state) {
        const PlayingGame game;  // a fresh one each time, for names that were taken before cost less
        std::vector<ALuint> names(static_cast<std::size_t>(state.range(0)));
        state.SetIterationTime(
            game.LongestStandstill([&] { alGenSources(static_cast<ALsizei>(names.size()), names.data()); }));
    }
}

// Another effect in each slot, at once.
void EffectChanges(benchmark::State& state) {
    const PlayingGame game;
    std::vector<ALuint> slots(static_cast<std::size_t>(state.range(0)));
    alGenAuxiliaryEffectSlots(static_cast<ALsizei>(slots.size()), slots.data());
    std::array<ALuint, 2> effects{};
    alGenEffects(2, effects.data());
    alEffecti(effects[0], AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
    alEffecti(effects[1], AL_EFFECT_TYPE, AL_EFFECT_CHORUS);
    std::size_t turn = 0;
    Measure(state, game, [&] {
        turn ^= 1;
        for (const ALuint slot : slots)
            alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effects[turn]));
    });
}

void IdleBuffers(benchmark::State& state) {
    const PlayingGame game;
    std::vector<ALuint> buffers(static_cast<std::size_t>(state.range(0)));
    alGenBuffers(static_cast<ALsizei>(buffers.size()), buffers.data());
    for (const ALuint buffer : buffers)
        alBufferData(buffer, AL_FORMAT_MONO8, "\x80\x80", 2, 48000);
    Measure(state, game, [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); });
    alDeleteBuffers(static_cast<ALsizei>(buffers.size()), buffers.data());
}

// A queue of that length, one buffer after the other, while it plays.
void LongQueue(benchmark::State& state) {
    const PlayingGame game;
    ALuint stream = 0, buffer = 0;
    alGenSources(1, &stream);
    alGenBuffers(1, &buffer);
    alBufferData(buffer, AL_FORMAT_MONO8, "\x80\x80\x80\x80", 4, 48000);
    Measure(
        state, game,
        [&] {
            for (std::int64_t i = 0; i < state.range(0); ++i) {
                alSourceQueueBuffers(stream, 1, &buffer);
                if (i == 0) alSourcePlay(stream);
            }
        },
        [&] {
            alSourceStop(stream);
            ALuint name = 0;
            ALint queued = 0;
            alGetSourcei(stream, AL_BUFFERS_QUEUED, &queued);
            for (; queued > 0; --queued)
                alSourceUnqueueBuffers(stream, 1, &name);
        });
}

BENCHMARK(Nothing)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(GenSources)
    ->Arg(255)
    ->Arg(1024)
    ->Arg(4096)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(EffectChanges)->Arg(8)->Arg(16)->Iterations(6)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(IdleBuffers)->Arg(100000)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LongQueue)->Arg(100000)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
