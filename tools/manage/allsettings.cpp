#include "tools/manage/allsettings.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "library/ownlibrary.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/settings/documentchange.h"
#include "orb3core/settings/gameprofile.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/store/registrylog.h"
#include "slib/exception.h"
#include "slib/sxml.h"
#include "tools/manage/history.h"
#include "tools/manage/layouts.h"
#include "tools/manage/machine.h"
#include "tools/manage/settings.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/version.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::Setting;
using slib::SXMLNode;
using Names = std::map<std::string, std::string>;

constexpr const char* rootLabel = "TessaruneSettings";
constexpr const char* version = "1";

std::unique_ptr<SXMLNode> Node(const std::string& label, Names attributes) {
    auto node = std::make_unique<SXMLNode>();
    node->label = label;
    node->attributes = {attributes.begin(), attributes.end()};
    return node;
}

bool IsOfMachine(const Setting& setting) {
    return setting.GetPlace() == Setting::Place::Platform;
}

bool IsPath(const Setting& setting) {
    return setting.value.range.kind == orb3::SettingRange::Kind::Path;
}

void AddOwnNames(SXMLNode& root) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    for (const auto& entries :
         {design::ListHeads(library.Librarian()), design::ListHeadphones(library.Librarian())})
        for (const design::OwnEntry& entry : entries)
            if (entry.isOwn) root.AddChild(Node("Own", {{"Tag", entry.tag}, {"Name", entry.name}}));
}

const SXMLNode* FindChild(const SXMLNode& root, const std::string& label) {
    for (const auto& child : root.children)
        if (child->label == label) return child.get();
    return nullptr;
}

// An attribute that there isn't has the default.
void TakeMachine(const SXMLNode* node, Paths paths, SettingsFile& file) {
    for (const Setting& setting : orb3::Settings()) {
        if (!IsOfMachine(setting) || (IsPath(setting) && paths == Paths::Keep)) continue;
        const std::string name = setting.Name();
        const bool isThere = node != nullptr && node->HasAttribute(name);
        const std::string value = isThere ? CheckedSetting(setting, node->GetAttribute(name)) : "";
        file.values[setting.StoreKey()] = value == setting.Default() ? "" : value;
    }
}

void TakeDevices(const SXMLNode* node, SettingsFile& file) {
    Names devices;
    if (node != nullptr)
        for (const auto& device : node->children)
            devices[device->GetAttribute("Key")] =
                CheckedSetting(FindSetting("SpeakerSetting"), device->GetAttribute("Speakers"));
    file.values[orb3::speakerSettingsKey] = orb3::JoinSpeakerSettings(devices);
}

void TakeProfiles(const SXMLNode* node, SettingsFile& file) {
    std::string& text = file.values[orb3::gameProfilesKey];
    if (node == nullptr) return;
    const auto profiles = orb3::ParseGameProfiles(node->ToString(SXMLNode::Style::Compact));
    if (!profiles.empty()) text = orb3::GameProfilesText(profiles, SXMLNode::Style::Compact);
}

std::string InForce(const SettingsFile& file, const std::string& name) {
    const std::string key = FindSetting(name).StoreKey();
    const auto found = file.values.find(key);
    return found == file.values.end() ? ReadValue(key) : found->second;
}

// As where they are set one by one.
void CheckFileNames(const SettingsFile& file) {
    const std::pair<const char*, const char*> pairs[] = {{"Output", "WaveFile"}, {"Input", "InputFile"}};
    for (const auto& [kind, path] : pairs)
        if (InForce(file, kind) == "WaveFile" && InForce(file, path).empty())
            throw WrongUse(std::string(kind) + " WaveFile needs the name of a file, and there is none in " +
                           path + ". Set it first: tessarune-config set " + path + " PATH.");
}

orb3::Configuration ReadDocumentNode(const std::string& text) {
    CheckDocumentSettings(text);
    return ParseDocument(text);
}

