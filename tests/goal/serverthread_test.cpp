// The server's life, driven through parts that a test scripts: what it asks them for, what it says, and how
// it ends.

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

class RecordingLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        const slib::Lock lock(mutex);
        lines += (isError ? "E " : "I ") + text + "\n";
    }
    std::string Lines() {
        const slib::Lock lock(mutex);
        return lines;
    }
    bool Has(const std::string& text) { return Lines().find(text) != std::string::npos; }

private:
    slib::Mutex mutex;
    std::string lines;
};

// A run made of nothing, which a test may have answer otherwise or fail at a step.
class ScriptedMachinery : public Machinery {
public:
    std::function<void(const std::string&)> at = [](const std::string&) {};  // called at each step; may throw
    std::function<void(OutputSetUp&)> answer = [](OutputSetUp&) {};

    SetUpRequest request;
    int filterOrder = 0;
    std::uint32_t decoderInputs = 0;
    std::vector<DirectFeed> lastFeeds;
    std::atomic<int> blocks{0}, runs{0};
    std::string destroyed;

    std::unique_ptr<FormatLibrary> OpenFormatLibrary(const std::string&, slib::Log*) override {
        at("library");
        return std::make_unique<Noted<FormatLibrary>>(*this, "library");
    }

    std::unique_ptr<OutputSetUp> SetUp(const SetUpRequest& asked, slib::Log*, slib::Log*,
                                       orb3::Configuration& configuration, FormatLibrary&) override {
        request = asked;
        at("setup");
        auto output = std::make_unique<Output>(*this, "output");
        output->sampleRate = 48000;
        output->transformInputs = 25;
        output->formatName = "Quad";
        output->methodName = "Basic";
        answer(*output);
        if (output->isConfigurationChanged) configuration.selectedName = "Chosen";
        return output;
    }

    std::unique_ptr<BlockRenderer> CreateRenderer(double, const orb3::Configuration&, int order,
                                                  std::uint32_t, slib::Log*) override {
        filterOrder = order;
        at("renderer");
        return std::make_unique<Renderer>(*this, "renderer");
    }

private:
    template <typename Base>
    struct Noted : Base {
        Noted(ScriptedMachinery& owner, const char* name) : owner(owner), name(name) {}
        ~Noted() override { owner.destroyed += name + std::string(" "); }
        ScriptedMachinery& owner;
        const char* name;
    };

    struct ScriptedDecoder : Noted<Decoder> {
        using Noted::Noted;
        std::uint32_t BlockFrames() const override { return 512; }
        void writeBus(const hcml::ac::Bus&, std::span<const DirectFeed> feeds) override {
            owner.lastFeeds.assign(feeds.begin(), feeds.end());
            ++owner.blocks;
            owner.at("write");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        void reportPeak(slib::Log* log) override { log->Write("Peak.", false); }
    };

    struct Output : Noted<OutputSetUp> {
        using Noted::Noted;
        std::unique_ptr<Decoder> CreateDecoder(std::uint32_t inputs, slib::Log*, bool) override {
            owner.decoderInputs = inputs;
            owner.at("decoder");
            ++owner.runs;
            return std::make_unique<ScriptedDecoder>(owner, "decoder");
        }
    };

