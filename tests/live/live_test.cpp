// A game and its user: a client of the shared library, whose settings another process changes while it runs.

#define AL_ALEXT_PROTOTYPES

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>
#include <numbers>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "tests/support/recording.h"

namespace {

using namespace std::chrono_literals;
using testing_support::Configure;
using testing_support::Recording;
using Clock = std::chrono::steady_clock;

constexpr int rate = 48000;

// ---- What comes back ----

// The mix that foldback gives, all of it. A callback is a plain function, so there is one for all.
class Foldback {
public:
    static constexpr ALsizei blockCount = 256, blockFrames = 256;

    void Start(ALenum newMode) {
        mode = newMode;
        channels = mode == AL_FOLDBACK_MODE_MONO ? 1 : 2;
        ring.assign(std::size_t{blockCount} * blockFrames * channels, 0);
        events.clear();
        mix = {{}, channels};
        longestPause = {};
        running = this;
        alRequestFoldbackStart(mode, blockCount, blockFrames, ring.data(), Tell);
        ASSERT_EQ(alGetError(), AL_NO_ERROR);
    }
    // Returns when the last event has come.
    void Stop() {
        alRequestFoldbackStop();
        AwaitEnd();
    }
    void AwaitEnd() {
        for (int i = 0; i < 500; ++i, std::this_thread::sleep_for(10ms)) {
            const std::lock_guard lock(mutex);
            if (!events.empty() && events.back() == AL_FOLDBACK_EVENT_STOP) return;
        }
        ADD_FAILURE() << "The end of foldback was never told.";
    }

    std::mutex mutex;  // guards what follows
    Recording mix{{}, 1};
    std::vector<ALenum> events;
    Clock::duration longestPause{};  // between two blocks

private:
    static void AL_APIENTRY Tell(ALenum event, ALsizei index) { running->Note(event, index); }
    void Note(ALenum event, ALsizei index) {
        const std::lock_guard lock(mutex);
        events.push_back(event);
        if (event != AL_FOLDBACK_EVENT_BLOCK) return;
        const std::size_t block = blockFrames * channels;
        const auto begin =
            ring.begin() + static_cast<std::ptrdiff_t>(block * static_cast<std::size_t>(index));
        mix.samples.insert(mix.samples.end(), begin, begin + static_cast<std::ptrdiff_t>(block));
        const auto now = Clock::now();
        if (last != Clock::time_point()) longestPause = std::max(longestPause, now - last);
        last = now;
    }

    static Foldback* running;
    ALenum mode = 0;
    std::size_t channels = 1;
    std::vector<float> ring;
    Clock::time_point last;
};
Foldback* Foldback::running = nullptr;

class Live : public testing::Test {
protected:
    Live() { store.ChooseSilence(); }
    ~Live() override { Close(); }

    void Open() {
        context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
        ASSERT_NE(context, nullptr) << Log();
        alcMakeContextCurrent(context);
    }
    void Close() {
        alcDestroyContext(context);
        context = nullptr;
    }
    std::string Log() const { return testing_support::ReadFile(store.UserFile()); }

    // Changes the settings, and returns when the running game has taken them up.
    void ConfigureLive(const std::string& command) const {
        const std::string before = LastRestart();
        Configure(command);
        const auto end = Clock::now() + 10s;
        while (LastRestart() == before && Clock::now() < end)
            std::this_thread::sleep_for(20ms);
        EXPECT_NE(LastRestart(), before) << "No restart after: " << command;
    }

    // The line of the log that tells of the last restart; each has a time of its own.
    std::string LastRestart() const {
        const std::string log = Log(), text = "Restarting because of configuration change.";
        std::string last;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            const std::size_t line = log.rfind('=', at);
            last = std::max(last, log.substr(line, at - line));
        }
        return last;
    }

    static std::vector<ALuint> MakeSources(int count) {
        std::vector<ALuint> sources(static_cast<std::size_t>(count));
        alGenSources(count, sources.data());
        return sources;
    }
    static ALuint MakeBuffer(const std::vector<float>& samples) {
        ALuint buffer = 0;
        alGenBuffers(1, &buffer);
        alBufferData(buffer, AL_FORMAT_MONO_FLOAT32, samples.data(), static_cast<ALsizei>(samples.size() * 4),
                     rate);
        return buffer;
    }
    static ALint Get(ALuint source, ALenum parameter) {
        ALint value = -1;
        alGetSourcei(source, parameter, &value);
        return value;
    }

