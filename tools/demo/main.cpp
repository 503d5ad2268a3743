// Plays a scene through the exported calls, to the speakers or into a WAV file, and shows what came of it.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "orb3core/settings/platformsettings.h"
#include "slib/exception.h"
#include "tools/demo/fieldrecording.h"
#include "tools/demo/levels.h"
#include "tools/demo/player.h"
#include "tools/demo/scene.h"
#include "tools/sounds/voices.h"
#include "tools/support/layoutnames.h"
#include "tools/support/logring.h"
#include "tools/support/nearest.h"
#include "tools/support/privatestore.h"
#include "tools/support/program.h"
#include "tools/support/realoutput.h"

namespace {

using platform::PlatformSettings;
using slib::StandardFormat;

constexpr const char* file = "tessarune-demo.wav";
constexpr const char* examples = R"(Examples:
  tessarune-demo
  tessarune-demo --part circle
  tessarune-demo --part room --room cave
  tessarune-demo --wav surround.wav --layout 5.1
  tessarune-demo --quick --layout headphones
  tessarune-demo --part circle --ambix circle.wav      the sound field, for other programs

)";

struct Options {
    std::string waveFile, ambixFile, part, layout;
    std::string room = "concerthall";
    std::string voiceFolder = tool::voiceFolder;
    bool isQuick = false;
    bool isListed = false;
};

// Where this run plays to.
struct Output {
    std::string waveFile;  // empty for what is heard
    StandardFormat speakers = StandardFormat::Stereo;
    bool areSpeakersGiven = false;
};

// The lines go nowhere: the library says the same when it finds the same.
class NoLog : public slib::Log {
public:
    void Write(const std::string&, bool) override {}
};

// By its name, or as people call it: "5.1", "headphones".
StandardFormat FindSpeakers(const std::string& text) {
    const std::vector<std::string> names = tool::StandardLayoutNames();
    if (const auto found = tool::FindMeant(names, text)) return slib::ParseStandardFormat(names[*found]);
    throw tool::WrongUse("--layout must be " + tool::Alternatives(names) + ", not '" + text + "'." +
                         tool::DidYouMean(names, text));
}

tool::Offer Rooms() {
    tool::Offer offer;
    for (const presets::ReverbPreset& preset : presets::ReverbPresets())
        offer.values.emplace_back(preset.name);
    return offer;
}

demo::Scene SceneOf(const Options& options) {
    using demo::Part;
    demo::Scene scene{{Part::Voices, Part::Circle, Part::Room},
                      options.voiceFolder,
                      presets::FindReverbPreset(options.room),
                      options.isQuick};
    if (scene.room == nullptr)
        throw tool::WrongUse("--room must be one of those that 'tessarune-demo --list' lists, not '" +
                             options.room + "'." + tool::DidYouMean(Rooms().values, options.room));
    if (options.part == "voices") scene.parts = {Part::Voices};
    if (options.part == "circle") scene.parts = {Part::Circle};
    if (options.part == "room") scene.parts = {Part::Room};
    return scene;
}

// Why it wouldn't be heard; empty when it is.
std::string WhyUnheard(const Options& options, const PlatformSettings& settings, slib::Log& log) {
    if (!options.layout.empty()) return "A layout given by --layout is recorded.";
    switch (settings.output) {
        case PlatformSettings::Output::Silent:
            return "Your setting 'Output' is 'Silent'.";
        case PlatformSettings::Output::WaveFile:
            return "Your setting 'Output' is 'WaveFile'.";
        case PlatformSettings::Output::Auto:
        case PlatformSettings::Output::PulseAudio:
        case PlatformSettings::Output::JACK:
        case PlatformSettings::Output::ALSA:
            return tool::DoesOutputAnswer(log) ? "" : "No sound server and no sound card answers.";
    }
    return {};
}

void CheckWritable(const std::string& path) {
    if (std::ofstream(path, std::ios::app)) return;
    throw slib::BadStateException("The file '" + path + "' can't be written: " + std::strerror(errno) +
                                  ". Name a file that you may write to with --wav FILE.");
}

