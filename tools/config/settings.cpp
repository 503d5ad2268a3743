#include "tools/config/settings.h"

#include <cstddef>
#include <vector>

#include "slib/exception.h"
#include "slib/sxml.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/support/range.h"

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

std::string SimilarNames(const std::string& name) {
    std::string names;
    for (const Setting& setting : orb3::Settings())
        if (slib::toLower(setting.Name()).find(slib::toLower(name)) != std::string::npos)
            names += (names.empty() ? " Did you mean " : " or ") + setting.Name();
    return names.empty() ? names : names + "?";
}

}  // namespace

const Setting& FindSetting(const std::string& name) {
    for (const Setting& setting : orb3::Settings())
        if (slib::toLower(setting.Name()) == slib::toLower(name)) return setting;
    throw WrongUse("There is no setting '" + name + "'." + SimilarNames(name) +
                   " 'tessarune-config get' lists all of them.");
}

std::string GetSetting(const Setting& setting, const orb3::Configuration& configuration) {
    if (setting.GetPlace() != SettingPlace::Platform) return orb3::SettingText(setting, configuration);
    const std::string value = ReadValue(setting.StoreKey());
    return value.empty() ? setting.Default() : value;
}

Cell SettingCell(const Setting& setting, const orb3::Configuration& configuration) {
    using Kind = orb3::SettingRange::Kind;
    const std::string text = GetSetting(setting, configuration);
    switch (setting.value.range.kind) {
        case Kind::Flag:
            return {text, slib::ParseBool(text)};
        case Kind::Whole:
            return {text, slib::ParseInt(text)};
        case Kind::Real:
            return {text, slib::ParseDouble(text)};
        case Kind::Choice:
        case Kind::Path:
            return text;
    }
    slib::ThrowUnreachable();
}

Offer SettingNames() {
    Offer offer;
    for (const Setting& setting : orb3::Settings())
        offer.values.push_back(setting.Name());
    return offer;
}

std::string StoreSetting(const Setting& setting, const std::string& text, Force force) {
    std::string value = Checked(setting, text);
    if (setting.GetPlace() == SettingPlace::Platform)
        StorePlatform(setting, value);
    else
        StoreInDocument(setting, value, force);
    return value;
}

void ForgetPlatformSettings() {
    for (const Setting* setting : PlatformSettings())
        ReplaceValue(setting->StoreKey(), [](const std::string&) { return ""; });
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