    testing_support::TemporaryStore store;
    Foldback foldback;
    ALCcontext* context = nullptr;
};

// Two tones that move through the plane of the listener's ears and the zenith, in which nothing is ahead.
void PlayMovingScene(ALuint first, ALuint second) {
    const ALuint both[] = {first, second};
    alSourcePlayv(2, both);
    for (int i = 0; i < 100; ++i, std::this_thread::sleep_for(10ms)) {
        const float angle = static_cast<float>(i) * 0.1F;
        alSource3f(first, AL_POSITION, std::cos(angle), std::sin(angle), 0);
        alSource3f(second, AL_POSITION, -2 * std::cos(0.4F * angle), std::sin(0.4F * angle), 0);
    }
    alSourceStopv(2, both);
    std::this_thread::sleep_for(300ms);
}

// The gain from `fold(foldback)` to `fold(recorded)`, and how far the two are from one that is the same for
// all frames. Both begin with the first sound in them.
struct Match {
    double gain, error;
};
Match Compare(const Recording& foldback, const Recording& recorded,
              const std::function<double(const Recording&, std::size_t)>& fold) {
    const auto begin = [](const Recording& recording) { return recording.Sounds(rate).at(0).first; };
    const std::size_t a = begin(foldback), b = begin(recorded);
    double product = 0, energy = 0;
    for (std::size_t i = 0; i < rate * 9 / 10; ++i) {
        product += fold(foldback, a + i) * fold(recorded, b + i);
        energy += fold(foldback, a + i) * fold(foldback, a + i);
    }
    Match match{product / energy, 0};
    for (std::size_t i = 0; i < rate * 9 / 10; ++i)
        match.error = std::max(
            match.error, std::fabs(fold(recorded, b + i) - match.gain * fold(foldback, a + i)) / match.gain);
    return match;
}

// A mono decoder is the first channel of the field at some gain. A stereo decoder's sum is that of the same
// scene where nothing is ahead or behind, and its difference is the channel to the left.
TEST_F(Live, Foldback_IsTheOutputOfAMonoAndAStereoDecoder) {
    constexpr double tolerance = 2e-6;
    Configure("set Order 1");
    Configure("set Gain 0.5");  // keeps the limiter out of it
    Open();
    const auto sources = MakeSources(2);
    for (const double step : {0.05, 0.061}) {
        std::vector<float> tone;
        for (int frame = 1; frame <= rate; ++frame)
            tone.push_back(0.3F * static_cast<float>(std::sin(step * frame)));
        const ALuint source = sources[step == 0.05 ? 0 : 1];
        alSourcei(source, AL_BUFFER, static_cast<ALint>(MakeBuffer(tone)));
        alSourcei(source, AL_LOOPING, AL_TRUE);
    }
    for (const bool isStereo : {false, true}) {
        const std::string format = isStereo ? "Stereo" : "Mono";
        const std::string file = store.folder.path / (format + ".wav");
        Configure("set WaveFile " + file);
        Configure("set Output WaveFile");
        Configure("set SpeakerSetting " + format);
        ConfigureLive("select " + format + " --method energy");
        std::this_thread::sleep_for(100ms);
        foldback.Start(isStereo ? AL_FOLDBACK_MODE_STEREO : AL_FOLDBACK_MODE_MONO);
        PlayMovingScene(sources[0], sources[1]);
        foldback.Stop();
        const Recording recorded = testing_support::ReadWaveFile(file, isStereo ? 2 : 1);
        if (isStereo) {
            const auto sum = [](const Recording& r, std::size_t i) {
                return double{r.At(i, 0)} + r.At(i, 1);
            };
            const auto difference = [](const Recording& r, std::size_t i) {
                return double{r.At(i, 0)} - r.At(i, 1);
            };
            EXPECT_LT(Compare(foldback.mix, recorded, sum).error, tolerance);
            EXPECT_LT(Compare(foldback.mix, recorded, difference).error, tolerance);
            EXPECT_GT(Compare(foldback.mix, recorded, difference).gain, 0);  // left is left
        } else {
            const Match match = Compare(foldback.mix, recorded,
                                        [](const Recording& r, std::size_t i) { return double{r.At(i, 0)}; });
            EXPECT_LT(match.error, tolerance);
            EXPECT_GT(match.gain, 0);
        }
    }
}

