#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>

#include "pipe/adaptivebuffering.h"
#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/adaptivedirectsoundpipe.h"
#include "pipe/directsoundexception.h"
#include "tests/support/allocationcounter.h"
#include "tests/support/failure.h"
#include "tests/support/recordinglog.h"
#include "tests/support/scripteddevice.h"

namespace {

using audiopipe::directsound::AdaptiveBuffering;
using audiopipe::directsound::AdaptiveDirectSoundFramework;
using audiopipe::directsound::AdaptiveDirectSoundPipe;
using audiopipe::directsound::DirectSoundException;
using slib::StandardFormat;
using testing_support::RecordingLog;
using testing_support::ScriptedCursors;
using testing_support::ScriptedSystem;

template <typename Action>
std::string TextOf(const Action& action) {
    return testing_support::Failure<std::exception>(action);
}

// A pipe on the scripted system, into whose first channel goes 1, 2, 3, ... in the output's integers.
struct Playback {
    explicit Playback(std::uint32_t length = 512, std::uint32_t count = 2,
                      std::vector<bool> flags = {true, true})
        : framework(&log, system),
          channels(static_cast<std::size_t>(std::count(flags.begin(), flags.end(), true))),
          length(length) {
        pipe = framework.GetDevice(0)->OpenPipe(&log, 48000, length, count, flags, {});
    }
    const AdaptiveBuffering& Buffering() { return static_cast<AdaptiveDirectSoundPipe&>(*pipe).Buffering(); }
    void Write(int blocks = 1) {
        for (; blocks > 0; --blocks) {
            std::vector<float> samples(channels * length);
            for (std::size_t f = 0; f < length; ++f)
                samples[f * channels] = std::ldexp(static_cast<float>(++sent), -31);
            pipe->Write(samples.data(), nullptr);
        }
    }
    // Frames played from `from` on that don't go on from the one before, the silence of the start aside.
    long Breaks(std::size_t from = 0) const {
        long breaks = 0;
        for (std::size_t i = from + 1; i < system->played.size(); ++i)
            breaks += (system->played[i - 1] != 0 || system->played[i] > 1) &&
                      system->played[i] != system->played[i - 1] + 1;
        return breaks;
    }

