// A game and its user: a client of the shared library, whose settings another process changes while it runs.

#define AL_ALEXT_PROTOTYPES

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <set>
#include <span>
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

// The mono mix that foldback gives, all of it. A callback is a plain function, so there is one for all.
class Foldback {
public:
    void Start() {
        running = this;
        alRequestFoldbackStart(AL_FOLDBACK_MODE_MONO, blockCount, blockFrames, ring.data(),
                               [](ALenum event, ALsizei block) { running->Note(event, block); });
        ASSERT_EQ(alGetError(), AL_NO_ERROR);
    }
    // Returns when the last event has come, after which nothing is added to the mix.
    void Stop() {
        alRequestFoldbackStop();
        for (int i = 0; i < 500 && !hasEnded; ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_TRUE(hasEnded) << "The end of foldback was never told.";
    }

    Recording mix{{}, 1};

private:
    static constexpr ALsizei blockCount = 256, blockFrames = 256;

    void Note(ALenum event, ALsizei block) {
        const float* const begin = &ring[static_cast<std::size_t>(block * blockFrames)];
        if (event == AL_FOLDBACK_EVENT_BLOCK)
            mix.samples.insert(mix.samples.end(), begin, begin + blockFrames);
        hasEnded = event == AL_FOLDBACK_EVENT_STOP;
    }

    static inline Foldback* running = nullptr;
    std::vector<float> ring = std::vector<float>(blockCount * blockFrames);
    std::atomic<bool> hasEnded{false};
};

class Live : public testing::Test {
protected:
    Live() { store.ChooseSilence(); }
    ~Live() override { alcDestroyContext(context); }

    void Open() {
        context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
        ASSERT_NE(context, nullptr) << Log();
        alcMakeContextCurrent(context);
    }
    std::string Log() const { return testing_support::ReadFile(store.LogFile()); }

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

    testing_support::TemporaryStore store;
    Foldback foldback;
    ALCcontext* context = nullptr;
};

// Sixty loops that start together and twenty streams that do, with one of the streams alone to be heard.
class Crowd {
public:
    static constexpr ALsizei pieceFrames = 2048, loopFrames = rate / 2;
    static constexpr int pieces = 40;  // of each stream's queue, 1.7 s

    // Two tones without a common period.
    static double Tone(std::int64_t frame) {
        const double t = static_cast<double>(frame);
        return 0.2 * std::sin(t * 0.0577) + 0.2 * std::sin(t * 0.1614 + 1);
    }

    Crowd() {
        alGenSources(80, sources.data());
        ALuint sound = 0;
        alGenBuffers(1, &sound);
        alBufferData(sound, AL_FORMAT_MONO8, std::vector<char>(loopFrames).data(), loopFrames, rate);
        for (const ALuint source : sources)
            alSourcef(source, AL_GAIN, source == streams[0] ? 1 : 0);
        for (const ALuint loop : loops) {
            alSourcei(loop, AL_LOOPING, AL_TRUE);
            alSourcei(loop, AL_BUFFER, static_cast<ALint>(sound));
        }
        for (std::size_t i = 0; i < streams.size(); ++i)
            for (int piece = 0; piece < pieces; ++piece)
                Queue(i, 0);
        alSourcePlayv(80, sources.data());
    }

    // What the game does in each of its frames.
    void Play() {
        for (std::size_t i = 0; i < streams.size(); ++i)
            for (ALint processed = Get(streams[i], AL_BUFFERS_PROCESSED); processed > 0; --processed) {
                ALuint buffer = 0;
                alSourceUnqueueBuffers(streams[i], 1, &buffer);
                Queue(i, buffer);
            }
    }

