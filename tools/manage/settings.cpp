#include "tools/manage/settings.h"

#include <cstddef>
#include <vector>

#include "orb3core/settings/platformsettings.h"
#include "slib/exception.h"
#include "slib/sxml.h"
#include "slib/text.h"
#include "tools/manage/history.h"
#include "tools/support/nearest.h"
#include "tools/support/range.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::Setting;
using SettingPlace = Setting::Place;

// The document's node that has the setting for an attribute; null when there is none.
const slib::SXMLNode* FindNode(const slib::SXMLNode& document, SettingPlace place) {
    switch (place) {
        case SettingPlace::Document:
            return &document;
        case SettingPlace::Platform:
            return nullptr;
        case SettingPlace::Tessarune:
        case SettingPlace::AudioRenderer:
            break;
    }
    const std::string label = place == SettingPlace::Tessarune ? "Tessarune" : "AudioRenderer";
    for (const auto& child : document.children)
        if (child->label == label) return child.get();
    return nullptr;
}

std::string Checked(const Setting& setting, const std::string& text) {
    try {
        return Canonical(setting.value.range, text);
    } catch (const slib::BadParameterException& failure) {
        throw WrongUse(setting.Name() + " " + failure.what());
    }
}

// An output into a file and the file's name depend on each other.
void CheckPlatform(const Setting& setting, const std::string& value) {
    if (setting.attribute == "Output" && value == "WaveFile" && ReadValue("/Platform/WaveFile").empty())
        throw WrongUse(
            "Output WaveFile needs the name of a file. Set it first: tessarune-config set WaveFile PATH.");
    if (setting.attribute == "WaveFile" && value.empty() && ReadValue("/Platform/Output") == "WaveFile")
        throw WrongUse(
            "WaveFile must name a file while Output is WaveFile. Choose another output first: "
            "tessarune-config set Output Auto.");
}

// In the store nothing means the default.
void StorePlatform(const Setting& setting, const std::string& value) {
    CheckPlatform(setting, value);
    ReplaceValue(setting.StoreKey(),
                 [&](const std::string&) { return value == setting.Default() ? "" : value; });
}

void StoreInDocument(const Setting& setting, const std::string& value, Force force) {
    ChangeDocument(
        [&](orb3::Configuration& configuration) { orb3::TakeSetting(setting, value, configuration); }, force);
}

std::vector<const Setting*> PlatformSettings() {
    std::vector<const Setting*> found;
    for (const Setting& setting : orb3::Settings())
        if (setting.GetPlace() == SettingPlace::Platform) found.push_back(&setting);
    return found;
}

// As it is written in the range, where there is no doubt. The range is what decides.
std::string Meant(const Setting& setting, const std::string& text) {
    using Kind = orb3::SettingRange::Kind;
    const orb3::SettingRange& range = setting.value.range;
    if (range.kind == Kind::Choice) {
        const std::vector<std::string> words = range.choices();
        const auto found = FindMeant(words, text);
        return found ? words[*found] : text;
    }
    if (range.kind != Kind::Real) return text;  // those are gains
    const auto gain = ParseGain(text);
    return gain ? slib::FormatNumber(*gain) : text;
}

}  // namespace

const Setting& FindSetting(const std::string& name) {
    for (const Setting& setting : orb3::Settings())
        if (slib::toLower(setting.Name()) == slib::toLower(name)) return setting;
    throw WrongUse("There is no setting '" + name + "'." + DidYouMean(SettingNames(), name) +
                   " 'tessarune-config get' lists all of them.");
}

std::string GetSetting(const Setting& setting, const orb3::Configuration& configuration) {
    if (setting.GetPlace() != SettingPlace::Platform) return orb3::SettingText(setting, configuration);
    const std::string value = ReadValue(setting.StoreKey());
    return value.empty() ? setting.Default() : value;
}

std::vector<std::string> SettingNames() {
    std::vector<std::string> names;
    for (const Setting& setting : orb3::Settings())
        names.push_back(setting.Name());
    return names;
}

std::string CheckedSetting(const Setting& setting, const std::string& text) {
    return Checked(setting, Meant(setting, text));
}

std::string StoreSetting(const Setting& setting, const std::string& text, Force force) {
    std::string value = CheckedSetting(setting, text);
    const ChangeStep step(setting.Name() + (value.empty() ? "" : " " + value));
    if (setting.GetPlace() == SettingPlace::Platform)
        StorePlatform(setting, value);
    else
        StoreInDocument(setting, value, force);
    return value;
}

void ForgetPlatformSettings() {
    UpdateStore([](orb3::OpenStore& store) {
        for (const Setting* setting : PlatformSettings())
            store.Write(setting->StoreKey(), "");
        store.Write(orb3::speakerSettingsKey, "");
    });
}

std::string PlatformSettingNames() {
    const std::vector<const Setting*> settings = PlatformSettings();
    std::string names;
    for (std::size_t i = 0; i < settings.size(); ++i)
        names += (i == 0 ? "" : i + 1 < settings.size() ? ", " : " and ") + settings[i]->Name();
    return names;
}

void CheckDocumentSettings(const std::string& documentText) {
    const slib::SXMLNode document(documentText);
    for (const Setting& setting : orb3::Settings()) {
        const slib::SXMLNode* const node = FindNode(document, setting.GetPlace());
        if (node != nullptr && node->HasAttribute(setting.attribute))
            Checked(setting, node->GetAttribute(setting.attribute));
    }
}

}  // namespace tool
