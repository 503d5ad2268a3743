// Makes the calls of a recording again: to be heard, into a WAV file that is the same each time, or as fast
// as it goes; or tells what is in it.

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/recording/recordingreader.h"
#include "app/replay/pace.h"
#include "app/replay/player.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/settings/settingtable.h"
#include "orb3core/store/configstore.h"
#include "slib/exception.h"
#include "slib/filestream.h"
#include "slib/sxml.h"
#include "slib/text.h"
#include "tools/replay/contents.h"
#include "tools/support/installedtree.h"
#include "tools/support/privatestore.h"
#include "tools/support/program.h"
#include "tools/support/range.h"
#include "tools/support/table.h"

namespace {

constexpr const char* examples = R"(Examples:
  tessarune-run --record bug.calls ./game
  tessarune-replay bug.calls --info
  tessarune-replay bug.calls
  tessarune-replay bug.calls --fast --wav bug.wav --set Sound=Classic

)";

// The names of two calls of the library for programs like this one (app/goaldll/stepping.h).
constexpr const char* holdName = "tessarune/hold-1";
constexpr const char* renderName = "tessarune/render-1";

struct Options {
    std::string file, waveFile, library;
    std::vector<std::string> settings;
    bool isFast = false, isHere = false, isInfo = false, isCompared = false, isJson = false;

    bool IsStepped() const { return isFast || !waveFile.empty(); }
};

// ---- The settings of this run ----

const orb3::Setting& FindSetting(const std::string& name) {
    for (const orb3::Setting& setting : orb3::Settings())
        if (slib::toLower(setting.Name()) == slib::toLower(name)) return setting;
    throw tool::WrongUse("There is no setting '" + name + "'. 'tessarune-config get' lists all of them.");
}

// "KEY=VALUE".
void TakeSetting(const std::string& text, orb3::Configuration& configuration) {
    const std::size_t middle = text.find('=');
    if (middle == std::string::npos)
        throw tool::WrongUse("--set takes the name of a setting, '=' and its value, not '" + text + "'.");
    const orb3::Setting& setting = FindSetting(text.substr(0, middle));
    std::string value;
    try {
        value = tool::Canonical(setting.value.range, text.substr(middle + 1));
    } catch (const slib::BadParameterException& failure) {
        throw tool::WrongUse(setting.Name() + " " + failure.what());
    }
    if (setting.GetPlace() == orb3::Setting::Place::Platform)
        tool::PrivateStore::Write(setting.StoreKey(), value);
    else
        orb3::TakeSetting(setting, value, configuration);
}

// Where the sound goes: to a file; nowhere, as fast as it goes; or to what the machine has.
void PrepareStore(const Options& options, const tool::PrivateStore& store) {
    orb3::Configuration configuration;
    for (const std::string& setting : options.settings)
        TakeSetting(setting, configuration);
    tool::PrivateStore::Write("/Speakers/Configuration",
                              configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact));
    if (!options.IsStepped()) return;
    const bool isKept = !options.waveFile.empty();
    store.PlayInto(isKept ? std::filesystem::absolute(options.waveFile).string() : "/dev/null");
    if (options.isFast) tool::PrivateStore::Write("/Platform/WaveFilePace", std::string(orb3::unpaced));
}

// ---- The library ----

// Closed only with the process, as that of a game.
class Library {
public:
    explicit Library(const std::string& path) : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (handle == nullptr)
            throw slib::BadStateException("The library '" + path + "' can't be loaded: " + dlerror() +
                                          ". Name the file of one with --library PATH.");
        get = Exported<LPALCGETPROCADDRESS>("alcGetProcAddress");
        getError = Exported<LPALCGETERROR>("alcGetError");
        if (get == nullptr || getError == nullptr)
            throw slib::BadStateException("'" + path +
                                          "' has no calls of OpenAL. Name the file of a library "
                                          "that has them with --library PATH.");
    }

    void* Find(const char* name) const {
        void* const exported = dlsym(handle, name);
        return exported != nullptr ? exported : Private<void*>(name);
    }

    // Of those that alcGetProcAddress alone gives. To ask isn't to fail.
    template <typename Function>
    Function Private(const char* name) const {
        void* const found = get(nullptr, name);
        if (found == nullptr) getError(nullptr);
        return reinterpret_cast<Function>(found);
    }

private:
    template <typename Function>
    Function Exported(const char* name) const {
        return reinterpret_cast<Function>(dlsym(handle, name));
    }

    void* const handle;
    LPALCGETPROCADDRESS get = nullptr;
    LPALCGETERROR getError = nullptr;
};

