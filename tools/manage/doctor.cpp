#include "tools/manage/doctor.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <thread>
#include <utility>

#define AL_ALEXT_PROTOTYPES 1
#include "AL/tessarune.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/setup/layoutselection.h"
#include "orb3core/setup/speakerconnection.h"
#include "orb3core/store/configstore.h"
#include "platform/cubebconnection.h"
#include "platform/dynamiclibrary.h"
#include "platform/realtimekit.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/manage/machine.h"
#include "tools/manage/settings.h"
#include "tools/manage/start.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/elffile.h"
#include "tools/support/foreignlibrary.h"
#include "tools/support/installedtree.h"
#include "tools/support/layoutnames.h"
#include "tools/support/logring.h"
#include "tools/support/version.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using Kind = platform::PlatformSettings::Output;
using Findings = std::vector<Finding>;

Finding Fine(std::string text) {
    return {true, std::move(text), ""};
}

Finding Wrong(std::string text, std::string remedy = "") {
    return {false, std::move(text), std::move(remedy)};
}

// For a shell.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool IsThere(const fs::path& file) {
    std::error_code ignored;
    return fs::exists(file, ignored);
}

// The command of this machine that installs a package, which has one name everywhere.
std::string Install(const std::string& package) {
    constexpr std::array<std::pair<const char*, const char*>, 4> installers{
        {{"/usr/bin/apt-get", "sudo apt-get install "},
         {"/usr/bin/dnf", "sudo dnf install "},
         {"/usr/bin/zypper", "sudo zypper install "},
         {"/usr/bin/pacman", "sudo pacman -S "}}};
    for (const auto& [program, command] : installers)
        if (IsThere(program)) return command + package;
    return "";
}

// Of what this program belongs to.
std::string InstallAgain() {
    const fs::path tree = platform::LoadedTree();
    if (tree == "/usr") return "sudo apt-get install --reinstall tessarune";
    return "./dev install " + Quoted(tree.string());
}

Finding Unserved(const Patient& patient) {
    const std::string problem = platform::CubebProblem();
    if (patient.settings.output != Kind::Auto)
        return Wrong("the setting Output asks for one server alone, and it doesn't answer",
                     "tessarune-config set Output Auto");
    if (patient.server.hasHung)
        return Wrong("it doesn't answer within two seconds",
                     "systemctl --user restart pipewire pipewire-pulse");
    if (!problem.empty())
        return Wrong(
            "no PulseAudio or PipeWire answers, and what would play to a card is missing: " + problem,
            Install("libcubeb0"));
    return Wrong("no sound server and no sound card answers",
                 "systemctl --user start pipewire pipewire-pulse wireplumber");
}

Findings LookAtServer(const Patient& patient) {
    if (patient.settings.output == Kind::Silent)
        return {
            Wrong("the setting Output is Silent, so nothing is heard", "tessarune-config set Output Auto")};
    if (patient.settings.output == Kind::WaveFile)
        return {Wrong("the setting Output is WaveFile: the sound goes to " +
                          Quoted(patient.settings.waveFile) + " and isn't heard",
                      "tessarune-config set Output Auto")};
    const std::vector<platform::ServerOutput>& outputs =
        patient.server.outputs;  // those that are switched on
    if (outputs.empty()) return {Unserved(patient)};
    const auto found = std::ranges::find_if(outputs, &platform::ServerOutput::isDefault);
    const platform::ServerOutput& output = found == outputs.end() ? outputs.front() : *found;
    return {Fine(patient.server.module + ", the default output is " + Quoted(output.description) + " with " +
                 std::to_string(output.channels) + " channels" +
                 (output.rate > 0 ? " at " + std::to_string(output.rate) + " Hz" : ""))};
}

// On a thread that ends with it.
bool MayBeRealtime() {
    bool isGranted = false;
    std::thread([&] {
        const sched_param level{.sched_priority = 3};
        isGranted = sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &level) == 0;
    }).join();
    return isGranted;
}

long LimitOf(__rlimit_resource resource) {
    rlimit limit{};
    return getrlimit(resource, &limit) == 0 ? static_cast<long>(limit.rlim_cur) : 0;
}

Findings LookAtRights(const Patient&) {
    if (MayBeRealtime())
        return {Fine("the process may take them itself, RLIMIT_RTPRIO is " +
                     std::to_string(LimitOf(RLIMIT_RTPRIO)))};
    const auto kit = platform::RealtimeKit::Connect([] { return true; });
    const auto level = kit ? kit->Property("MaxRealtimePriority") : std::nullopt;
    if (level) return {Fine("RealtimeKit grants them, up to level " + std::to_string(*level))};
    const long nice = 20 - LimitOf(RLIMIT_NICE);
    return {Wrong("RealtimeKit doesn't answer, and RLIMIT_RTPRIO grants none" +
                      (nice < 0 ? ", only nice levels down to " + std::to_string(nice) : std::string()) +
                      ": the sound may falter on a busy machine",
                  Install("rtkit"))};
}