TEST_F(Live, Foldback_StartedAndStoppedInAStormAndEndedWithTheContext_TellsItsEventsInOrder) {
    Configure("set SuggestedBufferLength 256");
    Open();
    for (int i = 0; i < 100; ++i) {
        foldback.Start(i % 2 == 0 ? AL_FOLDBACK_MODE_MONO : AL_FOLDBACK_MODE_STEREO);
        std::this_thread::sleep_for(std::chrono::milliseconds(i % 13));
        alRequestFoldbackStart(AL_FOLDBACK_MODE_MONO, 2, 100000, reinterpret_cast<float*>(1),
                               [](ALenum, ALsizei) {});
        EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
        if (i % 10 == 9) {
            for (bool hasBegun = false; !hasBegun; std::this_thread::sleep_for(1ms)) {
                const std::lock_guard lock(foldback.mutex);
                hasBegun = !foldback.events.empty();
            }
            Close();
            foldback.AwaitEnd();
            Open();
        } else {
            // Where no block came between the two calls there is nothing to tell.
            alRequestFoldbackStop();
            std::this_thread::sleep_for(50ms);
        }
        const std::lock_guard lock(foldback.mutex);
        const auto& events = foldback.events;
        if (events.empty()) continue;
        EXPECT_EQ(events.front(), AL_FOLDBACK_EVENT_START);
        EXPECT_EQ(events.back(), AL_FOLDBACK_EVENT_STOP);
        EXPECT_EQ(std::count(events.begin(), events.end(), AL_FOLDBACK_EVENT_BLOCK), std::ssize(events) - 2);
    }
}

// ---- Restarts ----

// A hundred sources: loops that start together, streams that do, with one of them alone to be heard, and
// shots that come and go. The loops feed effects whose slots are silent.
class Crowd {
public:
    static constexpr ALsizei pieceFrames = 2048;
    static constexpr int pieces = 40;  // of each stream's queue, 1.7 s

    // Two tones without a common period.
    static double Tone(std::int64_t frame) {
        const double t = static_cast<double>(frame);
        return 0.2 * std::sin(t * 0.0577) + 0.2 * std::sin(t * 0.1614 + 1);
    }

