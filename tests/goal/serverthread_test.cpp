// The server's life, driven through parts that a test scripts: what it asks them for, what it says, and how it ends.

#include "goal/serverthread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "goal/context.h"
#include "orb3core/configstore.h"
#include "slib/exception.h"
#include "temporaryfolder.h"

namespace goal {
namespace {

using testing_support::TemporaryStore;

class RecordingLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        const slib::Lock lock(mutex);
        lines.push_back((isError ? "E " : "I ") + text);
    }

    bool Has(const std::string& text) {
        const slib::Lock lock(mutex);
        for (const std::string& line : lines)
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    std::vector<std::string> Lines() {
        const slib::Lock lock(mutex);
        return lines;
    }

private:
    slib::Mutex mutex;
    std::vector<std::string> lines;
};

// A run made of nothing, with knobs for what it answers and where it fails.
class ScriptedMachinery : public Machinery {
public:
    std::function<void(const char*)> at = [](const char*) {};  // called at each step; may throw
    double sampleRate = 48000;
    std::uint32_t transformInputs = 25;
    std::uint32_t blockFrames = 512;
    bool isConfigurationChanged = false;
    std::vector<DedicatedOutput> bassOutputs;

    SetUpRequest request;
    int filterOrder = 0;
    std::uint32_t busChannels = 0;
    std::uint32_t decoderInputs = 0;
    std::vector<DirectFeed> lastFeeds;
    std::atomic<int> blocks{0};
    std::atomic<int> runs{0};
    std::vector<std::string> destroyed;

    std::unique_ptr<FormatLibrary> OpenFormatLibrary(const std::string&, slib::Log*) override {
        at("library");
        return std::make_unique<Noted<FormatLibrary>>(*this, "library");
    }

    std::unique_ptr<OutputSetUp> SetUp(const SetUpRequest& asked, slib::Log*, slib::Log*,
                                       orb3::Configuration& configuration, FormatLibrary&) override {
        request = asked;
        at("setup");
        if (isConfigurationChanged) configuration.selectedName = "Chosen";
        auto output = std::make_unique<Output>(*this);
        output->sampleRate = sampleRate;
        output->transformInputs = transformInputs;
        output->formatName = "Quad";
        output->methodName = "Basic";
        output->isConfigurationChanged = isConfigurationChanged;
        output->bassOutputs = bassOutputs;
        return output;
    }

    std::unique_ptr<BlockRenderer> CreateRenderer(double, const orb3::Configuration&, int order, std::uint32_t,
                                                  slib::Log*) override {
        filterOrder = order;
        at("renderer");
        return std::make_unique<Renderer>(*this);
    }

private:
    template <typename Base>
    struct Noted : Base {
        Noted(ScriptedMachinery& owner, const char* name) : owner(owner), name(name) {}
        ~Noted() override { owner.destroyed.emplace_back(name); }
        ScriptedMachinery& owner;
        const char* name;
    };

    struct ScriptedDecoder : Noted<Decoder> {
        explicit ScriptedDecoder(ScriptedMachinery& owner) : Noted(owner, "decoder") { ++owner.runs; }
        std::uint32_t BlockFrames() const override { return owner.blockFrames; }
        void writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) override {
            owner.busChannels = bus.channelCount;
            owner.lastFeeds.assign(feeds.begin(), feeds.end());
            ++owner.blocks;
            owner.at("write");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        void reportPeak(slib::Log* log) override { log->Write("Peak.", false); }
    };

    struct Output : Noted<OutputSetUp> {
        explicit Output(ScriptedMachinery& owner) : Noted(owner, "output") {}
        std::unique_ptr<Decoder> CreateDecoder(std::uint32_t inputs, slib::Log*, bool) override {
            owner.decoderInputs = inputs;
            owner.at("decoder");
            return std::make_unique<ScriptedDecoder>(owner);
        }
    };