    struct Renderer : Noted<BlockRenderer> {
        using Noted::Noted;
        void renderBlock(RenderSnapshot&, RenderOutput& output) override {
            output.lowFrequencyWritten = output.hasLowFrequency;
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

    std::string StartFailure() {
        try {
            StartContext();
        } catch (const slib::BadStateException& exception) {
            return exception.what();
        }
        return "";
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
    EXPECT_EQ(log.Lines(), R"(I Verbose logging is enabled.
I Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty.
I Using decoder of order 3 for 'Quad', method 'Basic'.
I Decoder started (sample rate 48kHz).
I Renderer started (refresh rate 93.8Hz, block size 512).
I Rendering started.
I Stopping Tessarune.
I Peak.
I Ran with 0 sources and 0 effect slots. Suspend/process was not used.
I Stopped Tessarune.
)");
    EXPECT_EQ(machinery.destroyed, "renderer decoder output library ");
}

TEST_F(ServerThreadTest, Start_WithoutVerboseLogging_TellsOnlyStartStopAndPeak) {
    Configure([](orb3::GoalConfig& c) { c.measureOutputPeak = false; });
    StartContext().reset();
    EXPECT_EQ(log.Lines(),
              "I Starting Tessarune 32bit v2.5.1cm. Free software under the MIT licence, without warranty.\n"
              "I Stopped Tessarune.\n");
}

TEST_F(ServerThreadTest, Request_CarriesTheSettingsAndTheGamesRateUnlessTold) {
    struct Case {
        double attribute;
        bool isIgnored;
        std::uint32_t expected;
    };
    for (const Case& rate : {Case{-1, false, 44100}, {22050, false, 22050}, {22050, true, 44100}}) {
        Configure([&](orb3::GoalConfig& c) {
            c.ignoreGameSampleRate = rate.isIgnored;
            c.defaultSampleRate = 44100;
            c.gain = c.order = c.defaultFilterOrder = 2;
            c.suggestedBufferLength = 256;
            c.suggestedBufferCount = 5;
        });
        StartContext(rate.attribute).reset();
        EXPECT_EQ(machinery.request.sampleRate, rate.expected);
    }
    EXPECT_EQ(machinery.request.order, 2);
    EXPECT_EQ(machinery.request.bufferLength, 256);
    EXPECT_EQ(machinery.request.bufferCount, 5);
    EXPECT_DOUBLE_EQ(machinery.request.gain, 0.9);
    EXPECT_EQ(machinery.filterOrder, 2);
    EXPECT_EQ(machinery.decoderInputs, 9U);
}

TEST_F(ServerThreadTest, Answers_OfTheSetUp_AreTakenAndStored) {
    machinery.answer = [](OutputSetUp& output) {
        output.sampleRate = 96000;
        output.isConfigurationChanged = true;
        output.bassOutputs = {{3, 0.5F}, {5, 0.25F}};
    };
    auto context = StartContext(22050);
    AwaitBlocks(1);
    EXPECT_EQ(context->refreshRate, 187.5);
    context.reset();
    EXPECT_EQ(engine.configuration.Read([](const orb3::Configuration& c) { return c.selectedName; }),
              "Chosen");
    EXPECT_NE(orb3::ReadSpeakerConfiguration().find("SelectedName=\"Chosen\""), std::string::npos);
    ASSERT_EQ(machinery.lastFeeds.size(), 2U);
    EXPECT_EQ(machinery.lastFeeds[1].channel, 5U);
    EXPECT_EQ(machinery.lastFeeds[1].gain, 0.25F);
}

TEST_F(ServerThreadTest, Start_WhenAStepFails_TellsWhichAndLeavesNothing) {
    const std::pair<std::string, std::string> explanations[] = {
        {"library", "Unable to locate format library. You probably need to reinstall. The error was: "},
        {"setup", "Have you run the configuration program? Failed to set up speakers: "},
        {"decoder", ""},
        {"renderer", ""}};
    for (const auto& [failing, explanation] : explanations) {
        machinery.at = [&](const std::string& step) {
            if (step == failing) throw slib::BadDataException("It broke.");
        };
        EXPECT_EQ(StartFailure(), "Failed to start: " + explanation + "It broke.");
        EXPECT_TRUE(log.Has("E Exception: " + explanation + "It broke.\n"));
    }
    machinery.at = [](const std::string&) { throw 1; };
    EXPECT_EQ(StartFailure(), "Failed to start: An unknown exception.");
    EXPECT_FALSE(log.Has("Ran with"));
}

TEST_F(ServerThreadTest, Start_WithoutAUsableRateOrALibraryPath_Fails) {
    Configure([](orb3::GoalConfig& c) { c.defaultSampleRate = 0; });
    EXPECT_EQ(StartFailure(), "Failed to start: Bad sample rate in configuration: 0");
    std::ofstream(store.MachineFile()) << "[Other]\nx=1\n";
    EXPECT_EQ(StartFailure(), "Failed to start: No format library is configured.");
}

TEST_F(ServerThreadTest, Run_WhenABlockFails_EndsWithALineAndDoesNotHang) {
    machinery.at = [this](const std::string&) {
        if (machinery.blocks == 3) throw slib::BadStateException("The output went.");
    };
    auto context = StartContext();
    while (!log.Has("E Exception: The output went."))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    context.reset();
    EXPECT_EQ(machinery.blocks, 3);
    EXPECT_FALSE(log.Has("Ran with"));
}

TEST_F(ServerThreadTest, Restart_BuildsAnewOnTheLatestConfiguration) {
    const auto context = StartContext();
    AwaitBlocks(2);
    RequestRestart([](orb3::GoalConfig& c) { c.order = 1; });
    RequestRestart([](orb3::GoalConfig& c) { c.order = 2; });
    while (machinery.runs < 2)
        AwaitBlocks(1);
    AwaitBlocks(2);
    EXPECT_TRUE(log.Has("I Restarting because of configuration change."));
    EXPECT_FALSE(log.Has("Ran with"));
    const slib::Lock lock(engine.configuration.configurationMutex);
    EXPECT_EQ(engine.configuration.configuration.goalConfig.order, 2);
    EXPECT_FALSE(engine.configuration.isRestartRequested);
}

TEST_F(ServerThreadTest, Stop_DuringTheSetUpOfARestart_EndsWithTheReport) {
    Configure([](orb3::GoalConfig& c) { c.isLoggingVerbose = true; });
    slib::Semaphore reached, goOn;
    machinery.at = [&](const std::string& step) {
        if (step != "decoder" || machinery.runs == 0) return;
        reached.Post();
        goOn.Wait();
    };
    auto context = StartContext();
    RequestRestart([](orb3::GoalConfig&) {});
    reached.Wait();
    const int before = machinery.blocks;
    std::thread stopper([&] { context.reset(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    goOn.Post();
    stopper.join();
    EXPECT_EQ(machinery.blocks, before);
    EXPECT_TRUE(log.Has("Ran with 0 sources and 0 effect slots."));
}

TEST_F(ServerThreadTest, Report_CountsDeletedEntriesAndTellsOfSuspension) {
    Configure([](orb3::GoalConfig& c) {
        c.isLoggingVerbose = true;
        c.isSuspendSupported = false;
    });
    auto context = StartContext();
    {
        const slib::Lock lock(context->stateMutex);
        context->suspendUsed = true;
        context->application.sources.append(Source());
        context->application.slots.append({});
        context->application.slots.append({});
    }
    AwaitBlocks(2);
    context.reset();
    EXPECT_TRUE(log.Has("Hz, block size 512), suspend/process is disabled."));
    EXPECT_TRUE(log.Has(
        "Ran with 1 source and 2 effect slots. Suspend/process was used (but is currently disabled)."));
}

TEST(ResolveOrder, NeverExceedsTheTransform) {
    const auto resolved = [](std::uint32_t inputs, int configured) {
        try {
            return std::to_string(ResolveOrder(inputs, configured));
        } catch (const slib::BadDataException& exception) {
            return std::string(exception.what());
        }
    };
    EXPECT_EQ(resolved(4, 4), "1");
    EXPECT_EQ(resolved(17, 4), "3");
    EXPECT_EQ(resolved(25, 4), "4");
    EXPECT_EQ(resolved(25, 1), "1");
    EXPECT_EQ(resolved(2, 3), "Invalid transform (less that first order).");
    EXPECT_EQ(resolved(8, 3),
              "Unable to resolve the decoding order because the configured transform had an "
              "input channel count of 8.");
}

}  // namespace
}  // namespace goal
