// An output that a test takes away and gives back.

#include "platform/returningbuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "tests/support/recordinglog.h"

namespace {

using namespace platform;
using namespace std::chrono_literals;

constexpr RingShape shape{.rate = 48000, .channels = 2, .channelMask = 3, .frames = 9600};
constexpr std::uint32_t chunk = 480;

// What a server is to the buffer. It takes a chunk every 10 ms while it runs.
class Server {
public:
    class Stream : public OutputStream {
    public:
        Stream(Server& server, StreamOutlet& outlet) : server(server), outlet(outlet) {}
        ~Stream() override { Stream::Stop(); }
        Result Start() override {
            isRunning = true;
            thread = std::thread([this] {
                for (std::vector<float> frames(chunk * 2); isRunning; std::this_thread::sleep_for(10ms)) {
                    if (server.isHanging) continue;
                    if (server.isGone) {
                        outlet.NoteLoss();
                        break;
                    }
                    outlet.Fill(frames.data(), chunk);
                    server.heard.insert(server.heard.end(), frames.begin(), frames.end());
                }
            });
            return DS_OK;
        }
        Result Stop() override {
            isRunning = false;
            if (thread.joinable()) thread.join();
            return DS_OK;
        }

    private:
        Server& server;
        StreamOutlet& outlet;
        std::atomic<bool> isRunning{false};
        std::thread thread;
    };

    std::unique_ptr<OutputStream> Open(StreamOutlet& outlet) {
        ++questions;
        if (isGone) return nullptr;
        return std::make_unique<Stream>(*this, outlet);
    }

    std::atomic<bool> isGone{false}, isHanging{false};
    std::atomic<int> questions{0};
    std::vector<float> heard;  // of one stream at a time
};

class Returning : public testing::Test {
protected:
    void OpenFirst() {
        ASSERT_EQ(ring->Open([this](StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) {
            stream = server.Open(outlet);
            return DS_OK;
        }),
                  DS_OK);
    }