    struct Renderer : Noted<BlockRenderer> {
        explicit Renderer(ScriptedMachinery& owner) : Noted(owner, "renderer") {}
        void renderBlock(RenderSnapshot&, RenderOutput& output) override {
            output.lowFrequencyWritten = output.hasLowFrequency;
            owner.at("render");
        }
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

    std::string StartFailure(double frequency = -1) {
        try {
            StartContext(frequency);
        } catch (const slib::BadStateException& exception) {
            return exception.what();
        }
        return "";
    }

    void AwaitBlocks(int count) {
        const int wanted = machinery.blocks + count;
        while (machinery.blocks < wanted)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void RequestRestart(const orb3::Configuration& configuration) {
        const slib::Lock lock(engine.configuration.configurationMutex);
        engine.configuration.pendingConfiguration = configuration;
        engine.configuration.isRestartRequested = true;
    }

    TemporaryStore store;
    RecordingLog log;
    ScriptedMachinery machinery;
    Engine engine{&log, &machinery};
};

TEST_F(ServerThreadTest, Start_OnAUsableMachine_RendersAndReportsInTheLog) {
    Configure([](orb3::GoalConfig& c) { c.isLoggingVerbose = true; });
    {
        const auto context = StartContext();
        AwaitBlocks(3);
        const slib::Lock lock(context->timingMutex);
        EXPECT_EQ(context->sampleRate, 48000);
        EXPECT_EQ(context->refreshRate, 93.75);
        EXPECT_EQ(context->blockFrames, 512U);
    }
    const std::vector<std::string> expected{
        "I Verbose logging is enabled.",
        "I Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty.",
        "I Using decoder of order 3 for 'Quad', method 'Basic'.",
        "I Decoder started (sample rate 48kHz).",
        "I Renderer started (refresh rate 93.8Hz, block size 512).",
        "I Rendering started.",
        "I Stopping Tessarune.",
        "I Peak.",
        "I Ran with 0 sources and 0 effect slots. Suspend/process was not used.",
        "I Stopped Tessarune.",
    };
    std::vector<std::string> lines = log.Lines();
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(machinery.destroyed, (std::vector<std::string>{"renderer", "decoder", "output", "library"}));
}

TEST_F(ServerThreadTest, Start_WithoutVerboseLogging_TellsOnlyStartStopAndPeak) {
    Configure([](orb3::GoalConfig& c) { c.measureOutputPeak = false; });
    StartContext().reset();
    EXPECT_EQ(log.Lines(),
              (std::vector<std::string>{
                  "I Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty.",
                  "I Stopped Tessarune."}));
}

TEST_F(ServerThreadTest, Request_CarriesTheSettings) {
    Configure([](orb3::GoalConfig& c) {
        c.gain = 2;
        c.order = 2;
        c.suggestedBufferLength = 256;
        c.suggestedBufferCount = 5;
        c.defaultFilterOrder = 2;
    });
    StartContext().reset();
    EXPECT_EQ(machinery.request.order, 2);
    EXPECT_EQ(machinery.request.bufferLength, 256);
    EXPECT_EQ(machinery.request.bufferCount, 5);
    EXPECT_DOUBLE_EQ(machinery.request.gain, 0.9);
    EXPECT_EQ(machinery.filterOrder, 2);
    EXPECT_EQ(machinery.decoderInputs, 9U);
}

struct RateCase {
    double attribute;
    bool ignored;
    std::uint32_t expected;
};

class ServerRateTest : public ServerThreadTest, public testing::WithParamInterface<RateCase> {};

TEST_P(ServerRateTest, Request_TakesTheGamesRateUnlessTold) {
    Configure([](orb3::GoalConfig& c) {
        c.ignoreGameSampleRate = GetParam().ignored;
        c.defaultSampleRate = 44100;
    });
    StartContext(GetParam().attribute).reset();
    EXPECT_EQ(machinery.request.sampleRate, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rates, ServerRateTest,
                         testing::Values(RateCase{-1, false, 44100}, RateCase{22050, false, 22050},
                                         RateCase{22050, true, 44100}));

TEST_F(ServerThreadTest, Run_WhenTheOutputAnswersAnotherRate_UsesIt) {
    machinery.sampleRate = 96000;
    const auto context = StartContext(22050);
    const slib::Lock lock(context->timingMutex);
    EXPECT_EQ(context->sampleRate, 96000);
}

struct FailureCase {
    const char* step;
    const char* text;
};

class ServerFailureTest : public ServerThreadTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(ServerFailureTest, Start_WhenAStepFails_TellsWhichAndLeavesNothing) {
    machinery.at = [](const char* step) {
        if (std::string(step) == GetParam().step) throw slib::BadDataException("It broke.");
    };
    const std::string text = GetParam().text + std::string("It broke.");
    EXPECT_EQ(StartFailure(), "Failed to start: " + text);
    EXPECT_TRUE(log.Has("E Exception: " + text));
    EXPECT_FALSE(log.Has("Ran with"));
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ServerFailureTest,
    testing::Values(FailureCase{"library",
                                "Unable to locate format library. You probably need to reinstall. The error was: "},
                    FailureCase{"setup", "Have you run the configuration program? Failed to set up speakers: "},
                    FailureCase{"decoder", ""}, FailureCase{"renderer", ""}));

TEST_F(ServerThreadTest, Start_WithoutALibraryPath_Fails) {
    std::filesystem::remove(store.MachineFile());
    std::ofstream(store.MachineFile()) << "[Other]\nx=1\n";
    EXPECT_EQ(StartFailure(), "Failed to start: No format library is configured.");
}

TEST_F(ServerThreadTest, Start_WithoutAUsableRate_Fails) {
    Configure([](orb3::GoalConfig& c) { c.defaultSampleRate = 0; });
    EXPECT_EQ(StartFailure(), "Failed to start: Bad sample rate in configuration: 0");
}

TEST_F(ServerThreadTest, Run_WhenABlockFails_EndsWithALineAndDoesNotHang) {
    machinery.at = [this](const char* step) {
        if (std::string(step) == "write" && machinery.blocks == 3) throw slib::BadStateException("The output went.");
    };
    {
        const auto context = StartContext();
        while (!log.Has("E Exception: The output went."))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(machinery.blocks, 3);
    EXPECT_FALSE(log.Has("Ran with"));
}

TEST_F(ServerThreadTest, Run_WhenAnExceptionOfAnyOtherKindLeavesAStep_StillReleasesStart) {
    machinery.at = [](const char* step) {
        if (std::string(step) == "decoder") throw 1;
    };
    EXPECT_EQ(StartFailure(), "Failed to start: An unknown exception.");
}

TEST_F(ServerThreadTest, Restart_BuildsAnewOnTheLatestConfiguration) {
    const auto context = StartContext();
    AwaitBlocks(2);
    orb3::Configuration next;
    next.goalConfig.order = 1;
    RequestRestart(next);
    next.goalConfig.order = 2;
    RequestRestart(next);
    while (machinery.runs < 2)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    AwaitBlocks(2);
    EXPECT_TRUE(log.Has("I Restarting because of configuration change."));
    EXPECT_FALSE(log.Has("Ran with"));
    EXPECT_EQ(machinery.runs, 2);
    const slib::Lock lock(engine.configuration.configurationMutex);
    EXPECT_EQ(engine.configuration.configuration.goalConfig.order, 2);
    EXPECT_FALSE(engine.configuration.isRestartRequested);
}

TEST_F(ServerThreadTest, Stop_DuringTheSetUpOfARestart_EndsWithTheReport) {
    Configure([](orb3::GoalConfig& c) { c.isLoggingVerbose = true; });
    slib::Semaphore reached, goOn;
    machinery.at = [&](const char* step) {
        if (std::string(step) != "decoder" || machinery.runs == 0) return;
        reached.Post();
        goOn.Wait();
    };
    auto context = StartContext();
    AwaitBlocks(1);
    RequestRestart(engine.configuration.Read([](const orb3::Configuration& c) { return c; }));
    reached.Wait();
    const int before = machinery.blocks;
    std::thread stopper([&] { context.reset(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    goOn.Post();
    stopper.join();
    EXPECT_EQ(machinery.blocks, before);
    EXPECT_TRUE(log.Has("Ran with 0 sources and 0 effect slots."));
}

TEST_F(ServerThreadTest, SetUp_ThatChangedTheConfiguration_StoresIt) {
    machinery.isConfigurationChanged = true;
    StartContext().reset();
    EXPECT_EQ(engine.configuration.Read([](const orb3::Configuration& c) { return c.selectedName; }), "Chosen");
    EXPECT_NE(orb3::ReadSpeakerConfiguration().find("SelectedName=\"Chosen\""), std::string::npos);
}

TEST_F(ServerThreadTest, Block_WithADedicatedSignal_FeedsItsOutputs) {
    machinery.bassOutputs = {{3, 0.5F}, {5, 0.25F}};
    StartContext().reset();
    ASSERT_EQ(machinery.lastFeeds.size(), 2U);
    EXPECT_EQ(machinery.lastFeeds[0].channel, 3U);
    EXPECT_EQ(machinery.lastFeeds[0].gain, 0.5F);
    EXPECT_EQ(machinery.lastFeeds[1].channel, 5U);
    EXPECT_EQ(machinery.lastFeeds[1].gain, 0.25F);
}

TEST_F(ServerThreadTest, Report_CountsDeletedEntriesAndTellsOfSuspension) {
    Configure([](orb3::GoalConfig& c) {
        c.isLoggingVerbose = true;
        c.isSuspendSupported = false;
    });
    {
        const auto context = StartContext();
        {
            const slib::Lock lock(context->stateMutex);
            context->suspendUsed = true;
            context->application.sources.append(Source());
            context->application.slots.append({});
            context->application.slots.append({});
        }
        AwaitBlocks(2);
    }
    EXPECT_TRUE(log.Has("Hz, block size 512), suspend/process is disabled."));
    EXPECT_TRUE(log.Has("Ran with 1 source and 2 effect slots. Suspend/process was used (but is currently disabled)."));
}

struct OrderCase {
    std::uint32_t inputs;
    int configured;
    int expected;  // 0: the message of an unusable count, -1: that of too few inputs
};

class ResolveOrderTest : public testing::TestWithParam<OrderCase> {};

TEST_P(ResolveOrderTest, ResolveOrder_NeverExceedsTheTransform) {
    const auto [inputs, configured, expected] = GetParam();
    if (expected > 0) {
        EXPECT_EQ(ResolveOrder(inputs, configured), expected);
        return;
    }
    try {
        ResolveOrder(inputs, configured);
        ADD_FAILURE() << "No exception for " << inputs;
    } catch (const slib::BadDataException& exception) {
        EXPECT_EQ(std::string(exception.what()),
                  expected < 0 ? "Invalid transform (less that first order)."
                               : "Unable to resolve the decoding order because the configured transform had an "
                                 "input channel count of " +
                                     std::to_string(inputs) + ".");
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ResolveOrderTest,
                         testing::Values(OrderCase{4, 1, 1}, OrderCase{4, 4, 1}, OrderCase{9, 4, 2},
                                         OrderCase{16, 4, 3}, OrderCase{25, 4, 4}, OrderCase{25, 1, 1},
                                         OrderCase{17, 4, 3}, OrderCase{1, 3, -1}, OrderCase{2, 3, -1},
                                         OrderCase{0, 3, -1}, OrderCase{3, 3, 0}, OrderCase{8, 3, 0}));

}  // namespace
}  // namespace goal