    std::shared_ptr<ScriptedSystem> system = std::make_shared<ScriptedSystem>();
    RecordingLog log;
    AdaptiveDirectSoundFramework framework;
    std::size_t channels, length;
    std::unique_ptr<audiopipe::Pipe> pipe;
    int sent = 0;
};

struct RingCase {
    double rate;
    std::uint32_t channels, wantedLength, wantedCount;
    std::uint32_t length, count, maxExtra, blocksPerPeriod, ringBytes;
    std::string substitute;  // for the wishes
};

// The capacity is 268435455 bytes.
const RingCase rings[] = {
    {48000, 2, 512, 0, 512, 1, 9, 47, 11 * 4096, ""},
    {8000, 1, 0, 1, 1, 1, 800, 4000, 802 * 4, ""},
    {192000, 2, 8, 4193000, 8, 4193000, 1302, 12000, 268435392, ""},
    {48000, 2, 1000000, 40, 1000000, 31, 0, 0, 256000000, "buffer length 1000000 and buffer count 32."},
    {48000, 2, 20000000, 1, 16777215, 0, 0, 0, 134217720, "buffer length 16777215 and buffer count 1."}};

TEST(RingLayout, FollowsTheWishesWithinTheCapacity) {
    for (const RingCase& ring : rings) {
        SCOPED_TRACE(std::to_string(ring.wantedLength) + " by " + std::to_string(ring.wantedCount));
        RecordingLog log;
        const AdaptiveBuffering b(log, ring.rate, ring.channels, ring.wantedLength, ring.wantedCount);
        EXPECT_EQ(b.bufferLength, ring.length);
        EXPECT_EQ(b.bufferCount, ring.count);
        EXPECT_EQ(b.maxExtraBuffers, ring.maxExtra);
        EXPECT_EQ(b.blocksPerPeriod, ring.blocksPerPeriod);
        EXPECT_EQ(b.ringBytes, ring.ringBytes);
        const std::string warning =
            "E:There doesn't seem to be enough capacity for the configured buffers! Using a ";
        EXPECT_EQ(log.lines, ring.substitute.empty() ? "" : warning + ring.substitute);
    }
}

TEST(AdaptivePipe, Write_ConvertsToTheEnabledChannelsAndSplitsABlockAtTheEndOfTheRing) {
    Playback p(4, 1, {false, true});
    EXPECT_EQ(p.pipe->GetPlaybackChannelName(0), "Right");
    p.system->position = 4794;  // of 4 * 1202 in the ring: the second block lies across its end
    p.pipe->Start();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> first{2, 1, -1, -3}, second{0.25F, -0.25F, std::ldexp(3.0F, -32), nan};
    p.pipe->Write(first.data(), nullptr);
    p.system->Pass(1);
    p.pipe->Write(second.data(), nullptr);
    constexpr std::int32_t top = INT32_MAX, bottom = INT32_MIN;
    const std::vector<std::int32_t>& ring = p.system->ring;
    EXPECT_EQ(p.system->description.dwBufferBytes, 1202U * 32);
    std::vector<std::int32_t> written(ring.end() - 12, ring.end());
    written.insert(written.end(), ring.begin(), ring.begin() + 4);
    EXPECT_EQ(written,
              std::vector({0, top, 0, top, 0, bottom, 0, bottom, 0, 1 << 29, 0, -(1 << 29), 0, 2, 0, 0}));
    EXPECT_EQ(p.system->lockOffsets, (std::vector<std::uint32_t>{1202 * 32 - 48, 1202 * 32 - 16}));
}

TEST(AdaptivePipe, Write_WaitsForWhatABlockLacksAndAllocatesNothing) {
    Playback p;
    p.pipe->Start();
    p.Write();
    EXPECT_TRUE(p.system->sleeps.empty());
    p.Write();  // a block of 512 frames lasts 10.67 ms
    EXPECT_EQ(p.system->sleeps, (std::vector<std::uint32_t>{11}));
    p.system->Pass(10.3);
    p.Write();  // 0.04 ms are lacking
    EXPECT_EQ(p.system->sleeps, (std::vector<std::uint32_t>{11, 1}));
    const std::vector<float> block(1024);
    p.system->Pass(11);
    const std::size_t before = testing_support::AllocationsOfThisThread();
    p.pipe->Write(block.data(), nullptr);
    EXPECT_EQ(testing_support::AllocationsOfThisThread(), before);
}

struct CursorCase {
    std::uint32_t length, count;
    std::int64_t step, safety;  // frames; what the cursor moves by, and how far the write cursor is ahead
    std::uint32_t extra;
    int seenStep;      // frames
    int lastUnderrun;  // no block from there on has one
};

// Called for are (rest + step + safety + length - 1) / length - count - 2 blocks, at the greatest rest of a
// block at which the cursor stands; a step of 20 ms isn't seen but by its underruns.
class CursorBehaviour : public testing::TestWithParam<CursorCase> {};

TEST_P(CursorBehaviour, IsMetWithoutAGap) {
    const CursorCase& cursor = GetParam();
    Playback p(cursor.length, cursor.count);
    p.system->cursors = [&](std::int64_t at) {
        const std::int64_t play = at / cursor.step * cursor.step;
        return ScriptedCursors{play, play + cursor.safety};
    };
    p.pipe->Start();
    const int blocks = std::min(16000, (1 << 23) / static_cast<int>(cursor.length));
    for (int block = 0; block < blocks; ++block) {
        p.Write();
        ASSERT_TRUE(block < cursor.lastUnderrun || !p.Buffering().hadUnderrun) << block;
    }
    EXPECT_EQ(p.Buffering().extraBuffers, cursor.extra);
    EXPECT_EQ(p.Buffering().smallestStep, 8 * cursor.seenStep);
    EXPECT_EQ(p.Breaks(), 0);
    p.pipe->Stop();
    const std::string line = "I:The DirectSound pipe had to increase the buffer count by " +
                             std::to_string(cursor.extra) +
                             " to ensure steady output. You may wish to change your default buffer count.";
    EXPECT_EQ(p.log.lines, cursor.extra == 0 ? "" : line);
}

INSTANTIATE_TEST_SUITE_P(Table, CursorBehaviour,
                         testing::Values(CursorCase{512, 2, 48, 48, 0, 48, 0},
                                         CursorCase{64, 1, 480, 480, 13, 480, 750},
                                         CursorCase{64, 1, 959, 959, 28, 959, 750},
                                         CursorCase{64, 1, 960, 960, 27, 0, 12000},
                                         CursorCase{2048, 1, 1920, 2880, 1, 0, 0}));

TEST(AdaptivePipe, Underrun_AddsABlockOncePerHalfSecondUpToTheCeiling) {
    Playback p;
    p.system->cursors = [](std::int64_t at) { return ScriptedCursors{at, at + 960}; };
    p.pipe->Start();
    std::vector<std::uint32_t> extra;
    for (int block = 0; block < 47 * 12; ++block) {
        if (block % 47 == 5 || block % 47 == 25) p.system->Pass(120);
        p.Write();
        if (block % 47 == 46) extra.push_back(p.Buffering().extraBuffers);
        EXPECT_TRUE(block != 47 * 11 + 30 || p.Buffering().hadUnderrun);
    }
    EXPECT_EQ(extra, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 9, 9}));
}

