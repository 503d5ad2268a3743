#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "library/ownlibrary.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/formatlibraries.h"
#include "orb3core/settings/gameprofile.h"
#include "orb3core/setup/layoutselection.h"
#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/manage/connection.h"
#include "tools/manage/headphonemethod.h"
#include "tools/manage/history.h"
#include "tools/manage/layouts.h"
#include "tools/manage/machine.h"
#include "tools/manage/measuring.h"
#include "tools/manage/profiles.h"
#include "tools/manage/settings.h"
#include "tools/manage/start.h"
#include "tools/manage/storedvalues.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"
#include "tools/page/api/settingjson.h"
#include "tools/page/api/speakerjson.h"
#include "tools/support/version.h"

namespace page {
namespace {

using orb3::Configuration;

// When a file was changed, and how long it is.
std::string Mark(const std::filesystem::path& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) return "-";
    return std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec) + "+" +
           std::to_string(status.st_size);
}

std::string RevisionText() {
    return Mark(tool::StoreFile()) + " " + Mark(platform::MachineStorePath(orb3::storeRoot)) + " " +
           Mark(orb3::fl::OwnLibraryPath()) + " " + Mark(tool::HistoryFile());
}

// The devices of all frameworks; what can't be opened has no channels.
struct Machine {
    tool::KeptLog log;
    const orb3::Frameworks frameworks = tool::MakeFrameworks(log);
    const tool::FormatLibrary library{log};

    // Null for none of that id or name.
    audiopipe::DevicePtr Find(const std::string& id) const {
        if (id.empty()) return {};
        try {
            return tool::FindOutput(frameworks, id).device;
        } catch (const tool::WrongUse&) {
            return {};
        }
    }
    std::string NameOf(const std::string& id) const {
        const audiopipe::DevicePtr device = Find(id);
        return device ? device->name : id;
    }
};

std::vector<std::string> OutputsOf(audiopipe::Device& device) {
    try {
        return orb3::PlaybackChannelNames(device);
    } catch (const std::exception&) {
        return {};
    }
}

Json Devices(const Machine& machine) {
    Json devices = Json::array();
    for (const audiopipe::FrameworkPtr& framework : machine.frameworks)
        for (std::uint32_t i = 0; i < framework->GetDeviceCount(); ++i) {
            const audiopipe::DevicePtr device = framework->GetDevice(i);
            const std::vector<std::string> outputs = OutputsOf(*device);
            devices.push_back({{"id", device->id},
                               {"name", device->name},
                               {"channels", outputs.size()},
                               {"outputs", outputs},
                               {"isDefault", devices.empty()}});
        }
    return devices;
}

bool IsForHeadphones(const std::string& layout) {
    return orb3::MakeFormatTag(layout) == design::HeadphoneFormatTag();
}

