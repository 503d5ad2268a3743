// Foldback of blocks that a test makes, into rings of odd sizes. The events come on the thread of the task
// queue.

#include "goal/foldbackmanager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "slib/mutex.h"
#include "slib/task.h"
#include "tests/support/failure.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

using namespace std::chrono_literals;

struct Event {
    std::int32_t event, index;
    bool operator==(const Event&) const = default;
};
constexpr Event start{AL_FOLDBACK_EVENT_START, 0}, stop{AL_FOLDBACK_EVENT_STOP, 0};
Event Full(std::int32_t index) {
    return {AL_FOLDBACK_EVENT_BLOCK, index};
}

// What the callback was told; a callback is a plain function, so there is one for all. Of the queue's thread,
// between two fences.
std::vector<Event> told;

void Tell(std::int32_t event, std::int32_t index) {
    told.push_back({event, index});
}

class Foldback : public testing::Test {
protected:
    static constexpr std::uint32_t frames = 512;
    static constexpr float before = 7;  // in the ring

    Foldback() {
        Events();
        told.clear();
        output.spatial.resize(frames, 4);
        output.dialogue.resize(frames);
    }

    // What the end tells has been told.
    ~Foldback() override {
        manager.reset();
        Events();
    }

    void StartFoldback(std::int32_t mode, std::uint32_t blockCount, std::uint32_t blockFrames,
                       FoldbackRequest::Callback callback = Tell) {
        ring.assign(std::size_t{blockCount} * blockFrames * 2, before);
        manager->Start({mode, blockCount, blockFrames, ring.data(), callback});
    }

    // Another block of noise, and of the dialogue, which the first two channels have where it is written;
    // keeps what a whole recording of it would be.
    void Render() {
        const double dialogue = output.dialogueWritten ? 0.5 : 0;
        std::fill_n(output.dialogue.data, frames, 0.5F);
        for (std::uint32_t c = 0; c < 4; ++c)
            for (std::uint32_t i = 0; i < frames; ++i)
                output.spatial.channels[c][i] = noise(generator);
        for (std::uint32_t i = 0; i < frames; ++i) {
            const auto at = [&](std::uint32_t c) { return double{output.spatial.channels[c][i]}; };
            const double middle = at(0) + dialogue + 0.04914 * (at(1) + dialogue);
            w.push_back(at(0) + dialogue);
            left.push_back(middle + 0.756398 * at(2));
            right.push_back(middle - 0.756398 * at(2));
        }
        manager->ProcessBlock(output);
    }

    // All that were sent up to now: the queue works in order.
    static std::vector<Event> Events() {
        struct Fence : slib::Task {
            explicit Fence(slib::Semaphore& reached) : reached(reached) {}
            void Run() override { reached.Post(); }
            slib::Semaphore& reached;
        };
        slib::Semaphore reached;
        slib::TaskQueue::Add(std::make_unique<Fence>(reached));
        reached.Wait();
        return told;
    }

    std::unique_ptr<FoldbackManager> manager = std::make_unique<FoldbackManager>();
    RenderOutput output;
    std::vector<float> ring;
    std::vector<double> w, left, right;
    std::minstd_rand generator{5};
    std::uniform_real_distribution<float> noise{-1, 1};
};

struct Ring {
    std::uint32_t blockCount, blockFrames;
};

// Rings longer and shorter than a block, of sizes that don't divide each other.
class Rings : public Foldback, public testing::WithParamInterface<Ring> {};

TEST_P(Rings, HoldTheLastFramesOfEachChannelAndTellOfEachFullBlock) {
    constexpr std::uint32_t rendered = 5 * frames;
    const auto [blockCount, blockFrames] = GetParam();
    const std::uint32_t ringFrames = blockCount * blockFrames;
    for (const bool isStereo : {false, true}) {
        w.clear(), left.clear(), right.clear(), told.clear();
        output.dialogueWritten = isStereo;
        StartFoldback(isStereo ? AL_FOLDBACK_MODE_STEREO : AL_FOLDBACK_MODE_MONO, blockCount, blockFrames);
        for (int block = 0; block < 5; ++block)
            Render();
        manager->Stop();
        manager->ProcessBlock(output);

        std::vector<Event> events{start};
        for (std::uint32_t i = 0; i < rendered / blockFrames; ++i)
            events.push_back(Full(static_cast<std::int32_t>(i % blockCount)));
        events.push_back(stop);
        EXPECT_EQ(Events(), events);

        // Silence until it is written, and behind a ring of one channel what was there.
        std::vector<float> expected(ring.size(), before);
        std::fill_n(expected.begin(), ringFrames * (isStereo ? 2 : 1), 0.0F);
        for (std::uint32_t frame = 0; frame < rendered; ++frame) {
            const std::size_t place = frame % ringFrames;
            if (!isStereo) expected[place] = float(w[frame]);
            if (isStereo) expected[2 * place] = float(left[frame]);
            if (isStereo) expected[2 * place + 1] = float(right[frame]);
        }
        EXPECT_THAT(ring, testing_support::IsNear(1e-6F, expected));
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Rings,
                         testing::Values(Ring{2, 512}, Ring{3, 700}, Ring{11, 100}, Ring{1100, 1},
                                         Ring{2, 4000}));

TEST_F(Foldback, StartAndStop_TakeEffectAtTheNextBlock) {
    const auto failure = [&] {
        return testing_support::Failure<slib::BadStateException>(
            [&] { StartFoldback(AL_FOLDBACK_MODE_MONO, 2, 512); });
    };
    manager->Stop();
    EXPECT_EQ(failure(), "");
    EXPECT_EQ(failure(), "Foldback is already running.");  // requested
    manager->Stop();
    EXPECT_EQ(failure(), "");  // no block came between, so nothing has begun
    Render();
    EXPECT_EQ(failure(), "Foldback is already running.");
    manager->Stop();
    EXPECT_EQ(failure(), "Foldback is already running.");  // still to stop
    Render();
    EXPECT_EQ(failure(), "");
    Render();
    EXPECT_EQ(Events(), (std::vector<Event>{start, Full(0), stop, start, Full(0)}));
}

TEST_F(Foldback, Destruction_TellsTheEndOfWhatRuns) {
    StartFoldback(AL_FOLDBACK_MODE_MONO, 2, 512);
    manager = std::make_unique<FoldbackManager>();  // had begun nothing
    StartFoldback(AL_FOLDBACK_MODE_MONO, 2, 512);
    Render();
    manager.reset();
    EXPECT_EQ(Events(), (std::vector<Event>{start, Full(0), stop}));
}

TEST_F(Foldback, SlowCallback_HoldsUpNoBlockAndMissesNoEvent) {
    StartFoldback(AL_FOLDBACK_MODE_MONO, 2, 512, [](std::int32_t event, std::int32_t index) {
        std::this_thread::sleep_for(20ms);
        Tell(event, index);
    });
    const auto begin = std::chrono::steady_clock::now();
    for (int block = 0; block < 20; ++block)
        Render();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 200ms);  // the callbacks take 420
    manager.reset();
    std::vector<Event> expected{start};
    for (int i = 0; i < 20; ++i)
        expected.push_back(Full(i % 2));
    expected.push_back(stop);
    EXPECT_EQ(Events(), expected);
}

}  // namespace
}  // namespace goal