// The output has taken 20 ms of what is written, after three blocks of silence to begin with.
TEST(AdaptivePipe, State_TellsWhatIsBufferedAndWhatTheOutputTells) {
    Playback p;
    p.system->cursors = [](std::int64_t at) { return ScriptedCursors{at, at + 960}; };
    p.pipe->Start();
    p.Write(100);
    audiopipe::OutputState state = p.pipe->GetOutputState();
    EXPECT_EQ(state.serverFrames, 960U);
    EXPECT_EQ(state.ringFrames, 3 * 512 + p.sent - p.system->position - 960);
    EXPECT_EQ(std::pair(state.lateBlocks, state.isAway), std::pair(0U, false));
    p.system->news->interruptions = 3;
    p.system->news->isAway = true;
    state = p.pipe->GetOutputState();
    EXPECT_EQ(std::pair(state.lateBlocks, state.isAway), std::pair(3U, true));
}

// One underrun in the first half second, then twenty calm ones.
void PlayUntilShrinkIsDue(Playback& p) {
    p.pipe->Start();
    p.Write(10);
    p.system->Pass(60);
    p.Write(47 * 21 - 11);
    ASSERT_FALSE(p.Buffering().shrinkRequested);
    p.Write();
    ASSERT_TRUE(p.Buffering().shrinkRequested);
}

TEST(AdaptivePipe, TenCalmSeconds_TakeOneBlockAwayAndNoMore) {
    Playback p;
    PlayUntilShrinkIsDue(p);
    const std::size_t before = p.system->sleeps.size();
    p.Write();
    EXPECT_NEAR(
        std::accumulate(p.system->sleeps.begin() + static_cast<long>(before), p.system->sleeps.end(), 0.0),
        21.3, 1);  // two blocks
    EXPECT_EQ(p.Buffering().extraBuffers, 0U);
    p.Write(47 * 22);
    EXPECT_EQ(p.Buffering().calmPeriods, 22U);
    EXPECT_FALSE(p.Buffering().shrinkRequested);
    p.pipe->Stop();
    EXPECT_EQ(p.log.lines, "");
}

TEST(AdaptivePipe, BlocksThatTheCursorsCallFor_AreNeverSpare) {
    Playback p;
    p.system->position = 300;  // so that there is a margin of two blocks in spite of the call
    p.system->cursors = [](std::int64_t at) { return ScriptedCursors{at, at + 1476}; };
    p.pipe->Start();
    p.Write(47 * 3);
    EXPECT_EQ(p.Buffering().extraBuffers, 1U);
    EXPECT_EQ(p.Buffering().calmPeriods, 0U);
}

TEST(AdaptivePipe, Underrun_CancelsTheShrinkThatWasDue) {
    Playback p;
    PlayUntilShrinkIsDue(p);
    p.system->Pass(100);
    p.Write();
    EXPECT_EQ(p.Buffering().extraBuffers, 2U);
    p.pipe->Stop();
    p.pipe->Start();  // what was added stays
    EXPECT_EQ(p.Buffering().extraBuffers, 2U);
}

TEST(AdaptivePipe, CursorThatStallsOrJumps_LeavesAWholeStreamBehind) {
    Playback p(256, 2);
    p.pipe->Start();
    p.Write(200);
    const std::int64_t start = p.system->position;
    p.system->cursors = [=](std::int64_t at) {  // falls back behind what the output reads, to 900 frames
        return ScriptedCursors{at - std::min((at - start) / 64, std::int64_t{900}), at};
    };
    p.Write(400);
    EXPECT_EQ(p.Breaks(static_cast<std::size_t>(start) + 67200), 0);
    p.system->position += 7777;  // more than a ring
    const std::size_t jump = p.system->played.size();
    p.Write(400);
    EXPECT_EQ(p.Breaks(jump + 9600), 0);
}