std::unique_ptr<replay::Pace> MakePace(const Options& options, const Library& library) {
    if (!options.IsStepped()) return std::make_unique<replay::ClockPace>();
    const auto hold = library.Private<void (*)()>(holdName);
    const auto render = library.Private<ALCsizei (*)(ALCint*)>(renderName);
    if (hold != nullptr && render != nullptr) {
        hold();
        return std::make_unique<replay::SteppedPace>(render);
    }
    std::cerr << "tessarune-replay: This library can't render on demand, so the recording is played by the "
                 "clock, and the sound isn't the same each time.\n";
    return std::make_unique<replay::ClockPace>();
}

// ---- Playing ----

void Tell(const replay::Played& played, const Options& options, const std::string& damage) {
    if (options.isJson) {
        tool::Json differences = tool::Json::array();
        for (const replay::Difference& difference : played.first)
            differences.push_back({{"call", difference.call},
                                   {"seconds", 1e-6 * static_cast<double>(difference.time)},
                                   {"name", difference.name},
                                   {"recorded", difference.recorded},
                                   {"replayed", difference.replayed}});
        return tool::PrintJson({{"calls", played.calls},
                                {"seconds", 1e-6 * static_cast<double>(played.time)},
                                {"leftOut", played.left},
                                {"differences", played.differences},
                                {"firstDifferences", differences},
                                {"damage", damage}});
    }
    std::cout << "Played " << played.calls << " calls of "
              << tool::Fixed(1e-6 * static_cast<double>(played.time), 3) << " seconds.\n";
    if (played.left > 0)
        std::cout << "The library doesn't have the functions of " << played.left << " of them.\n";
    if (!damage.empty()) std::cout << damage << "\n";
    if (!options.isCompared) return;
    std::cout << played.differences << " answers weren't those of the recording.\n";
    tool::Table table(
        {{"Call", "", true}, {"Seconds", "", true}, {"Name", ""}, {"Recorded", ""}, {"Now", ""}});
    for (const replay::Difference& difference : played.first)
        table.AddRow({difference.call, tool::Fixed(1e-6 * static_cast<double>(difference.time), 3),
                      difference.name, difference.recorded, difference.replayed});
    if (!played.first.empty()) table.PrintAligned(std::cout);
}

void Play(std::istream& stream, const Options& options) {
    std::optional<tool::PrivateStore> store;
    if (!options.isHere) PrepareStore(options, store.emplace(tool::PrivateStore::Content::Defaults));
    const Library library(options.library.empty() ? tool::LibraryOfThisTree().string() : options.library);
    const replay::FindFunction find = [&](const char* name) { return library.Find(name); };
    const std::unique_ptr<replay::Pace> pace = MakePace(options, library);
    recording::RecordingReader reader(stream);
    replay::Player player(reader, find, *pace);
    std::string damage;
    try {
        while (player.PlayNext()) {
        }
    } catch (const slib::BadDataException& failure) {
        damage = failure.what();
    }
    player.Finish();
    Tell(player.played, options, damage);
}

int Run(const Options& options) {
    if (options.isHere && (options.IsStepped() || !options.settings.empty()))
        throw tool::WrongUse(
            "--here plays with your own settings and output, so it doesn't go with --wav, --fast "
            "and --set.");
    slib::InputFile stream(options.file);
    if (!stream)
        throw slib::BadParameterException("The file '" + options.file +
                                          "' can't be read: " + std::strerror(errno) + ".");
    if (options.isInfo) {
        const replay::Contents contents = replay::ReadContents(stream);
        options.isJson ? tool::PrintJson(replay::ToJson(contents)) : replay::Print(contents);
    } else {
        Play(stream, options);
    }
    return 0;
}

void AddOptions(tool::Program& program, Options& options) {
    program.SetFooter(std::string(examples) + tool::exitStatuses);
    program.AddOption("FILE", options.file, "What 'tessarune-run --record FILE' recorded")->Require();
    program.AddOption("--wav", options.waveFile,
                      "Render into this file; the same recording gives the same bits each time");
    program.AddFlag("--fast", options.isFast,
                    "Don't wait for the clock; without --wav the sound goes nowhere");
    program
        .AddOption("--set", options.settings,
                   "Play with this setting, NAME=VALUE; all others have their defaults")
        ->TakeAll();
    program.AddFlag("--here", options.isHere, "Play with your own settings and output");
    program.AddOption("--library", options.library, "Play to this library instead of that of this tree");
    program.AddFlag("--compare", options.isCompared,
                    "List the first answers that differ from those recorded");
    program.AddFlag("--info", options.isInfo, "Tell what is in the recording, and play nothing");
    tool::AddJsonFlag(program, options.isJson);
}

}  // namespace

int main(int count, char** arguments) {
    tool::HideRefusedPriority();
    tool::Program program(
        "tessarune-replay",
        "Plays a recording of a game's calls, made by 'tessarune-run --record'. Your settings "
        "stay as they are.");
    Options options;
    AddOptions(program, options);
    return program.Run(count, arguments, [&] { return Run(options); });
}
