#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "orb3core/decoder/transformedpipe.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "orb3core/setup/layoutselection.h"
#include "orb3core/setup/outputsetup.h"
#include "orb3core/setup/speakerconnection.h"
#include "platform/outputdevice.h"
#include "slib/mutex.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/connection.h"
#include "tools/config/drydevice.h"
#include "tools/config/machine.h"
#include "tools/config/storedvalues.h"
#include "tools/support/table.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config check
  tessarune-config check --rate 44100     for a game that asks for this rate

Nothing is stored, and no device is opened for playing. Exit status 1 when a start would fail.)";

// Keeps what a start would write to the log.
class KeptLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        const slib::Lock lock(mutex);
        lines.push_back((isError ? "E " : "I ") + text);
    }
    Json ToJson() const {
        const slib::Lock lock(mutex);
        Json array = Json::array();
        for (const std::string& line : lines)
            array.push_back({{"is_error", line.starts_with('E')}, {"text", line.substr(2)}});
        return array;
    }
    void Print() const {
        const slib::Lock lock(mutex);
        if (!lines.empty()) std::cout << "The start would log, E for errors:\n";
        for (const std::string& line : lines)
            std::cout << "  " << line << "\n";
    }

private:
    mutable slib::Mutex mutex;
    std::vector<std::string> lines SLIB_GUARDED_BY(mutex);
};

// What a start comes to.
struct Outcome {
    orb3::Configuration before, after;
    orb3::OutputRequest request;
    orb3::OutputSetUp output;
    bool mayStore = true;             // the stored document could be used, or there is none
    int order = 1;                    // of the bus
    std::uint32_t blockFrames = 0;    // rendered at a time
    std::uint32_t decoderFrames = 0;  // by which the decoder lags

    bool StoresLayout() const { return output.isConfigurationChanged && mayStore; }
    // A block is rendered as soon as there is room for it.
    std::uint32_t AheadFrames() const {
        const std::uint32_t lead = output.pipe->GetLatency() + 2 * output.pipe->GetBufferLength();
        return lead - std::min(lead, blockFrames);
    }
    // From the call to the speaker, on average.
    std::uint32_t LatencyFrames() const { return blockFrames / 2 + decoderFrames + AheadFrames(); }
};

// All that a start does but to open the device and to store what it found.
Outcome TryStart(const FormatLibrary& library, const orb3::Frameworks& frameworks, int gameRate,
                 KeptLog& log) {
    Outcome outcome;
    orb3::SharedConfiguration shared(&log);
    outcome.before = shared.Read([](const orb3::Configuration& configuration) { return configuration; });
    outcome.mayStore = shared.MayStore();
    outcome.after = outcome.before;
    const orb3::GoalConfig& settings = outcome.after.goalConfig;
    outcome.request = orb3::RequestFor(settings, gameRate);
    outcome.output = orb3::SetUp(&log, &log, outcome.after, WithDryDevices(frameworks), library.Librarian(),
                                 outcome.request);
    outcome.order = orb3::FitToBus(outcome.output.transform, settings.order);
    const auto decoder = orb3::createTransformedPipe(
        outcome.output.transform, &log, outcome.output.pipe,
        settings.useParallelDecoder ? orb3::DecoderMode::Parallel : orb3::DecoderMode::Serial,
        orb3::Limiting::Refined);
    outcome.blockFrames = decoder->blockFrames;
    outcome.decoderFrames = decoder->LatencyFrames();
    return outcome;
}

std::string WhyLayout(const Outcome& outcome) {
    if (!outcome.output.isConfigurationChanged)
        return outcome.after.useDirectSoundAutoselect ? "stored, and fits the system's speakers"
                                                      : "stored, and doesn't follow the system's speakers";
    return orb3::FindSelectedLayout(outcome.before)
               ? "in place of '" + outcome.before.selectedName + "', see below"
               : "by the system's speakers, since none is stored";
}

std::string WhyRate(const Outcome& outcome, int gameRate) {
    const orb3::GoalConfig& settings = outcome.after.goalConfig;
    if (settings.ignoreGameSampleRate) return "DefaultSampleRate, whatever a game asks for";
    return gameRate > 0 ? "as the game asks" : "DefaultSampleRate, where a game asks for no other";
}

std::string WhyOrder(const Outcome& outcome) {
    const int wanted = outcome.after.goalConfig.order;
    return outcome.order == wanted
               ? "as set"
               : "the setting is " + std::to_string(wanted) + "; the layout has no decoder of that order";
}

// As people write it: "920 us", "10.7 ms".
std::string Duration(double seconds) {
    if (seconds < 0.001) return std::to_string(std::lround(seconds * 1e6)) + " us";
    return slib::FormatNumber(std::round(seconds * 1e4) / 10, 6) + " ms";
}

std::string Frames(std::uint32_t frames, const Outcome& outcome) {
    return std::to_string(frames) + " frames, " + Duration(frames / outcome.output.pipe->GetSampleRate());
}