Output ChooseOutput(const Options& options) {
    NoLog log;
    const PlatformSettings settings = orb3::ReadPlatformSettings(log);
    Output output{options.waveFile, settings.speakerSetting.value_or(StandardFormat::Stereo), false};
    if (!options.layout.empty()) {
        output.speakers = FindSpeakers(options.layout);
        output.areSpeakersGiven = true;
    }
    if (output.waveFile.empty()) {
        const std::string why = WhyUnheard(options, settings, log);
        if (why.empty()) {
            std::cout << "Playing on the default output; --wav FILE records instead.\n";
            return output;
        }
        output.waveFile = settings.output == PlatformSettings::Output::WaveFile ? settings.waveFile : file;
        std::cout << why << " The sound is recorded into a file; listen to that.\n";
    }
    output.waveFile = std::filesystem::absolute(output.waveFile).string();
    CheckWritable(output.waveFile);
    return output;
}

void PrintLog(const std::vector<std::string>& lines) {
    std::cout << "\nWhat the library logged:\n";
    for (const std::string& line : lines)
        std::cout << "  " << line << "\n";
    std::cout << std::endl;
}

// The player is destroyed, and so the recording complete, before it is read.
demo::Played PlayScene(const Options& options) {
    std::optional<demo::FieldRecording> recording;
    if (!options.ambixFile.empty()) recording.emplace(options.ambixFile);
    const demo::Player player;
    return demo::Play(player, SceneOf(options));
}

demo::Played PlayAndShowLog(const Options& options) {
    const tool::LogRing before = tool::ReadLogRing();
    try {
        demo::Played played = PlayScene(options);
        PrintLog(tool::AwaitLinesSince(before));
        return played;
    } catch (const demo::Interrupted&) {
        PrintLog(tool::AwaitLinesSince(before));
        throw;
    } catch (const slib::StringException& failure) {
        const std::vector<std::string> lines = tool::AwaitLinesSince(before);
        PrintLog(lines);
        const std::string error = tool::LastError(lines);
        throw slib::BadStateException(
            failure.what() + (error.empty() ? "" : " The last error in the log is: " + error) +
            " 'tessarune-config check' shows what a start finds, and what to change.");
    }
}

void Show(const Output& output, const demo::Played& played) {
    if (output.waveFile.empty()) {
        std::cout << "Nothing was recorded, so there are no levels: --wav FILE records.\n";
        return;
    }
    demo::PrintLevels(demo::MeasureLevels(output.waveFile, played),
                      slib::GetStandardChannelNames(output.speakers));
    std::cout << "The recording (" << slib::GetStandardFormatName(output.speakers) << ") is in '"
              << output.waveFile << "'.\n";
}

void Run(const Options& options) {
    if (options.isListed) return demo::List(SceneOf(options));
    const Output output = ChooseOutput(options);
    std::optional<tool::PrivateStore> store;
    if (!output.waveFile.empty()) store.emplace().PlayInto(output.waveFile);
    if (output.areSpeakersGiven) store->TakeSpeakers(output.speakers);
    demo::WatchForInterruption();
    Show(output, PlayAndShowLog(options));
}

void AddOptions(tool::Program& program, Options& options) {
    program.SetFooter(std::string(examples) + tool::exitStatuses);
    program.AddFlag("--quick", options.isQuick, "Play short versions of all parts");
    program.AddFlag("--list", options.isListed, "List what there is to play, and play nothing");
    program.TakeOneOf(program.AddOption("--part", options.part, "Play only this part"),
                      {"voices", "circle", "room"});
    program.OfferFor(program.AddOption("--room", options.room, "The room of the last part")->ShowDefault(),
                     Rooms());
    program.AddOption("--wav", options.waveFile, "Record into this file instead of playing");
    program.AddOption("--ambix", options.ambixFile,
                      "Also record the sound field into this file, .wav or .caf, as AmbiX");
    program.OfferFor(
        program.AddOption("--layout", options.layout, "Record for these speakers: 5.1, Quad, headphones ..."),
        {tool::StandardLayoutNames(), {}, false});
    program.AddOption("--voices", options.voiceFolder, "Take the voices from this folder")->ShowDefault();
}

}  // namespace

int main(int count, char** arguments) {
    tool::HideRefusedPriority();
    tool::Program program(
        "tessarune-demo",
        "Plays voices around you, an engine that flies past, and a room, as a game would. Where nothing can "
        "be heard, records them into 'tessarune-demo.wav'.");
    Options options;
    AddOptions(program, options);
    return program.Run(count, arguments, [&] {
        Run(options);
        return 0;
    });
}
