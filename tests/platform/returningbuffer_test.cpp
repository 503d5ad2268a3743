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
#include "tests/platform/ramp.h"
#include "tests/support/recordinglog.h"

namespace {

using namespace platform;
using namespace std::chrono_literals;
using testing_support::Ramp;

constexpr RingShape shape{.rate = Ramp::rate, .channels = 2, .channelMask = 3, .frames = Ramp::ringFrames};
constexpr std::uint32_t chunk = 480;

// What a server is to the buffer. It takes a chunk every 10 ms while it runs.
class Server {
public:
    class Stream : public OutputStream {
    public:
        Stream(Server& server, StreamOutlet& outlet) : server(server), outlet(outlet) {}
        ~Stream() override { Stream::Stop(); }
        Result Start() override {
            if (server.isRefusing) return DSERR_GENERIC;
            isRunning = true;
            thread = std::thread([this] {
                for (std::vector<float> frames(std::size_t{chunk} * 32); isRunning;
                     std::this_thread::sleep_for(10ms)) {
                    if (server.isHanging) continue;
                    if (server.isGone) {
                        outlet.NoteLoss();
                        break;
                    }
                    outlet.Fill(frames.data(), chunk, 0);
                    if (server.isShort) outlet.Fill(frames.data(), server.capacity / 8 * 7, 0);
                    server.heard.insert(server.heard.end(), frames.begin(), frames.begin() + chunk * 2);
                }
            });
            return DS_OK;
        }
        Result Stop() override {
            isRunning = false;
            if (thread.joinable()) thread.join();
            return DS_OK;
        }
        bool Resize(std::uint32_t capacity) override {
            if (!server.canResize) return false;
            server.capacity = capacity;
            outlet.SetCapacity(capacity);
            return true;
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

    std::atomic<bool> isGone{false}, isHanging{false}, isRefusing{false}, isShort{false}, canResize{false};
    std::atomic<std::uint32_t> capacity{4 * chunk};
    std::atomic<int> questions{0};
    std::vector<float> heard;  // of one stream at a time
};

class Returning : public testing::Test {
protected:
    Returning() {
        const Result opened = ring->Open([this](StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) {
            stream = server.Open(outlet);
            return DS_OK;
        });
        EXPECT_EQ(opened, DS_OK);
    }

    void Play(std::chrono::milliseconds time) { ramp.Play(time); }

    // What was heard, as numbers of frames; without silence, which there is until a stream is connected.
    std::vector<std::int64_t> HeardFrames() {
        EXPECT_EQ(buffer->Stop(), DS_OK);
        std::vector<std::int64_t> frames;
        for (std::size_t i = 0; i < server.heard.size(); i += 2)
            if (server.heard[i] != 0)
                frames.push_back(std::llround(double{server.heard[i]} * 2147483648.0 / Ramp::step));
        return frames;
    }