void Print(const Outcome& outcome, const FormatLibrary& library, int gameRate) {
    const orb3::spk::Layout& layout = *orb3::FindSelectedLayout(outcome.after);
    audiopipe::Pipe& pipe = *outcome.output.pipe;
    const std::string rate = std::to_string(std::lround(pipe.GetSampleRate())) + " Hz";
    std::cout << "Library  " << library.path << "\n";
    Table table({{"", ""}, {"", ""}, {"", ""}});
    table.AddRow(
        {"Device", layout.pipeDevice, std::to_string(pipe.GetPlaybackChannelCount()) + " outputs in use"});
    table.AddRow({"Layout", layout.format, WhyLayout(outcome)});
    table.AddRow({"Method", outcome.output.methodName, ""});
    table.AddRow({"Order", outcome.order, WhyOrder(outcome)});
    table.AddRow({"Rate", rate, WhyRate(outcome, gameRate)});
    table.AddRow({"Block", Frames(outcome.blockFrames, outcome), ""});
    table.AddRow(
        {"Latency", Frames(outcome.LatencyFrames(), outcome),
         "from a call to the speaker, from the start on: half a block, the decoder's " +
             std::to_string(outcome.decoderFrames) + ", and " + std::to_string(outcome.AheadFrames()) +
             " ahead of what is heard, with " + std::to_string(pipe.GetBufferCount()) +
             " blocks of the output; more where the sound server's buffer, which lies within, needs it"});
    table.PrintAligned(std::cout, "", false);
    WarnOfBassOutputs(layout);
}

Json BassOutputs(const orb3::spk::Layout& layout) {
    Json speakers = Json::array();
    for (const std::size_t i : orb3::SpeakersOnBassOutputs(layout))
        speakers.push_back(layout.speakers[i].label);
    return speakers;
}

Json ToJson(const Outcome& outcome, const FormatLibrary& library, int gameRate) {
    const orb3::spk::Layout& layout = *orb3::FindSelectedLayout(outcome.after);
    audiopipe::Pipe& pipe = *outcome.output.pipe;
    return {{"library", library.path},
            {"device", layout.pipeDevice},
            {"outputs", pipe.GetPlaybackChannelCount()},
            {"layout", layout.format},
            {"layout_reason", WhyLayout(outcome)},
            {"stores_layout", outcome.StoresLayout()},
            {"speakers_on_bass_outputs", BassOutputs(layout)},
            {"method", outcome.output.methodName},
            {"order", outcome.order},
            {"order_reason", WhyOrder(outcome)},
            {"rate", std::lround(pipe.GetSampleRate())},
            {"rate_reason", WhyRate(outcome, gameRate)},
            {"block_frames", outcome.blockFrames},
            {"decoder_frames", outcome.decoderFrames},
            {"output_blocks", pipe.GetBufferCount()},
            {"ahead_frames", outcome.AheadFrames()},
            {"latency_frames", outcome.LatencyFrames()},
            {"latency_seconds", outcome.LatencyFrames() / pipe.GetSampleRate()}};
}

void CheckRate(const Outcome& outcome, const orb3::Frameworks& frameworks) {
    const Output device = FindOutput(frameworks, orb3::FindSelectedLayout(outcome.after)->pipeDevice);
    if (!device.device->IsSampleRateSupported(outcome.request.sampleRate))
        throw slib::BadStateException("The sample rate must be one that the device runs at, not " +
                                      std::to_string(outcome.request.sampleRate) +
                                      " Hz. Choose another: tessarune-config set DefaultSampleRate 48000.");
}

[[noreturn]] void Fail(const slib::StringException& failure) {
    throw slib::BadStateException(
        std::string("A start would fail. ") + failure.what() +
        " 'tessarune-config devices' and 'layouts' list what there is; 'tessarune-config select LAYOUT' "
        "sets one up anew.");
}

void Check(int gameRate) {
    KeptLog log;
    const FormatLibrary library(log);
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    try {
        const Outcome outcome = TryStart(library, frameworks, gameRate, log);
        Print(outcome, library, gameRate);
        log.Print();
        CheckRate(outcome, frameworks);
        std::cout << (outcome.StoresLayout()
                          ? "A start would work, and store the layout. Nothing was stored now.\n"
                      : outcome.mayStore
                          ? "A start would work.\n"
                          : "A start would work, on the defaults, and store nothing in place of "
                            "the configuration that can't be used.\n");
    } catch (const slib::StringException& failure) {
        log.Print();
        Fail(failure);
    }
}

void CheckForPrograms(int gameRate) {
    KeptLog log;
    const FormatLibrary library(log);
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    Json document = Json::object();
    document["would_start"] = false;
    const auto print = [&] {
        document["log"] = log.ToJson();
        PrintJson(document);
    };
    try {
        const Outcome outcome = TryStart(library, frameworks, gameRate, log);
        document.update(ToJson(outcome, library, gameRate));
        CheckRate(outcome, frameworks);
        document["would_start"] = true;
    } catch (const slib::StringException& failure) {
        print();
        Fail(failure);
    }
    print();
}

}  // namespace

void AddCheckCommand(Program& program) {
    const auto rate = std::make_shared<int>(0);
    const auto isJson = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("check", "Show what a game's start would do, and why.");
    command->footer(examples);
    command->add_option("--rate", *rate, "Sample rate in Hz that the game asks for")
        ->check(CLI::Range(static_cast<int>(platform::lowestRate), static_cast<int>(platform::highestRate)));
    AddJsonFlag(*command, *isJson);
    command->callback([rate, isJson] { *isJson ? CheckForPrograms(*rate) : Check(*rate); });
}

}  // namespace tool