bool Has(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

Json Layouts(const Machine& machine, const Configuration& configuration,
             const std::vector<std::string>& own) {
    Json layouts = Json::array();
    for (const tool::LayoutEntry& entry : tool::ListLayouts(machine.library, configuration))
        layouts.push_back({{"name", entry.name},
                           {"channels", entry.channels},
                           {"methods", entry.methods},
                           {"isSelected", entry.isSelected},
                           {"isOwn", Has(own, entry.name)},
                           {"isInLibrary", entry.isInLibrary},
                           {"isHeadphones", IsForHeadphones(entry.name)},
                           {"connectedTo", entry.stored ? machine.NameOf(entry.stored->pipeDevice) : ""}});
    return layouts;
}

Json LayoutInForce(const Machine& machine, const Configuration& configuration,
                   const std::vector<std::string>& own) {
    const Configuration::LayoutPtr layout = orb3::FindSelectedLayout(configuration);
    if (!layout) return nullptr;
    const bool isWhole = layout->channels.size() == layout->speakers.size();
    const audiopipe::DevicePtr device = machine.Find(layout->pipeDevice);
    return {{"name", layout->format},
            {"device", layout->pipeDevice},
            {"deviceName", machine.NameOf(layout->pipeDevice)},
            {"method", layout->method},
            {"methods", tool::MethodsFor(machine.library.Librarian(), layout->format)},
            {"isHeadphones", IsForHeadphones(layout->format)},
            {"isOwn", Has(own, layout->format)},
            {"isMeasured", layout->distance > 0},
            {"gain", layout->gain},
            {"outputs", device ? Json(OutputsOf(*device)) : Json::array()},
            {"speakers", SpeakersOf(*layout)},
            {"warnings", isWhole ? Json(tool::BassWarnings(*layout)) : Json::array()}};
}

Json Entries(const std::vector<design::OwnEntry>& entries, const std::string& used) {
    Json array = Json::array();
    for (const design::OwnEntry& entry : entries)
        array.push_back({{"tag", entry.tag},
                         {"name", entry.name},
                         {"isOwn", entry.isOwn},
                         {"isUsed", entry.tag == used},
                         {"description", entry.writeup}});
    return array;
}

Json Settings(const Configuration& configuration) {
    Json settings = Json::array();
    for (const orb3::Setting& setting : orb3::Settings())
        settings.push_back(DescribeSetting(setting, tool::GetSetting(setting, configuration)));
    return settings;
}

Json PatternsOf(const orb3::GameProfile& profile) {
    Json patterns = Json::array();
    for (const std::string* list : {&profile.programs, &profile.libraries})
        for (std::size_t at = 0; at < list->size();) {
            const std::size_t end = std::min(list->find('|', at), list->size());
            patterns.push_back(list->substr(at, end - at));
            at = end + 1;
        }
    return patterns;
}

Json ProfilesJson() {
    const tool::Profiles profiles = tool::ReadProfiles();
    Json array = Json::array();
    for (const orb3::GameProfile& profile : profiles.Joined()) {
        Json switches = Json::array();
        for (const auto& [name, value] : profile.values)
            switches.push_back({{"name", name}, {"value", value}});
        array.push_back({{"name", profile.name},
                         {"matches", PatternsOf(profile)},
                         {"isOwn", profiles.IsUsers(profile.name)},
                         {"isShipped", profiles.IsShipped(profile.name)},
                         {"reason", profile.reason},
                         {"switches", std::move(switches)}});
    }
    return array;
}

Json Switches() {
    Json switches = Json::array();
    for (const orb3::GameSwitchRow& row : orb3::gameSwitches)
        switches.push_back({{"name", row.name}, {"meaning", row.meaning}});
    return switches;
}

Json Quality() {
    const std::optional<tool::MeasuredPower> power = tool::LastPower();
    if (!power) return {{"rating", nullptr}, {"text", "This machine hasn't been measured yet."}};
    return {{"rating", power->rating}, {"text", "This machine has " + tool::PowerText(*power) + "."}};
}

Json Last(const std::vector<tool::Step>& steps) {
    if (steps.empty()) return nullptr;
    return {{"what", steps.back().what}, {"time", steps.back().time}};
}

// The defaults in place of a document that can't be used, and why it can't.
Configuration Read(std::string& problem) {
    try {
        return tool::PeekDocument();
    } catch (const slib::BadDataException& fault) {
        problem = fault.what();
        return {};
    }
}

}  // namespace

Json State(const Request&, Report&) {
    std::string problem;
    const std::string revision = RevisionText();  // before what it stands for
    const Configuration configuration = Read(problem);
    const Machine machine;
    const orb3::fl::FormatLibrarian& librarian = machine.library.Librarian();
    const std::vector<std::string> own = tool::OwnLayoutNames();
    const design::HeadChoice used = tool::StoredChoice(configuration);
    const tool::History history = tool::ReadHistory();
    return {{"revision", revision},
            {"version", tool::Version()},
            {"problem", problem},
            {"followsSystem", configuration.useDirectSoundAutoselect},
            {"layout", LayoutInForce(machine, configuration, own)},
            {"layouts", Layouts(machine, configuration, own)},
            {"devices", Devices(machine)},
            {"heads", Entries(design::ListHeads(librarian), used.head)},
            {"headphones", Entries(design::ListHeadphones(librarian), used.headphones)},
            {"settings", Settings(configuration)},
            {"profiles", ProfilesJson()},
            {"switches", Switches()},
            {"quality", Quality()},
            {"undo", Last(history.done)},
            {"redo", Last(history.undone)}};
}

Json Revision(const Request&, Report&) {
    return {{"revision", RevisionText()}};
}

}  // namespace page
