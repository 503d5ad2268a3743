#include "orb3core/decoder/transformedpipe.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pipe/pipeexception.h"
#include "tests/support/allocationcounter.h"
#include "tests/support/failure.h"
#include "tests/support/recordinglog.h"
#include "tests/support/testpipe.h"

namespace {

using testing_support::Failure;
using testing_support::TestPipe;
using Transform = orb3::strans::TimeDomainTransform<float, 1>;

// From the first of two inputs to the first of two outputs: its copy at time zero. Begins `latency` samples
// before that.
Transform Copying(std::uint32_t width, std::uint32_t latency) {
    Transform transform{
        .sampleRate = 48000, .start = (2048 - latency) % 2048, .width = width, .impulses = {2, 2}};
    for (hcml::GenericVector<float, 1>& impulse : transform.impulses) {
        impulse.resize(2048);
        impulse.fill(0);
    }
    transform.impulses(0, 0)[0] = 1;
    return transform;
}

struct Setting {
    bool isParallel = false;
    std::uint32_t length = 64, width = 300;  // of the pipe's blocks, of the transform
    std::uint32_t latency = 24;
    std::uint32_t feedDelay = 0;  // of the channel that has feeds
    float peak = 3;               // of what is played; below 1 the limiter stays away
};

struct Rig {
    explicit Rig(const Setting& setting) : test(new TestPipe(setting.length)), pipe(test) {
        decoder = orb3::createTransformedPipe(
            Copying(setting.width, setting.latency), &log, pipe,
            setting.isParallel ? orb3::DecoderMode::Parallel : orb3::DecoderMode::Serial,
            orb3::Limiting::Plain, {0, setting.feedDelay});
        bus.resize(decoder->blockFrames, 2);
    }
    TestPipe* const test;
    const audiopipe::PipePtr pipe;
    testing_support::RecordingLog log;
    std::unique_ptr<orb3::TransformedPipeUPT> decoder;
    hcml::ac::Bus bus;
};

class BothForms : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Forms, BothForms, testing::Bool(), testing::PrintToStringParamName());

// Ten blocks of noise on the bus; the same goes as two feeds to the other channel, but for the last three.
std::vector<float> Play(const Setting& setting) {
    Rig rig(setting);
    std::minstd_rand random(1);
    for (int block = 0; block < 10; ++block) {
        for (std::uint32_t i = 0; i < rig.bus.frames; ++i)
            rig.bus.channels[0][i] =
                std::uniform_real_distribution<float>(-setting.peak, setting.peak)(random);
        const float* const noise = rig.bus.channels[0];
        const std::vector<orb3::DirectFeed> feeds{{1, noise, 0.5F}, {1, noise, 0.25F}};
        rig.decoder->writeBus(rig.bus, std::span(feeds).first(block < 7 ? 2 : 0));
    }
    rig.test->Await(static_cast<int>(10 * rig.bus.frames / setting.length));
    return rig.test->written;
}

// The limiter works on both channels alike, so their ratio shows what goes into it.
TEST(TransformedPipe, Feeds_StandInTimeWithTheDecodedSignalAndBothFormsGiveTheSame) {
    const Setting settings[] = {{.length = 480, .width = 1, .latency = 0},
                                {.width = 2, .latency = 1},
                                {.length = 1024, .width = 900, .latency = 700},
                                {.length = 100, .width = 1500, .latency = 1333},
                                {.latency = 24, .feedDelay = 77, .peak = 0.2F}};
    for (Setting setting : settings) {
        const std::vector<float> serial = Play(setting);
        setting.isParallel = true;
        EXPECT_EQ(serial, Play(setting));
        const std::size_t end = 2 * (serial.size() / 20 * 7 + setting.latency);
        const std::size_t later = std::size_t{2} * setting.feedDelay;
        for (std::size_t i = later; i < serial.size(); i += 2)
            ASSERT_NEAR(serial[i + 1], i - later < end ? 0.75F * serial[i - later] : 0, 2e-6F)
                << setting.length << " " << i;
        ASSERT_NE(serial[2 * setting.latency], 0);
    }
}