std::string VersionOf(const fs::path& library) {
    platform::DynamicLibrary loaded(library.c_str());
    decltype(&::tsrGetVersion) getVersion = nullptr;
    loaded.Find("tsrGetVersion", getVersion);
    if (!loaded.problem.empty())
        throw slib::BadStateException(Quoted(library.string()) + " can't be loaded: " + loaded.problem);
    ALCint major = 0, minor = 0, patch = 0;
    getVersion(&major, &minor, &patch);
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

Finding LookAtDropIn(const fs::path& folder, int bits) {
    const std::string games = std::to_string(bits) + "-bit games ";
    const auto library = ReadElfFile(folder / "libopenal.so.1");
    if (!library || !library->name.starts_with("libtessarune.so"))
        return Wrong(Quoted(folder.string()) + " doesn't have our library for " + games, InstallAgain());
    if (library->bits != bits)
        return Wrong(Quoted(folder.string()) + " has a library of " + std::to_string(library->bits) +
                         " bits for " + games,
                     InstallAgain());
    return Fine(games + "find it in " + Quoted(folder.string()));
}

Findings LookAtLibrary(const Patient&) {
    constexpr int own = 8 * sizeof(void*);
    Findings findings;
    try {
        const fs::path library = LibraryOfThisTree();
        const std::string version = VersionOf(library);
        findings.push_back(version == Version() ? Fine(Quoted(library.string()) + ", version " + version)
                                                : Wrong(Quoted(library.string()) + " has version " + version +
                                                            ", this program " + Version(),
                                                        InstallAgain()));
        const std::vector<fs::path> folders = DropInFolders();
        for (std::size_t i = 0; i < folders.size(); ++i)
            findings.push_back(LookAtDropIn(folders[i], i == 0 ? own : 32));
        if (folders.size() == 1 && own == 64) findings.push_back(Fine("this tree has none for 32-bit games"));
    } catch (const slib::StringException& failure) {
        findings.push_back(Wrong(failure.what(), InstallAgain()));
    }
    return findings;
}

Findings LookAtFormatLibrary(const Patient&) {
    KeptLog log;
    std::optional<FormatLibrary> library;
    try {
        library.emplace(log);
    } catch (const slib::StringException& failure) {
        return {Wrong(failure.what(), InstallAgain())};
    }
    for (const std::string& name : StandardLayoutNames())
        if (orb3::FindDecoders(library->Librarian(), orb3::MakeFormatTag(name)).empty())
            return {
                Wrong(Quoted(library->path) + " is of another version: it has no decoder for '" + name + "'",
                      InstallAgain())};
    return {Fine(Quoted(library->path) + ", " + std::to_string(library->Librarian().getConversionCount()) +
                 " decoders and conversions")};
}

// What the reading of the machine's settings says of them.
Findings LookAtSettings(const Patient&) {
    KeptLog log;
    static_cast<void>(orb3::ReadPlatformSettings(log));
    Findings findings;
    for (const KeptLog::Line& line : log.Lines()) {
        std::string remedy = "tessarune-config reset --all";
        for (const orb3::Setting& setting : orb3::Settings())
            if (line.text.find("'" + setting.StoreKey() + "' is ") != std::string::npos)
                remedy = "tessarune-config set " + setting.Name() + " " + setting.Default();
        if (line.text.find("names none") != std::string::npos) remedy = "tessarune-config set Output Auto";
        findings.push_back(Wrong(line.text, remedy));
    }
    if (findings.empty()) findings.push_back(Fine("those of the machine can be used"));
    return findings;
}

Findings LookAtWiring(const Patient& patient) {
    constexpr const char* remedy = "tessarune-config select --auto";
    if (patient.server.hasHung) return {Wrong("not looked at, since the sound server hangs")};
    KeptLog log;
    try {
        const FormatLibrary library(log);
        const orb3::Frameworks frameworks = MakeFrameworks(log);
        const Outcome outcome = TryStart(library, frameworks, 0, log);
        CheckRate(outcome, frameworks);
        const orb3::spk::Layout& layout = *orb3::FindSelectedLayout(outcome.after);
        Findings findings{Fine("a start takes '" + layout.format + "' on '" + layout.pipeDevice + "'")};
        for (const std::size_t i : orb3::SpeakersOnBassOutputs(layout))
            findings.push_back(Wrong("'" + layout.speakers[i].label + "' plays on '" +
                                         layout.channels[i].pipePlaybackChannel +
                                         "', from which most systems let only bass through",
                                     remedy));
        return findings;
    } catch (const slib::StringException& failure) {
        return {Wrong(std::string("a start would fail: ") + failure.what(), remedy)};
    }
}

// "2.5.1" of "... Starting Tessarune 32bit v2.5.1 ..."; empty where none is in the log.
std::string VersionThatRanLast() {
    const std::string mark = "Starting Tessarune ";
    std::string version;
    for (const std::string& line : Lines(ReadLogRing())) {
        const std::size_t at = line.find(mark), begin = at == std::string::npos ? at : line.find('v', at);
        if (begin == std::string::npos) continue;
        version = line.substr(begin + 1, line.find_first_not_of("0123456789.", begin + 1) - begin - 1);
        while (version.ends_with('.'))
            version.pop_back();
    }
    return version;
}

Findings LookAtVersions(const Patient&) {
    const std::string last = VersionThatRanLast();
    if (last.empty())
        return {Fine("this program is " + Version() + ", no game has left a line in the log yet")};
    if (last == Version())
        return {Fine("this program is " + Version() + ", as the library of the last game")};
    return {Fine("this program is " + Version() + ", the library of the last game was " + last +
                 ": its next start by tessarune-run takes this one")};
}

// The file, or where there is none the folder that it goes into.
bool MayWrite(fs::path file) {
    while (!IsThere(file) && file.has_relative_path())
        file = file.parent_path();
    return access(file.c_str(), W_OK) == 0;
}

Findings LookAtStore(const Patient&) {
    const fs::path file = StoreFile();
    const fs::path damaged = file.string() + ".damaged";
    Findings findings;
    if (!MayWrite(file) || !MayWrite(file.parent_path()))
        findings.push_back(Wrong("you may not write to " + Quoted(file.string()),
                                 "sudo chown -R \"$USER\" " + Quoted(file.parent_path().string())));
    if (IsThere(damaged))
        findings.push_back(
            Wrong("the file was damaged once, and is kept as it was in " + Quoted(damaged.string()),
                  "rm " + Quoted(damaged.string())));
    try {
        if (!ReadValue(orb3::keptConfigurationKey).empty())
            findings.push_back(
                Wrong("a configuration that couldn't be used is kept: 'tessarune-config restore' puts it "
                      "back to be repaired",
                      "tessarune-config restore --discard"));
        static_cast<void>(ReadDocument());
    } catch (const slib::BadDataException& failure) {
        findings.push_back(Wrong(failure.what(), "tessarune-config reset"));
    } catch (const slib::StringException& failure) {
        const std::string name = Quoted(file.string());
        findings.push_back(Wrong(failure.what(), "mv " + name + " " + Quoted(file.string() + ".old")));
    }
    if (findings.empty()) findings.push_back(Fine(Quoted(file.string())));
    return findings;
}

Finding Describe(const ForeignLibrary& library, const std::vector<fs::path>& dropIns) {
    const std::string file = Quoted(library.file.string());
    std::string text = file + " is a " + std::to_string(library.bits) + "-bit OpenAL library of its own";
    if (!library.ledBy.empty())
        text += ", to which the search path of " + Quoted(library.ledBy.front().string()) + " leads" +
                (library.isAheadOfEnvironment ? " whatever LD_LIBRARY_PATH says" : "");
    const std::size_t place = library.bits == 8 * sizeof(void*) ? 0 : 1;
    if (place >= dropIns.size()) return Wrong(text + "; this tree has none of ours in its place");
    return Wrong(text, "mv " + file + " " + Quoted(library.file.string() + ".original") + " && ln -s " +
                           Quoted((dropIns[place] / "libopenal.so.1").string()) + " " + file);
}

Findings LookAtGame(const Patient& patient) {
    if (patient.game.empty()) return {};
    const std::vector<fs::path> dropIns = DropInFolders();
    Findings findings;
    for (const ForeignLibrary& library : FindForeignLibraries(patient.game))
        findings.push_back(Describe(library, dropIns));
    if (findings.empty())
        findings.push_back(Fine("no OpenAL library of its own in " + Quoted(patient.game.string())));
    return findings;
}

std::vector<Finding> Look(const HealthCheck& check, const Patient& patient) {
    try {
        return check.look(patient);
    } catch (const std::exception& failure) {
        return {{false, failure.what(), ""}};
    }
}

}  // namespace