    // Keeps half a ring of 1, 2, 3, ... ahead of the play cursor, for that long.
    void Play(std::chrono::milliseconds time) {
        if (played < 0) {
            ASSERT_EQ(buffer->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
            played = 0;
        }
        const auto end = std::chrono::steady_clock::now() + time;
        for (; std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(2ms)) {
            std::uint32_t cursor = 0;
            ASSERT_EQ(buffer->GetCurrentPosition(&cursor, nullptr), DS_OK);
            played += (cursor / 8 + shape.frames - played % shape.frames) % shape.frames;
            for (; written < played + shape.frames / 2; written += 240)
                Write();
        }
    }

    void Write() {
        void *first = nullptr, *second = nullptr;
        std::uint32_t bytes = 0, rest = 0;
        const auto offset = static_cast<std::uint32_t>(written % shape.frames * 8);
        ASSERT_EQ(buffer->Lock(offset, 240 * 8, &first, &bytes, &second, &rest, 0), DS_OK);
        for (int i = 0; i < 480; ++i)
            static_cast<std::int32_t*>(first)[i] = static_cast<std::int32_t>(written + i / 2 + 1) << 4;
        ASSERT_EQ(buffer->Unlock(first, bytes, second, rest), DS_OK);
    }

    // What was heard, as numbers of frames; 0 is silence.
    std::vector<std::int64_t> HeardFrames() {
        EXPECT_EQ(buffer->Stop(), DS_OK);
        std::vector<std::int64_t> frames;
        for (std::size_t i = 0; i < server.heard.size(); i += 2)
            frames.push_back(std::llround(double{server.heard[i]} * 2147483648.0 / 16));
        return frames;
    }

    Server server;
    testing_support::RecordingLog log;
    ReturningBuffer* const ring = new ReturningBuffer(
        shape, chunk, [this](StreamOutlet& outlet) { return server.Open(outlet); }, &log);
    SoundBufferPtr buffer{ring};
    std::int64_t played = -1, written = 0;
};

// Each number follows the one before it, but for the silence in front and `jumps` places.
void ExpectRamp(const std::vector<std::int64_t>& heard, int jumps) {
    const auto begin =
        std::find_if(heard.begin(), heard.end(), [](std::int64_t frame) { return frame != 0; });
    ASSERT_NE(begin, heard.end());
    int found = 0;
    for (auto i = begin + 1; i != heard.end(); ++i)
        if (*i != *(i - 1) + 1) {
            ++found;
            EXPECT_GT(*i, *(i - 1)) << "at " << i - begin;
        }
    EXPECT_EQ(found, jumps);
}

TEST_F(Returning, WithAnOutputThatStays_IsHeardWholeAndWithoutAWord) {
    OpenFirst();
    Play(300ms);
    const auto heard = HeardFrames();
    EXPECT_EQ(*std::find_if(heard.begin(), heard.end(), [](auto frame) { return frame != 0; }), 1);
    ExpectRamp(heard, 0);
    EXPECT_EQ(log.Lines(), "");
    EXPECT_EQ(server.questions, 1);
}

// The cursor goes on by the clock meanwhile, and afterwards the sound goes on where it would have been.
TEST_F(Returning, OutputThatGoesAway_IsAskedForUntilItIsBack) {
    OpenFirst();
    Play(200ms);
    server.isGone = true;
    Play(100ms);  // until the loss is noted
    const std::int64_t before = played;
    const std::int64_t start = NowNanoseconds();
    Play(700ms);
    EXPECT_NEAR(static_cast<double>(played - before), static_cast<double>(NowNanoseconds() - start) * 48e-6,
                48 * 30);
    EXPECT_GE(server.questions, 3);
    server.isGone = false;
    Play(1500ms);
    EXPECT_EQ(log.Lines(),
              "E:The sound output went away: the sound isn't heard until it is back."
              "I:The sound output is back.");
    std::vector<std::int64_t> heard = HeardFrames();
    const auto last = heard.back();
    EXPECT_NEAR(static_cast<double>(last), static_cast<double>(played), 48 * 60);
    std::erase(heard, 0);  // of the new stream, until it is connected
    ExpectRamp(heard, 1);
}

TEST_F(Returning, WithoutAnOutputAtFirst_IsHeardAsSoonAsThereIsOne) {
    server.isGone = true;
    Play(200ms);
    EXPECT_GE(server.questions, 1);
    server.isGone = false;
    Play(1200ms);
    auto heard = HeardFrames();
    std::erase(heard, 0);
    ExpectRamp(heard, 0);
    EXPECT_EQ(log.Lines(), "I:The sound output is back.");
}

TEST_F(Returning, OutputThatTakesNothingForTwoSeconds_IsGivenUp) {
    OpenFirst();
    Play(100ms);
    server.isHanging = true;
    Play(1800ms);
    EXPECT_EQ(log.Lines(), "");
    Play(700ms);
    EXPECT_TRUE(log.Lines().starts_with("E:The sound output went away")) << log.Lines();
    server.isHanging = false;
    Play(1000ms);
    auto heard = HeardFrames();
    std::erase(heard, 0);
    ExpectRamp(heard, 1);
}

TEST_F(Returning, StopAndPlay_GoOnWhetherTheOutputIsThereOrNot) {
    OpenFirst();
    for (const bool isGone : {false, true, false}) {
        server.isGone = isGone;
        Play(100ms);
        EXPECT_EQ(buffer->Stop(), DS_OK);
        EXPECT_EQ(buffer->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    }
    const std::int64_t before = played;
    Play(400ms);  // the cursor may stand for 250 ms, until it is written far enough ahead
    EXPECT_GT(played, before);
}

// A server that doesn't answer at all must not hold up the game's end.
TEST_F(Returning, Release_WhileAnAttemptHangs_TakesTwoSecondsAtMost) {
    slib::Semaphore reached, goOn, gone;
    SoundBufferPtr hanging(new ReturningBuffer(
        shape, chunk,
        [&](StreamOutlet&) -> std::unique_ptr<OutputStream> {
            reached.Post();
            goOn.Wait();
            gone.Post();
            return nullptr;
        },
        &log));
    ASSERT_EQ(hanging->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    reached.Wait();
    const auto start = std::chrono::steady_clock::now();
    hanging.reset();
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GT(passed, 1s);
    EXPECT_LT(passed, 4s);
    goOn.Post();
    gone.Wait();
    std::this_thread::sleep_for(100ms);  // what was given up ends
}

}  // namespace
