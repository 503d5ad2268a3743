// The server's life, driven through parts that a test scripts: what it asks them for, what it says, and how
// it ends.

#include "goal/serverthread.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "AL/al.h"
#include "goal/context.h"
#include "goal/loadmeter.h"
#include "goal/statusfiles.h"
#include "goal/statuspage.h"
#include "orb3core/store/configstore.h"
#include "pipe/pipeexception.h"
#include "platform/packetsocket.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/failure.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/testpipe.h"

namespace goal {
namespace {

// A run made of nothing, which a test may have answer otherwise or fail at a step.
class ScriptedMachinery : public Machinery {
public:
    std::function<void(const std::string&)> at = [](const std::string&) {};  // called at each step; may throw
    std::function<void(OutputSetUp&)> answer = [](OutputSetUp&) {};

    OutputRequest request;
    double rate = 48000;
    std::atomic<double> waited{-1};  // s, as the pipe tells
    int filterOrder = 0;
    int renderedOrder = 0;
    std::array<std::atomic<float>, 2> lastFrame{};
    audiopipe::OutputState outputState;
    std::atomic<int> blocks{0}, runs{0}, hastyBlocks{0};
    std::atomic<float> leftward{0};          // of the first order of what is rendered
    std::atomic<bool> isRoomAwaited{false};  // since the last block
    std::string destroyed;

    FormatLibrary OpenFormatLibrary(const std::string&, slib::Log*) override {
        at("library");
        return {nullptr, [this](const void*) { destroyed += "library "; }};
    }

    // Both channels get half of the first channel of the bus.
    OutputSetUp SetUp(const OutputRequest& asked, slib::Log*, slib::Log*, orb3::Configuration& configuration,
                      const FormatLibrary&) override {
        request = asked;
        at("setup");
        OutputSetUp output;
        output.pipe = audiopipe::PipePtr(new ScriptedPipe(*this));
        output.transform.sampleRate = 48000;
        output.transform.width = 1;
        output.transform.impulses = hcml::GenericMatrix<hcml::GenericVector<float, 1>, 0>(25, 2);
        output.transform.impulses.fill({0});
        output.transform.impulses(0, 0) = output.transform.impulses(0, 1) = {0.5F / std::sqrt(12.566371F)};
        output.formatName = "Quad";
        output.methodName = "Basic";
        answer(output);
        if (output.isConfigurationChanged) configuration.selectedName = "Chosen";
        return output;
    }

    std::unique_ptr<BlockRenderer> CreateRenderer(double, const orb3::Configuration& configuration, int order,
                                                  std::uint32_t, slib::Log*) override {
        filterOrder = order;
        renderedOrder = configuration.goalConfig.order;
        at("renderer");
        return std::make_unique<Renderer>(*this);
    }

private:
    // The decoder's construction asks for the block first.
    struct ScriptedPipe : testing_support::TestPipe {
        explicit ScriptedPipe(ScriptedMachinery& owner) : TestPipe(512), owner(owner) {}
        ~ScriptedPipe() override { owner.destroyed += "pipe "; }
        double GetSampleRate() override { return owner.rate; }
        std::uint32_t GetBufferLength() override {
            if (!std::exchange(isAsked, true)) owner.at("decoder"), ++owner.runs;
            return TestPipe::GetBufferLength();
        }
        void Write(const float* playback, float*) override {
            owner.lastFrame[0] = playback[0];
            owner.lastFrame[1] = playback[1];
            ++owner.blocks;
            owner.at("write");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        void AwaitRoom(std::uint32_t) override { owner.isRoomAwaited = true; }
        double GetWaitedTime() const override { return owner.waited; }
        audiopipe::OutputState GetOutputState() const override { return owner.outputState; }
        ScriptedMachinery& owner;
        bool isAsked = false;
    };

    struct Renderer : BlockRenderer {
        explicit Renderer(ScriptedMachinery& owner) : owner(owner) {}
        ~Renderer() override { owner.destroyed += "renderer "; }
        void renderBlock(RenderSnapshot&, RenderOutput& output) override {
            if (!owner.isRoomAwaited.exchange(false)) ++owner.hastyBlocks;
            std::fill_n(output.spatial.channels[0], output.spatial.frames, 1.0F);
            std::fill_n(output.spatial.channels[2], output.spatial.frames, owner.leftward.load());
            output.lowFrequencyWritten = output.hasLowFrequency;
            std::fill_n(output.lowFrequency.data, output.lowFrequency.size, 0.5F);
        }
        ScriptedMachinery& owner;
    };
};

class ServerThreadTest : public testing::Test {
protected:
    // Settings of the configuration that the run starts on.
    void Configure(const std::function<void(orb3::GoalConfig&)>& change) {
        orb3::Configuration configuration;
        change(configuration.goalConfig);
        engine.configuration.StoreConfiguration(configuration);
    }