Patient Examine(const fs::path& game) {
    KeptLog log;
    Patient patient{.settings = orb3::ReadPlatformSettings(log), .server = {}, .game = game};
    const Kind output = patient.settings.output;
    if (output != Kind::Silent && output != Kind::WaveFile) patient.server = platform::AskServer(output);
    return patient;
}

const std::vector<HealthCheck>& HealthChecks() {
    static const std::vector<HealthCheck> checks{{"Sound server", "sound_server", LookAtServer},
                                                 {"Real-time rights", "realtime_rights", LookAtRights},
                                                 {"Library", "library", LookAtLibrary},
                                                 {"Format library", "format_library", LookAtFormatLibrary},
                                                 {"Wiring", "wiring", LookAtWiring},
                                                 {"Versions", "versions", LookAtVersions},
                                                 {"Settings", "settings", LookAtSettings},
                                                 {"Store", "store", LookAtStore},
                                                 {"Game", "game", LookAtGame}};
    return checks;
}

std::vector<HealthResult> LookAtAll(const fs::path& game, const StepReport& report) {
    const Patient patient = Examine(game);
    std::vector<HealthResult> results;
    for (std::size_t i = 0; i < HealthChecks().size(); ++i) {
        const HealthCheck& check = HealthChecks()[i];
        report(i + 1, HealthChecks().size(), check.title);
        for (Finding& finding : Look(check, patient))
            results.push_back({&check, std::move(finding)});
    }
    return results;
}

}  // namespace tool