void Need(const std::vector<design::OwnEntry>& there, const std::string& tag, const Names& names,
          const char* what, const char* command, std::vector<std::string>& warnings) {
    const auto isIt = [&](const design::OwnEntry& entry) { return entry.tag == tag; };
    if (tag.empty() || std::ranges::any_of(there, isIt)) return;
    const auto named = names.find(tag);
    const std::string name = named == names.end() ? tag : named->second;
    warnings.push_back(std::string("There ") + what + " '" + name + "' in the format library here. '" +
                       command + " FILE --name \"" + name + "\"' adds it.");
}

}  // namespace

std::string AllSettingsText() {
    SXMLNode root;
    root.label = rootLabel;
    root.attributes = {{"Version", version}, {"Program", Version()}};
    Names machine;
    for (const Setting& setting : orb3::Settings())
        if (const std::string value = IsOfMachine(setting) ? ReadValue(setting.StoreKey()) : "";
            !value.empty())
            machine[setting.Name()] = value;
    root.AddChild(Node("Machine", machine));
    SXMLNode& devices = root.AddChild(Node("Devices", {}));
    for (const auto& [key, speakers] : orb3::SplitSpeakerSettings(ReadValue(orb3::speakerSettingsKey)))
        devices.AddChild(Node("Device", {{"Key", key}, {"Speakers", speakers}}));
    for (const std::string& text : {ReadValue(orb3::gameProfilesKey), ReadDocumentText()})
        if (!text.empty()) root.AddChild(std::make_unique<SXMLNode>(text));
    AddOwnNames(root);
    return root.ToString(SXMLNode::Style::Spread);
}

SettingsFile ReadSettingsFile(const std::string& text, Paths paths) {
    SettingsFile file;
    const SXMLNode root(text);
    file.isAll = root.label == rootLabel;
    if (!file.isAll) {
        file.document = ReadDocumentNode(text);
        return file;
    }
    if (root.GetAttribute("Version") != version)
        throw slib::BadDataException("The file is of another version of Tessarune, " +
                                     root.GetAttribute("Version") + " and not " + version + ".");
    TakeMachine(FindChild(root, "Machine"), paths, file);
    TakeDevices(FindChild(root, "Devices"), file);
    TakeProfiles(FindChild(root, "Games"), file);
    if (const SXMLNode* const document = FindChild(root, "Configuration"))
        file.document = ReadDocumentNode(document->ToString(SXMLNode::Style::Compact));
    for (const auto& child : root.children)
        if (child->label == "Own") file.names[child->GetAttribute("Tag")] = child->GetAttribute("Name");
    CheckFileNames(file);
    return file;
}

bool StoreSettingsFile(const SettingsFile& file) {
    const ChangeStep step("the import");
    bool isKept = false;
    UpdateStore([&](orb3::OpenStore& store) {
        isKept = orb3::ReplaceDocument(store, file.document ? DocumentText(*file.document) : "");
        for (const auto& [key, value] : file.values)
            store.Write(key, value);
    });
    if (isKept) ggui::RegistryLog(orb3::storeRoot, "tessarune-config").Write(orb3::keptText, false);
    return isKept;
}

std::vector<std::string> WhatIsLacking(const orb3::Configuration& document, const Names& names) {
    std::vector<std::string> warnings;
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto heads = design::ListHeads(library.Librarian());
    const auto headphones = design::ListHeadphones(library.Librarian());
    for (const auto& layout : document.layouts) {
        const std::string tag = orb3::MakeFormatTag(layout->format);
        if (!library.Librarian().hasFormat(tag))
            warnings.push_back("There is no room '" + layout->format +
                               "' in the format library here. 'tessarune-config speakers room FILE --apply' "
                               "makes its decoders.");
        if (tag != design::HeadphoneFormatTag()) continue;
        const design::HeadChoice choice = design::ChoiceOf(layout->method);
        Need(heads, choice.head, names, "is no head", "tessarune-config head add", warnings);
        Need(headphones, choice.headphones, names, "are no headphones", "tessarune-config headphones add",
             warnings);
    }
    return warnings;
}

}  // namespace tool