TEST_P(BothForms, SetUp_ChoosesTheSizesAndLogsThem) {
    struct Case {
        std::uint32_t length, width;
        std::string mode, sizes;
    };
    const std::string latency = ", transform start latency is 24 (5e+02us), DFT size is ";
    const Case cases[] = {{480, 900, "frequency", "480 (10ms) on 480" + latency + "2 x 1024."},
                          {1200, 30, "frequency", "300 (6.2ms) on 1200" + latency + "1 x 1024."},
                          {64, 1, "time", "64 (1.3ms) on 64."}};
    for (const auto& [length, width, mode, sizes] : cases)
        EXPECT_EQ(Rig({GetParam(), length, width}).log.lines,
                  (GetParam() ? "I:Parallel " : "I:Serial ") + mode + "-domain mode at 48kHz. Capacity is " +
                      sizes);
}

TEST_P(BothForms, FailureOfThePipe_ReachesTheCallerAtOnceAndForGood) {
    Rig rig({GetParam()});
    rig.test->onWrite = [](int block) {
        if (block >= 5) throw audiopipe::PipeException("The cable is out.");
    };
    std::string failure;
    for (int count = 0; count < (GetParam() ? 5 : 3) && failure.empty(); ++count)
        failure = Failure<audiopipe::PipeException>([&] { rig.decoder->writeBus(rig.bus, {}); });
    EXPECT_EQ(failure, "The cable is out.");
    EXPECT_THROW(rig.decoder->writeInterleaved({128, 2}, {}), audiopipe::PipeException);
    rig.decoder.reset();
    EXPECT_EQ(rig.test->running, 0);
}

TEST_P(BothForms, Destruction_AtAnyMomentStopsThePipe) {
    for (int round = 0; round < 200; ++round) {
        Rig rig({GetParam()});
        rig.test->onWrite = [round](int) { usleep(static_cast<useconds_t>(round % 7 * 20)); };
        for (int block = 0; block < round % 4; ++block)
            rig.decoder->writeBus(rig.bus, std::vector<orb3::DirectFeed>{{0, rig.bus.channels[0], 1}});
        usleep(static_cast<useconds_t>(round));
        rig.decoder.reset();
        EXPECT_EQ(rig.test->running, 0);
    }
}

TEST_P(BothForms, SteadyBlocks_AllocateNothing) {
    Rig rig({.isParallel = GetParam(), .length = 480, .width = 900});
    const std::vector<orb3::DirectFeed> feeds{{0, rig.bus.channels[0], 1}, {1, rig.bus.channels[0], 1}};
    std::array<std::size_t, 20> decoding{}, calling{};
    rig.test->onWrite = [&](int n) {
        decoding[static_cast<std::size_t>(n)] = testing_support::AllocationsOfThisThread();
    };
    for (std::size_t block = 0; block < 20; ++block) {
        rig.decoder->writeBus(rig.bus, feeds);
        calling[block] = testing_support::AllocationsOfThisThread();
    }
    rig.test->Await(20);
    const std::vector<orb3::DirectFeed> unfit{{2, rig.bus.channels[0], 1}};
    EXPECT_THROW(rig.decoder->writeBus(rig.bus, unfit), slib::BadParameterException);
    EXPECT_EQ(calling[19], calling[3]);
    EXPECT_EQ(decoding[19], decoding[3]);
}

TEST(TransformedPipe, ReportPeak_TellsTheGreatestLevelBeforeLimiting) {
    Rig rig({.width = 1, .latency = 0});
    rig.log.lines.clear();
    for (const float level : {-0.05F, 1.5F, 2.0F}) {
        rig.bus.channels[0][7] = level;
        rig.decoder->writeBus(rig.bus, {});
        rig.decoder->reportPeak(&rig.log);
    }
    EXPECT_EQ(
        rig.log.lines,
        "I:The peak output level was 0.05 (-26dB). There was more than 20dB of headroom."
        "I:The peak output level was 1.5 (3.52dB). The peak was above one; the limiter had to be used to "
        "avoid clipping."
        "E:The peak output level was 2 (6.02dB). The peak was significantly above one; the limiter had to "
        "be used heavily to avoid clipping. You may wish to reduce the gain to improve audio quality.");
}

}  // namespace