    std::unique_ptr<Context> StartContext(double frequency = -1) {
        auto context = std::make_unique<Context>(engine);
        context->server.Start(*context, frequency);
        return context;
    }

    static double RateOf(Context& context) {
        const slib::Lock lock(context.timingMutex);
        return context.sampleRate;
    }

    std::string StartFailure() {
        return testing_support::Failure<slib::BadStateException>([this] { StartContext(); });
    }

    // Returns when the run is so many blocks further.
    void AwaitBlocks(int count) {
        for (const int wanted = machinery.blocks + count; machinery.blocks < wanted;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void RequestRestart(const std::function<void(orb3::GoalConfig&)>& change) {
        const slib::Lock lock(engine.configuration.configurationMutex);
        engine.configuration.pendingConfiguration = engine.configuration.configuration;
        change(engine.configuration.pendingConfiguration.goalConfig);
        engine.configuration.isRestartRequested = true;
    }

    testing_support::TemporaryStore store;
    testing_support::RecordingLog log;
    ScriptedMachinery machinery;
    Engine engine{&log, &machinery, testing_support::keepDefaults};
};

TEST_F(ServerThreadTest, Start_OnAUsableMachine_RendersAndReportsInTheLog) {
    for (const bool isVerbose : {false, true}) {
        Configure([&](orb3::GoalConfig& c) { c.isLoggingVerbose = c.measureOutputPeak = isVerbose; });
        const auto context = StartContext();
        AwaitBlocks(3);
        const slib::Lock lock(context->timingMutex);
        EXPECT_EQ(context->sampleRate, 48000);
        EXPECT_EQ(context->refreshRate, 93.75);
        EXPECT_EQ(context->blockFrames, 512U);
    }
    EXPECT_EQ(log.lines,
              "I:Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty."
              "I:Stopped Tessarune."
              "I:Verbose logging is enabled."
              "I:Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty."
              "I:Using decoder of order 3 for 'Quad', method 'Basic'."
              "I:Serial time-domain mode at 48kHz. Capacity is 512 (11ms) on 512."
              "I:Decoder started (sample rate 48kHz)."
              "I:Renderer started (refresh rate 93.8Hz, block size 512)."
              "I:Rendering started."
              "I:Stopping Tessarune."
              "I:The peak output level was 0.5 (-6.02dB)."
              "I:Ran with 0 sources and 0 effect slots. Suspend/process was not used."
              "I:Stopped Tessarune.");
    EXPECT_EQ(machinery.destroyed, "renderer pipe library renderer pipe library ");
}

// What the game does while the output is full is still in it. The first one starts the output.
TEST_F(ServerThreadTest, ABlock_IsRenderedWhenThereIsRoomForIt) {
    const auto context = StartContext();
    AwaitBlocks(20);
    EXPECT_LE(machinery.hastyBlocks, 1);
}

TEST_F(ServerThreadTest, ARequestToRestart_ReachesEachOfSeveralServers) {
    const auto first = StartContext(), second = StartContext();
    RequestRestart([](orb3::GoalConfig& c) { c.order = 1; });
    const std::string restart = "I:Restarting because of configuration change.";
    const auto count = [&] {
        const std::string lines = log.Lines();
        int found = 0;
        for (std::size_t at = lines.find(restart); at != std::string::npos; at = lines.find(restart, at + 1))
            ++found;
        return found;
    };
    for (int i = 0; i < 2000 && count() < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    AwaitBlocks(20);  // in which neither restarts again
    EXPECT_EQ(count(), 2);
}

TEST_F(ServerThreadTest, SettingsAndTheGamesRateUnlessTold_ReachTheMachinery) {
    for (const bool isIgnored : {true, false}) {
        Configure([&](orb3::GoalConfig& c) {
            c.ignoreGameSampleRate = isIgnored;
            c.defaultSampleRate = 44100;
            c.gain = c.order = c.defaultFilterOrder = 2;
            c.suggestedBufferLength = 256;
            c.suggestedBufferCount = 5;
        });
        for (const double attribute : {-1, 22050}) {
            StartContext(attribute).reset();
            EXPECT_EQ(machinery.request.sampleRate, attribute < 0 || isIgnored ? 44100U : 22050U);
        }
    }
    const auto& [order, rate, length, count, gain] = machinery.request;
    EXPECT_TRUE(order == 2 && length == 256 && count == 5);
    EXPECT_DOUBLE_EQ(gain, 0.9);
    EXPECT_EQ(machinery.filterOrder, 2);
    EXPECT_EQ(machinery.renderedOrder, 2);
}

// The outputs play what comes from ahead, and a source stands at the left. A plane wave from ahead has
// -sqrt(12 pi) in the harmonic that they play.
TEST_F(ServerThreadTest, AHeadThatTurnsToASource_HasItAheadAndBothSignalsAreRecorded) {
    constexpr std::uint16_t port = 42423;
    const testing_support::TemporaryFolder folder;
    Configure([](orb3::GoalConfig& c) {
        c.headTracking = orb3::HeadTracking::Always;
        c.headTrackingPort = port;
    });
    machinery.leftward = 1;
    machinery.answer = [](OutputSetUp& output) {
        output.transform.impulses.fill({0});
        output.transform.impulses(3, 0) = output.transform.impulses(3, 1) = {-0.5F / std::sqrt(37.699112F)};
    };
    auto context = StartContext();
    AwaitBlocks(3);
    EXPECT_NEAR(machinery.lastFrame[0], 0, 1e-6);
    context->recordings.Ask(RecordingRequest{1, 2, 3, RecordingRequest::What::Both, folder.path / "a.wav"});
    const int before = machinery.blocks;
    const std::array<double, 6> packet{0, 0, 0, 90, 0, 0};
    for (int i = 0; i < 300 && machinery.lastFrame[0] < 0.499F; ++i) {
        static_cast<void>(platform::PacketSocket::Send(port, std::as_bytes(std::span(packet))));
        AwaitBlocks(2);
    }
    EXPECT_NEAR(machinery.lastFrame[0], 0.5, 1e-3);
    const int recorded = machinery.blocks - before - 2;
    context.reset();
    constexpr int blockBytes = 512 * 4;
    EXPECT_GE(static_cast<int>(std::filesystem::file_size(folder.path / "a.wav")),
              recorded * blockBytes * 16);
    EXPECT_GE(static_cast<int>(std::filesystem::file_size(folder.path / "a-output.wav")),
              recorded * blockBytes * 2);
}

TEST_F(ServerThreadTest, Answers_OfTheSetUp_AreTakenAndStored) {
    machinery.answer = [](OutputSetUp& output) {
        output.isConfigurationChanged = true;
        output.bassOutputs = {{0, 0.5F}, {1, 0.25F}};
    };
    machinery.rate = 96000;
    auto context = StartContext(22050);
    AwaitBlocks(1);
    EXPECT_EQ(context->refreshRate, 187.5);
    context.reset();
    EXPECT_EQ(engine.configuration.Read([](const auto& c) { return c.selectedName; }), "Chosen");
    EXPECT_NE(orb3::ReadSpeakerConfiguration().find("SelectedName=\"Chosen\""), std::string::npos);
    EXPECT_NEAR(machinery.lastFrame[0], 0.75, 1e-6);
    EXPECT_NEAR(machinery.lastFrame[1], 0.625, 1e-6);
}

TEST_F(ServerThreadTest, Start_WhenAStepFails_TellsWhichAndLeavesNothing) {
    const struct {
        std::string step, explanation;
    } failures[] = {
        {"library", "Unable to locate format library. You probably need to reinstall. The error was: "},
        {"setup", "Have you run the configuration program? Failed to set up speakers: "},
        {"decoder", ""},
        {"renderer", ""}};
    for (const auto& [failing, explanation] : failures) {
        machinery.at = [failingStep = failing](const std::string& step) {
            if (step == failingStep) throw slib::BadDataException("It broke.");
        };
        EXPECT_EQ(StartFailure(), "Failed to start: " + explanation + "It broke.");
        EXPECT_TRUE(log.Has("E:Exception: " + explanation + "It broke."));
    }
    machinery.at = [](const std::string&) { throw 1; };
    EXPECT_EQ(StartFailure(), "Failed to start: An unknown exception.");
    machinery.at = [](const std::string&) {};
    Configure([](orb3::GoalConfig& c) { c.defaultSampleRate = 0; });
    EXPECT_EQ(StartFailure(), "Failed to start: Bad sample rate in configuration: 0");
    std::ofstream(store.MachineFile()) << "[Other]\nx=1\n";
    EXPECT_EQ(StartFailure(), "Failed to start: No format library is configured.");
    EXPECT_FALSE(log.Has("Ran with"));
}

// As where a room is put into the library while a game starts on it.
TEST_F(ServerThreadTest, ALibraryThatLosesAFileSinceItWasOpened_IsOpenedOnceMore) {
    int opened = 0, setUps = 0;
    machinery.at = [&](const std::string& step) {
        if (step == "library") ++opened;
        if (step == "setup" && setUps++ == 0) throw slib::OperatingSystemErrnoException("It is gone.");
    };
    const auto context = StartContext(48000);
    EXPECT_EQ(opened, 2);
}

// As of a server that doesn't answer at first, and then perhaps refuses.
TEST_F(ServerThreadTest, AnOutputThatIsSlow_KeepsNobodyWaiting) {
    for (const bool isRefused : {false, true}) {
        std::atomic<int> setUps{0};
        machinery.at = [&](const std::string& step) {
            if (step != "setup" || setUps++ > 0) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(600));
            if (isRefused) throw slib::BadDataException("Nobody there.");
        };
        const auto start = std::chrono::steady_clock::now();
        const auto context = StartContext(32000);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
        EXPECT_EQ(RateOf(*context), 32000);
        EXPECT_EQ(machinery.blocks, 0);
        AwaitBlocks(3);
        EXPECT_EQ(RateOf(*context), 48000);
        EXPECT_EQ(log.Has("Nobody there."), isRefused);
        machinery.blocks = 0;
    }
}

TEST_F(ServerThreadTest, ABlockThatFails_IsLeftOutWithALine) {
    machinery.at = [this](const std::string&) {
        if (machinery.blocks == 3 || machinery.blocks == 9) throw slib::BadStateException("It went.");
    };
    const auto context = StartContext();
    AwaitBlocks(20);
    EXPECT_EQ(machinery.runs, 1);
    EXPECT_EQ(log.lines.find("E:Exception: It went."), log.lines.rfind("E:Exception: It went."));
    EXPECT_TRUE(log.Has("E:Exception: It went."));
}

// A restart that fails, and then an output that does.
TEST_F(ServerThreadTest, ARunThatFails_IsBuiltAnewOnWhatWorkedWhileSourcesMoveOn) {
    Configure([](orb3::GoalConfig& c) { c.order = 2; });
    std::atomic<bool> isBroken{false};
    machinery.at = [&](const std::string& step) {
        if (step == "setup" && machinery.request.order == 4) throw slib::BadDataException("No such order.");
        if (step == "write" && isBroken) throw audiopipe::PipeException("The output went.");
    };
    const auto context = StartContext();
    AwaitBlocks(2);
    RequestRestart([](orb3::GoalConfig& c) { c.order = 4; });
    AwaitBlocks(5);
    EXPECT_EQ(machinery.request.order, 2);
    EXPECT_TRUE(
        log.Has("E:Exception: Have you run the configuration program? Failed to set up speakers: No such"));

    const Buffer buffer(1, AL_FORMAT_MONO8, 1000, "0123456789", 10, true);
    isBroken = true;
    const auto state = [&] {
        const slib::Lock lock(context->stateMutex);
        ApplicationState& application = context->application;
        if (application.sources.size == 0) {
            Source source;
            source.queue.append(const_cast<Buffer*>(&buffer));
            source.state = SourceState::Playing;
            application.touched.Insert(application.sources.Take(source));
        }
        return application.sources[0].state;
    };
    while (state() == SourceState::Playing)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    isBroken = false;
    AwaitBlocks(5);
    EXPECT_TRUE(log.Has("E:Exception: The output went."));
}

// The page of this process, by its layout: half of what the renderer makes comes out, of blocks that take a
// millisecond and play for ten.
TEST_F(ServerThreadTest, Status_TellsHowTheRunFaresUntilItEnds) {
    using Layout = StatusLayout;
    StatusPage page;
    page.Publish();
    engine.status = &page;
    const std::string file = store.folder.path / "runtime" / "HollowbrookLabs" / StatusFileName(getpid());
    std::string bytes;
    const auto read = [&](auto field) {
        bytes = testing_support::ReadFile(file);
        return Get(std::as_bytes(std::span(bytes)), field);
    };
    machinery.outputState = {1500, 500, 3, true};
    machinery.waited = 0;
    auto context = StartContext();
    AwaitBlocks(20);
    EXPECT_EQ(read(Layout::ringFrames), 1500U);
    EXPECT_EQ(read(Layout::serverFrames), 500U);
    EXPECT_EQ(read(Layout::latencyFrames), 1744U);  // half a block less, which is the last of them
    EXPECT_EQ(read(Layout::flags), Layout::outputAway);
    EXPECT_EQ(read(Layout::outputCount), 2U);
    EXPECT_EQ(read(StatusOutputFields(1).name), "R");
    EXPECT_NEAR(read(StatusOutputFields(1).peak), 0.5F, 1e-4F);
    EXPECT_GT(read(Layout::loadMean), 0.02F);
    EXPECT_GE(read(Layout::greatestLoad), read(Layout::loadMean));
    RequestRestart([](orb3::GoalConfig&) {});
    AwaitBlocks(20);
    EXPECT_EQ(read(Layout::lateBlocks), 6U);
    context->server.End();
    EXPECT_EQ(read(Layout::outputCount), 0U);
    EXPECT_EQ(read(Layout::lateBlocks), 6U);
    EXPECT_NEAR(read(Layout::greatestPeak), 0.5F, 1e-4F);
    page.Withdraw();
}

// Blocks play for a tenth of a millisecond and take ten times as long, until there are no effects.
TEST_F(ServerThreadTest, ARunThatTheMachineIsTooSlowFor_GivesUpTheOrderThenEffects) {
    Configure([](orb3::GoalConfig& c) { c.order = 2; });
    machinery.waited = 0;
    machinery.rate = 5'120'000;
    const auto context = StartContext();
    while (!log.Has("E:Restarting with no effects, since this machine can't keep up."))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(log.Has("E:This machine can't keep up: what plays in a second takes "));
    EXPECT_TRUE(log.Has("E:Restarting with order 1, "));
    EXPECT_TRUE(log.Has("E:Restarting with low effects quality, "));
    AwaitBlocks(1);
    EXPECT_EQ(machinery.renderedOrder, 1);
    RequestRestart([](orb3::GoalConfig&) {});
    AwaitBlocks(100);
    EXPECT_EQ(machinery.renderedOrder, 2);
}

TEST(LoadMeter, TellsTheShareOfEachWindowButTheFirst) {
    LoadMeter meter(0.01);
    std::vector<double> shares;
    for (int i = 0; i <= 150; ++i)
        if (const auto share = meter.Note(9 + i * 0.012, 3 + i * 0.003)) shares.push_back(*share);
    ASSERT_EQ(shares.size(), 2U);
    for (const double share : shares)
        EXPECT_NEAR(share, 0.9, 1e-6);
}

TEST_F(ServerThreadTest, Stop_DuringARestartOnTheLatestConfiguration_EndsWithTheReport) {
    Configure([](orb3::GoalConfig& c) {
        c.isLoggingVerbose = true;
        c.isSuspendSupported = false;
    });
    slib::Semaphore reached, goOn;
    machinery.at = [&](const std::string& step) {
        if (step != "decoder" || machinery.runs == 0) return;
        reached.Post();
        goOn.Wait();
    };
    auto context = StartContext();
    {
        const slib::Lock lock(context->stateMutex);
        context->suspendUsed = true;
        context->application.sources.append(Source());
        context->application.slots.append({});
        context->application.slots.append({});
    }
    AwaitBlocks(2);
    RequestRestart([](orb3::GoalConfig& c) { c.order = 1; });
    RequestRestart([](orb3::GoalConfig& c) { c.order = 2; });
    reached.Wait();
    EXPECT_TRUE(log.Has("I:Restarting because of configuration change."));
    EXPECT_FALSE(log.Has("Ran with"));
    EXPECT_EQ(machinery.request.order, 2);
    const int before = machinery.blocks;
    std::thread stopper([&] { context.reset(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    goOn.Post();
    stopper.join();
    EXPECT_EQ(machinery.blocks, before);
    EXPECT_TRUE(log.Has("Hz, block size 512), suspend/process is disabled."));
    EXPECT_TRUE(log.Has(
        "Ran with 1 source and 2 effect slots. Suspend/process was used (but is currently disabled)."));
}

}  // namespace
}  // namespace goal