    Crowd(const std::vector<ALuint>& sources, ALuint loopBuffer, ALuint shotBuffer)
        : loops(sources.begin(), sources.begin() + 60),
          streams(sources.begin() + 60, sources.begin() + 80),
          shots(sources.begin() + 80, sources.end()) {
        MakeEffects();
        for (std::size_t i = 0; i < loops.size(); ++i) {
            alSourcei(loops[i], AL_BUFFER, static_cast<ALint>(loopBuffer));
            alSourcei(loops[i], AL_LOOPING, AL_TRUE);
            alSourcei(loops[i], AL_DIRECT_FILTER, static_cast<ALint>(closed));
            alSource3i(loops[i], AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slots[i % 2]), 0,
                       AL_FILTER_NULL);
        }
        for (const ALuint shot : shots) {
            alSourcei(shot, AL_BUFFER, static_cast<ALint>(shotBuffer));
            alSourcef(shot, AL_GAIN, 0);
        }
        for (std::size_t i = 0; i < streams.size(); ++i) {
            alSourcef(streams[i], AL_GAIN, i == 0 ? 1 : 0);
            queued.push_back(0);
            for (int piece = 0; piece < pieces; ++piece)
                Queue(i, 0);
        }
        std::vector<ALuint> all = loops;
        all.insert(all.end(), streams.begin(), streams.end());
        alSourcePlayv(static_cast<ALsizei>(all.size()), all.data());
    }

    // What the game does in each of its frames.
    void Play() {
        for (std::size_t i = 0; i < streams.size(); ++i) {
            ALint processed = 0;
            alGetSourcei(streams[i], AL_BUFFERS_PROCESSED, &processed);
            for (; processed > 0; --processed) {
                ALuint buffer = 0;
                alSourceUnqueueBuffers(streams[i], 1, &buffer);
                Queue(i, buffer);
            }
        }
        const ALuint shot = shots[static_cast<std::size_t>(turn) % shots.size()];
        turn % 3 == 2 ? alSourceStop(shot) : alSourcePlay(shot);
        ++turn;
    }

    // Where each looping source and each stream stands, in frames; they are held up all at once.
    std::set<std::int64_t> Positions(bool isOfLoops) {
        std::vector<ALuint> all = loops;
        all.insert(all.end(), streams.begin(), streams.end());
        alSourcePausev(static_cast<ALsizei>(all.size()), all.data());
        std::set<std::int64_t> positions;
        for (std::size_t i = 0; i < (isOfLoops ? loops : streams).size(); ++i) {
            ALint offset = -1, state = 0;
            const ALuint source = isOfLoops ? loops[i] : streams[i];
            alGetSourcei(source, AL_SOURCE_STATE, &state);
            EXPECT_EQ(state, AL_PAUSED) << "source " << source;
            alGetSourcei(source, AL_SAMPLE_OFFSET, &offset);
            const std::int64_t gone = isOfLoops ? 0 : (queued[i] - pieces) * pieceFrames;
            positions.insert(gone + offset);
        }
        return positions;
    }

    const std::vector<ALuint> loops, streams, shots;

private:
    void MakeEffects() {
        alGenEffects(2, effects);
        alGenAuxiliaryEffectSlots(2, slots);
        alGenFilters(1, &closed);
        alFilteri(closed, AL_FILTER_TYPE, AL_FILTER_LOWPASS);
        alFilterf(closed, AL_LOWPASS_GAIN, 0);
        alEffecti(effects[0], AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
        alEffecti(effects[1], AL_EFFECT_TYPE, AL_EFFECT_CHORUS);
        for (int i = 0; i < 2; ++i) {
            alAuxiliaryEffectSloti(slots[i], AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effects[i]));
            alAuxiliaryEffectSlotf(slots[i], AL_EFFECTSLOT_GAIN, 0);
        }
    }

    // The stream's next piece, in `buffer` or a new one.
    void Queue(std::size_t stream, ALuint buffer) {
        if (buffer == 0) alGenBuffers(1, &buffer);
        const std::int64_t begin = queued[stream]++ * pieceFrames;
        std::vector<float> piece;
        for (std::int64_t i = 0; i < pieceFrames; ++i)
            piece.push_back(static_cast<float>(Tone(begin + i)));
        alBufferData(buffer, AL_FORMAT_MONO_FLOAT32, piece.data(), pieceFrames * 4, rate);
        alSourceQueueBuffers(streams[stream], 1, &buffer);
    }

    ALuint effects[2]{}, slots[2]{}, closed = 0;
    std::vector<std::int64_t> queued;  // pieces, of each stream
    int turn = 0;
};

// Where the pieces of 64 frames of a recording of Crowd::Tone lie in it, as far as they follow the one before
// but for `reach` frames.
struct Trace {
    std::int64_t drift = 0;    // frames by which the last one stands ahead of where it would without restarts
    std::int64_t longest = 0;  // frames, of the jumps that it is the sum of
    int lost = 0;              // pieces that don't fit anywhere there
};
Trace Follow(const Recording& mix) {
    constexpr std::int64_t piece = 64, reach = 40;
    const auto begin = static_cast<std::int64_t>(mix.Sounds(rate).at(0).first);
    Trace trace;
    for (std::int64_t at = begin; at + piece <= static_cast<std::int64_t>(mix.Frames()); at += piece) {
        const auto error = [&](std::int64_t drift) {
            double sum = 0;
            for (std::int64_t i = 0; i < piece; ++i) {
                const double heard = mix.samples[static_cast<std::size_t>(at + i)];
                const double off = heard - Crowd::Tone(at + i - begin + drift);
                sum += off * off;
            }
            return std::sqrt(sum / piece);
        };
        std::int64_t best = trace.drift;
        for (std::int64_t drift = trace.drift - reach; drift <= trace.drift + reach; ++drift)
            if (error(drift) < error(best) - 1e-4) best = drift;
        if (error(best) > 0.01) {
            ++trace.lost;
            continue;
        }
        trace.longest = std::max(trace.longest, std::abs(best - trace.drift));
        trace.drift = best;
    }
    return trace;
}

