#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "orb3core/setup/layoutselection.h"
#include "orb3core/setup/speakerconnection.h"
#include "platform/outputdevice.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/warnings.h"
#include "tools/manage/connection.h"
#include "tools/manage/machine.h"
#include "tools/manage/start.h"
#include "tools/support/table.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config check
  tessarune-config check --rate 44100     for a game that asks for this rate

Nothing is stored, and no device is opened for playing. Exit status 1 when a start would fail.)";

Json ToJson(const KeptLog& log) {
    Json array = Json::array();
    for (const KeptLog::Line& line : log.Lines())
        array.push_back({{"is_error", line.isError}, {"text", line.text}});
    return array;
}

void Print(const KeptLog& log) {
    const std::vector<KeptLog::Line> lines = log.Lines();
    if (!lines.empty()) std::cout << "The start would log, E for errors:\n";
    for (const KeptLog::Line& line : lines)
        std::cout << "  " << (line.isError ? "E " : "I ") << line.text << "\n";
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
    PrintWarnings(BassWarnings(layout));
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
        Print(log);
        CheckRate(outcome, frameworks);
        std::cout << (outcome.StoresLayout()
                          ? "A start would work, and store the layout. Nothing was stored now.\n"
                      : outcome.mayStore
                          ? "A start would work.\n"
                          : "A start would work, on the defaults, and store nothing in place of "
                            "the configuration that can't be used.\n");
    } catch (const slib::StringException& failure) {
        Print(log);
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
        document["log"] = ToJson(log);
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
    CommandLine* command = program.AddCommand("check", "Show what a game's start would do, and why.");
    command->SetFooter(examples);
    command->AddOption("--rate", *rate, "Sample rate in Hz that the game asks for")
        ->TakeRange(static_cast<int>(platform::lowestRate), static_cast<int>(platform::highestRate));
    AddJsonFlag(*command, *isJson);
    command->OnUse([rate, isJson] { *isJson ? CheckForPrograms(*rate) : Check(*rate); });
}

}  // namespace tool