    // Where all loops and all streams stand, in frames; they are held up all at once.
    void Stop(std::set<std::int64_t>& loopPositions, std::set<std::int64_t>& streamPositions) const {
        alSourcePausev(80, sources.data());
        for (const ALuint source : sources)
            EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_PAUSED) << "source " << source;
        for (const ALuint loop : loops)
            loopPositions.insert(Get(loop, AL_SAMPLE_OFFSET));
        for (std::size_t i = 0; i < streams.size(); ++i)
            streamPositions.insert((queued[i] - pieces) * pieceFrames + Get(streams[i], AL_SAMPLE_OFFSET));
    }

private:
    static ALint Get(ALuint source, ALenum parameter) {
        ALint value = -1;
        alGetSourcei(source, parameter, &value);
        return value;
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

    std::array<ALuint, 80> sources{};
    const std::span<const ALuint> loops{sources.data(), 60}, streams{sources.data() + 60, 20};
    std::int64_t queued[20]{};  // pieces, of each stream
};

// Where the pieces of 64 frames of a recording of Crowd::Tone lie in it, as far as they follow the one before
// but for `reach` frames.
struct Trace {
    std::int64_t longest = 0;  // frames, of the jumps from one to the next
    std::int64_t lost = 0;     // pieces that don't fit anywhere there
};
Trace Follow(const Recording& mix) {
    constexpr std::int64_t piece = 64, reach = 40;
    const auto begin = static_cast<std::int64_t>(mix.Sounds(rate).at(0).first);
    Trace trace;
    std::int64_t drift = 0;  // frames by which the piece is ahead of where it would be without restarts
    for (std::int64_t at = begin; at + piece <= static_cast<std::int64_t>(mix.Frames()); at += piece) {
        const auto error = [&](std::int64_t ahead) {
            double sum = 0;
            for (std::int64_t i = 0; i < piece; ++i) {
                const double heard = mix.samples[static_cast<std::size_t>(at + i)];
                const double off = heard - Crowd::Tone(at + i - begin + ahead);
                sum += off * off;
            }
            return std::sqrt(sum / piece);
        };
        std::int64_t best = drift;
        for (std::int64_t ahead = drift - reach; ahead <= drift + reach && error(best) > 1e-4; ++ahead)
            if (error(ahead) < error(best)) best = ahead;
        if (error(best) > 0.01) {
            ++trace.lost;
            continue;
        }
        trace.longest = std::max(trace.longest, std::abs(best - drift));
        drift = best;
    }
    return trace;
}

// Each changes something after the one before, and the first one after the last.
constexpr const char* changes[] = {"set Order 1",
                                   "set SRC SincHigh",
                                   "set SuggestedBufferLength 1024",
                                   "set EffectsQuality Low",
                                   "select Quad",
                                   "set UseParallelDecoder True",
                                   "set Order 4",
                                   "set SRC Off",
                                   "set SuggestedBufferLength 64",
                                   "set EffectsQuality High",
                                   "select \"Headphone Stereo\"",
                                   "set UseParallelDecoder False"};

TEST_F(Live, ManyChangesOfTheSettings_LoseNoSourceAndNoFrameOfAStream) {
    Configure("set SpeakerSetting \"Surround 7.1\"");  // so that every layout finds its outputs
    for (const char* change : changes)
        Configure(change);
    Open();
    Crowd crowd;
    foldback.Start();
    std::atomic<bool> isOver{false};
    std::thread game([&] {
        for (; !isOver; std::this_thread::sleep_for(10ms))
            crowd.Play();
    });
    for (int round = 0; round < 4; ++round)
        for (const char* change : changes)
            ConfigureLive(change);
    std::this_thread::sleep_for(1s);
    isOver = true;
    game.join();

    std::set<std::int64_t> loops, streams;
    crowd.Stop(loops, streams);
    ASSERT_EQ(loops.size(), 1U) << "The loops have come apart.";
    ASSERT_EQ(streams.size(), 1U) << "The streams have come apart.";
    // At the end of a block a loop may be at its end, as well as at its start.
    EXPECT_EQ(*loops.begin() % Crowd::loopFrames, *streams.begin() % Crowd::loopFrames);
    std::this_thread::sleep_for(1s);
    foldback.Stop();
    EXPECT_EQ(Log().find("Exception"), std::string::npos) << Log();

    // A restart clears the converter's memory, which is at most 16 frames.
    Recording mix = foldback.mix;
    mix.samples.resize(mix.Sounds(rate).at(0).second - 4096);  // without the pause at the end
    const Trace trace = Follow(mix);
    EXPECT_LE(trace.longest, 16);
    EXPECT_LE(trace.lost, 8 * std::ssize(changes));  // two at each restart
    EXPECT_GT(mix.Frames(), 50U * rate);
}

}  // namespace