// One change after the other, over all that a user may set; none leaves things as they are.
std::string Change(int number) {
    const auto pick = [&](std::vector<std::string> values) {
        return values[static_cast<std::size_t>(number / 10) % values.size()];
    };
    switch (number % 10) {
        case 0:
            return "set Order " + pick({"1", "4", "2", "3"});
        case 1:
            return "set SRC " + pick({"Linear", "SincHigh", "Off", "SincLow", "SincMedium"});
        case 2:
            return "set SuggestedBufferLength " + pick({"1024", "128", "512", "64", "256"});
        case 3:
            return "set EffectsQuality " + pick({"Low", "High", "Medium"});
        case 4:
            return "select " +
                   pick({"Quad", "\"Headphone Stereo\"", "Octagon", "\"Surround 7.1\"", "Stereo"});
        case 5:
            return "set UseParallelDecoder " + pick({"True", "False"});
        case 6:
            return "set SuggestedBufferCount " + pick({"8", "2"});
        case 7:
            return "set IsLoggingVerbose " + pick({"True", "False"});
        case 8:
            return "set DefaultFilterOrder " + pick({"2", "1"});
        default:
            return "set OnlyOneReverb " + pick({"True", "False"});
    }
}

TEST_F(Live, FiftyChangesOfTheSettings_LoseNoSourceAndNoFrameOfAStream) {
    constexpr int changes = 50;
    Configure("set SpeakerSetting \"Surround 7.1\"");  // so that every layout finds its outputs
    Open();
    std::vector<float> loop;
    for (int frame = 0; frame < rate; ++frame)
        loop.push_back(static_cast<float>(std::sin(0.02 * frame)));
    Crowd crowd(MakeSources(100), MakeBuffer(loop), MakeBuffer(std::vector<float>(rate / 10, 0.5F)));
    foldback.Start(AL_FOLDBACK_MODE_MONO);
    std::atomic<bool> isOver{false};
    std::thread game([&] {
        for (; !isOver; std::this_thread::sleep_for(10ms))
            crowd.Play();
    });

    for (int change = 0; change < changes; ++change)
        ConfigureLive(Change(change));
    std::this_thread::sleep_for(1s);
    isOver = true;
    game.join();

    const auto loops = crowd.Positions(true), streams = crowd.Positions(false);
    ASSERT_EQ(loops.size(), 1U) << "The loops have come apart.";
    ASSERT_EQ(streams.size(), 1U) << "The streams have come apart.";
    EXPECT_EQ(*loops.begin(), *streams.begin() % rate);
    for (const ALuint shot : crowd.shots)
        alSourcePlay(shot);
    std::this_thread::sleep_for(1s);
    for (const ALuint shot : crowd.shots)
        EXPECT_EQ(Get(shot, AL_SOURCE_STATE), AL_STOPPED);
    foldback.Stop();
    EXPECT_EQ(Log().find("Exception"), std::string::npos) << Log();

    // A restart clears the converter's memory, which is at most 16 frames.
    Recording mix = foldback.mix;
    mix.samples.resize(mix.Sounds(rate).at(0).second - 4096);  // without the pause at the end
    const Trace trace = Follow(mix);
    EXPECT_LE(trace.longest, 16);
    EXPECT_LE(trace.lost, 2 * changes);
    EXPECT_GT(mix.Frames(), 50U * rate);
    std::cout << "Longest pause between two blocks: "
              << std::chrono::duration<double, std::milli>(foldback.longestPause).count()
              << " ms; jumps of up to " << trace.longest << " frames, " << trace.drift << " in all; "
              << trace.lost << " pieces cut\n";
}

}  // namespace