TEST(AdaptivePipe, FailingOperation_EndsInItsTextWithNothingLeaked) {
    const std::string text =
        "A DirectSound error occurred: The buffer memory has been lost and must be restored.";
    for (const std::string_view operation : testing_support::scriptedOperations) {
        SCOPED_TRACE(operation);
        const auto system = std::make_shared<ScriptedSystem>();
        system->failures[operation] = 0x88780096;
        RecordingLog log;
        EXPECT_EQ(
            TextOf([&] {
                AdaptiveDirectSoundFramework framework(&log, system);
                const auto pipe = framework.GetDevice(1)->OpenPipe(&log, 48000, 512, 2, {true, true}, {});
                pipe->Start();
                pipe->Write(std::vector<float>(1024).data(), nullptr);
                pipe->Stop();
            }),
            operation == "DirectSoundEnumerateA" ? "Failed to enumerate DirectSound devices." : text);
        EXPECT_EQ(system->openObjects, 0);
        EXPECT_TRUE(operation != "Lock" || system->calls["Stop"] == 1);  // by the pipe's end
        EXPECT_EQ(log.lines, operation == "Stop" ? "E:" + text : "");
    }
    EXPECT_EQ(TextOf([] { audiopipe::directsound::CheckResult(0x12345678); }), "Unknown error.");
}

TEST(AdaptiveDevice, SpeakerSetting_NamesTheFormatItsChannelsAndTheirMask) {
    using F = StandardFormat;
    const std::pair<F, std::uint32_t> masks[] = {
        {F::Unknown, 0x3},      {F::HeadphoneStereo, 0x3},  {F::Mono, 0x4},        {F::Quad, 0x33},
        {F::Stereo, 0x3},       {F::SurroundStereo, 0x107}, {F::Surround51, 0x3f}, {F::Surround71Wide, 0xff},
        {F::Surround71, 0x63f}, {F::Surround51ITU, 0x60f},  {F::Unknown, 0x3}};
    std::uint32_t config = 0x00140000;  // with an angle
    for (const auto& [format, mask] : masks) {
        const auto system = std::make_shared<ScriptedSystem>();
        system->speakerConfig = config++;
        RecordingLog log;
        AdaptiveDirectSoundFramework framework(&log, system);
        const audiopipe::DevicePtr device = framework.GetDevice(0);
        EXPECT_EQ(device->GetStandardFormat(), format);
        const int channels = format == F::SurroundStereo ? 2 : std::popcount(mask);  // matrixed
        device->OpenPipe(&log, 48000, 512, 2, std::vector<bool>(static_cast<std::size_t>(channels)), {});
        EXPECT_EQ(system->format.dwChannelMask, mask);
        EXPECT_EQ(system->format.Format.nChannels, channels);
    }
}

TEST(AdaptiveDevice, SampleRates_AreTheLimitsAndWhatALessFixedDriverHasBetween) {
    Playback p;
    p.system->caps.dwFlags = 0;
    const audiopipe::DevicePtr fixed = p.framework.GetDevice(1), continuous = p.framework.GetDevice(0);
    EXPECT_TRUE(fixed->IsSampleRateSupported(999.5) && fixed->IsSampleRateSupported(96000.5));
    EXPECT_FALSE(continuous->IsSampleRateSupported(999.4) || continuous->IsSampleRateSupported(96000.6));
    EXPECT_TRUE(continuous->IsSampleRateSupported(48000) && !fixed->IsSampleRateSupported(48000));
}

TEST(AdaptiveDevice, FailedStart_IsNotTriedAgain) {
    Playback p;
    p.system->failures["GetCaps"] = platform::DSERR_NODRIVER;
    const audiopipe::DevicePtr device = p.framework.GetDevice(1);
    EXPECT_THROW(device->IsEmulated(), DirectSoundException);
    p.system->failures.clear();
    EXPECT_EQ(TextOf([&] { device->GetStandardFormat(); }),
              "An earlier attempt to initialise this device failed.");
    EXPECT_EQ(p.system->calls["DirectSoundCreate8"], 2);  // one for either device
    EXPECT_EQ(p.system->calls["DirectSoundEnumerateA"], 1);
    EXPECT_EQ(TextOf([&] { AdaptiveDirectSoundFramework(&p.log, p.system); }),
              "The AdaptiveDirectSound framework may only be instantiated once.");
}

}  // namespace