    Server server;
    const std::shared_ptr<OutputNews> news = std::make_shared<OutputNews>();
    testing_support::RecordingLog log;
    ReturningBuffer* const ring = new ReturningBuffer(
        shape, 4 * chunk,
        [this](StreamOutlet& outlet, std::uint32_t capacity) {
            server.capacity = capacity;
            return server.Open(outlet);
        },
        news, &log);
    SoundBufferPtr buffer{ring};
    Ramp ramp{*buffer};
};

// Each number follows the one before it, but for `jumps` places, where it is a greater one.
void ExpectRamp(const std::vector<std::int64_t>& heard, int jumps) {
    ASSERT_FALSE(heard.empty());
    int found = 0;
    for (std::size_t i = 1; i < heard.size(); ++i) {
        ASSERT_GT(heard[i], heard[i - 1]) << "at " << i;
        found += heard[i] != heard[i - 1] + 1;
    }
    EXPECT_EQ(found, jumps);
}

// The cursor goes on by the clock meanwhile, and afterwards the sound goes on where it would have been.
TEST_F(Returning, OutputThatGoesAway_IsAskedForUntilItIsBack) {
    Play(200ms);
    EXPECT_EQ(server.questions, 1);  // there is nothing to look for yet
    server.isGone = true;
    Play(100ms);  // until the loss is noted
    const std::int64_t before = ramp.played;
    const std::int64_t start = NowNanoseconds();
    Play(700ms);
    EXPECT_NEAR(static_cast<double>(ramp.played - before),
                static_cast<double>(NowNanoseconds() - start) * 48e-6, 48 * 30);
    EXPECT_GE(server.questions, 3);
    EXPECT_TRUE(news->isAway);
    server.isGone = false;
    Play(1500ms);
    EXPECT_EQ(log.Lines(),
              "E:The sound output went away: the sound isn't heard until it is back."
              "I:The sound output is back.");
    EXPECT_EQ(news->returns, 1U);
    EXPECT_FALSE(news->isAway);
    const std::vector<std::int64_t> heard = HeardFrames();
    ExpectRamp(heard, 1);
    EXPECT_EQ(heard[0], 1);
    EXPECT_NEAR(static_cast<double>(heard.back()), static_cast<double>(ramp.played), 48 * 60);
}

TEST_F(Returning, OutputThatTakesNothingForTwoSeconds_IsGivenUp) {
    Play(100ms);
    server.isHanging = true;
    Play(1800ms);
    EXPECT_EQ(log.Lines(), "");
    Play(700ms);
    EXPECT_TRUE(log.Lines().starts_with("E:The sound output went away")) << log.Lines();
    server.isHanging = false;
    Play(1000ms);
    ExpectRamp(HeardFrames(), 1);
}

// A writer that is held up: not the ring's old sound again, and no click.
TEST_F(Returning, WhatTheWriterIsLateWith_IsSilenceWithFades) {
    Play(200ms);
    std::this_thread::sleep_for(500ms);  // more than two rings
    Play(200ms);
    EXPECT_EQ(buffer->Stop(), DS_OK);
    const auto first = std::find_if(server.heard.begin(), server.heard.end(), [](float v) { return v != 0; });
    ASSERT_NE(first, server.heard.end());
    const auto begin = static_cast<std::size_t>(first - server.heard.begin());
    std::size_t silent = 0;
    double greatestRise = 0, steepestFall = 0, greatest = 0;
    for (std::size_t i = begin + 2; i < server.heard.size(); i += 2) {
        silent += server.heard[i] == 0;
        const double step = server.heard[i] - server.heard[i - 2];
        greatest = std::max(greatest, double{server.heard[i]});
        greatestRise = std::max(greatestRise, step);
        steepestFall = std::min(steepestFall, step);
    }
    EXPECT_GT(silent, 0.3 * Ramp::rate);
    EXPECT_GE(news->interruptions, 1U);
    EXPECT_LT(greatestRise, greatest / 16);
    EXPECT_GT(steepestFall, -greatest / 16);
    EXPECT_TRUE(log.Lines().starts_with("I:The sound was interrupted ")) << log.Lines();
}

// By another stream, or in place.
TEST_F(Returning, ABufferThatIsNearlyEmptyTimeAndAgain_Grows) {
    for (const bool canResize : {false, true}) {
        server.canResize = canResize;
        const std::uint32_t wanted = (canResize ? 9 : 6) * chunk;
        Play(1500ms);
        server.isShort = true;
        for (int i = 0; i < 100 && server.capacity != wanted; ++i)
            Play(20ms);
        server.isShort = false;
        Play(200ms);
        EXPECT_EQ(server.capacity, wanted);
        EXPECT_EQ(server.questions, 2);
    }
    EXPECT_EQ(log.Lines(),
              "I:The sound server's buffer was nearly empty time and again, so it is now 60 ms long."
              "I:The sound server's buffer was nearly empty time and again, so it is now 90 ms long.");
    EXPECT_EQ(news->returns, 1U);
}

TEST_F(Returning, OutputThatDoesNotStart_CountsAsOneThatWentAway) {
    server.isRefusing = true;
    Play(300ms);
    EXPECT_TRUE(log.Lines().starts_with("E:The sound output went away")) << log.Lines();
    server.isRefusing = false;
    Play(1500ms);
    EXPECT_TRUE(log.Lines().ends_with("I:The sound output is back.")) << log.Lines();
    ExpectRamp(HeardFrames(), 0);
}

TEST_F(Returning, StopAndPlay_GoOnWhetherTheOutputIsThereOrNot) {
    for (const bool isGone : {false, true, false}) {
        server.isGone = isGone;
        Play(100ms);
        EXPECT_EQ(buffer->Stop(), DS_OK);
        EXPECT_EQ(buffer->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    }
    const std::int64_t before = ramp.played;
    Play(400ms);  // the cursor may stand for 250 ms, until it is written far enough ahead
    EXPECT_GT(ramp.played, before);
}

// A server that doesn't answer at all must not hold up the game's end.
TEST_F(Returning, Release_WhileAnAttemptHangs_TakesTwoSecondsAtMost) {
    slib::Semaphore reached, goOn, gone;
    SoundBufferPtr hanging(new ReturningBuffer(
        shape, chunk,
        [&](StreamOutlet&, std::uint32_t) -> std::unique_ptr<OutputStream> {
            reached.Post();
            goOn.Wait();
            gone.Post();
            return nullptr;
        },
        news, &log));
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
