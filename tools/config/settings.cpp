#include "tools/config/settings.h"

#include <limits>
#include <optional>

#include "platform/outputdevice.h"
#include "slib/standardformats.h"
#include "slib/sxml.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/storedvalues.h"

namespace tool {
namespace {

using Place = Setting::Place;

constexpr int noLimit = std::numeric_limits<int>::max();
constexpr const char* generalPrefix = "AudioRenderer.";
constexpr const char* automatic = "Auto";  // in the store: nothing

std::vector<std::string> SpeakerSettings() {
    std::vector<std::string> names{automatic};
    for (int i = 1; i <= static_cast<int>(slib::StandardFormat::Surround71Wide); ++i)
        names.push_back(slib::GetStandardFormatName(static_cast<slib::StandardFormat>(i)));
    return names;
}

std::vector<Setting> MakeSettings() {
    const Range rates =
        Whole(static_cast<int>(platform::lowestRate), static_cast<int>(platform::highestRate));
    return {
        {"Gain", Place::Tessarune, RealFrom(0), "overall gain of the output; 1 leaves it as it is"},
        {"Order", Place::Tessarune, Whole(1, 4), "sharpness of directions; a higher order costs more"},
        {"EffectsQuality", Place::Tessarune, Choice({"Low", "Medium", "High"}), "how rooms are rendered"},
        {"SRC", Place::Tessarune, Choice({"Off", "Linear", "SincLow", "SincMedium", "SincHigh"}),
         "conversion of sounds to another pitch or sample rate"},
        {"DefaultSampleRate", Place::Tessarune, rates, "Hz, where a game asks for no rate"},
        {"IgnoreGameSampleRate", Place::Tessarune, Flag(), "DefaultSampleRate whatever a game asks for"},
        {"SuggestedBufferLength", Place::Tessarune, Whole(64, noLimit), "frames of a block of output"},
        {"SuggestedBufferCount", Place::Tessarune, Whole(1, noLimit),
         "blocks of output; fewer are quicker, and may falter"},
        {"DefaultFilterOrder", Place::Tessarune, Whole(1, 2), "of sources, where a game names none"},
        {"UseParallelDecoder", Place::Tessarune, Flag(), "decode on a thread of its own"},
        {"MeasureOutputPeak", Place::Tessarune, Flag(), "tell the peak of the output in the log"},
        {"OnlyOneReverb", Place::Tessarune, Flag(), "rooms in one effect slot at a time"},
        {"IsSuspendSupported", Place::Tessarune, Flag(), "games may hold the rendering up"},
        {"IsLoggingVerbose", Place::Tessarune, Flag(), "log each step, and each call that fails"},
        {"MasqueradeAsGenericSoftware", Place::Tessarune, Flag(), "also be the device 'Generic Software'"},
        {"MasqueradeAsGenericHardware", Place::Tessarune, Flag(), "also be the device 'Generic Hardware'"},
        {"ReleaseASIOInBackground", Place::Tessarune, Flag(), "kept for other machines; nothing here"},
        {"UseDirectSoundAutoselect", Place::Document, Flag(), "the layout follows the system's speakers"},
        {"Output", Place::Platform, Choice({automatic, "Silent", "WaveFile"}), "where the sound goes"},
        {"WaveFile", Place::Platform, FilePath(), "where it goes with the output WaveFile"},
        {"SpeakerSetting", Place::Platform, Choice(SpeakerSettings()),
         "the system's speakers, in place of what the device says"},
        {"AudioRenderer.Gain", Place::GeneralRenderer, RealFrom(0), "kept for other programs"},
        {"AudioRenderer.SuggestedBufferLength", Place::GeneralRenderer, Whole(64, noLimit), "the same"},
        {"AudioRenderer.SuggestedBufferCount", Place::GeneralRenderer, Whole(1, noLimit), "the same"},
        {"AudioRenderer.IsLoggingVerbose", Place::GeneralRenderer, Flag(), "the same"},
        {"AudioRenderer.MeasureOutputPeak", Place::GeneralRenderer, Flag(), "the same"},
        {"AudioRenderer.UseParallelDecoder", Place::GeneralRenderer, Flag(), "the same"},
    };
}

std::string NodeLabel(Place place) {
    switch (place) {
        case Place::Tessarune:
            return "Tessarune";
        case Place::GeneralRenderer:
            return "AudioRenderer";
        case Place::Document:
        case Place::Platform:
            break;
    }
    return "";
}

// The document's node that has the setting for an attribute; null when there is none.
slib::SXMLNode* FindNode(slib::SXMLNode& document, Place place) {
    if (place == Place::Document) return &document;
    for (const auto& child : document.children)
        if (child->label == NodeLabel(place)) return child.get();
    return nullptr;
}

std::string PlatformKey(const Setting& setting) {
    return "/Platform/" + setting.Attribute();
}

bool IsAutomatic(const Setting& setting, const std::string& value) {
    return setting.range.kind == Range::Kind::Choice && value == automatic;
}

std::string Checked(const Setting& setting, const std::string& text) {
    try {
        return setting.range.Canonical(text);
    } catch (const slib::BadParameterException& failure) {
        throw WrongUse("'" + text + "' is nothing for " + setting.name + ": " + failure.what() + ".");
    }
}

// An output into a file and the file's name depend on each other.
void CheckPlatform(const Setting& setting, const std::string& value) {
    if (setting.name == "Output" && value == "WaveFile" && ReadValue("/Platform/WaveFile").empty())
        throw WrongUse(
            "There is no file for the sound yet. Name one first: tessarune-config set WaveFile PATH.");
    if (setting.name == "WaveFile" && value.empty() && ReadValue("/Platform/Output") == "WaveFile")
        throw WrongUse(
            "The sound goes into this file. Choose another output first: tessarune-config set "
            "Output Auto.");
}

void StorePlatform(const Setting& setting, const std::string& value) {
    CheckPlatform(setting, value);
    ReplaceValue(PlatformKey(setting),
                 [&](const std::string&) { return IsAutomatic(setting, value) ? "" : value; });
}

// The document's own reader takes the value in, as it does at a start.
void StoreInDocument(const Setting& setting, const std::string& value) {
    ChangeDocument([&](orb3::Configuration& configuration) {
        const auto node = configuration.CreateNode();
        FindNode(*node, setting.place)->attributes[setting.Attribute()] = value;
        configuration.Read(*node);
    });
}

std::string SimilarNames(const std::string& name) {
    std::string names;
    for (const Setting& setting : Settings())
        if (slib::toLower(setting.name).find(slib::toLower(name)) != std::string::npos)
            names += (names.empty() ? " Is it " : " or ") + setting.name;
    return names.empty() ? names : names + "?";
}

}  // namespace

std::string Setting::Attribute() const {
    return place == Place::GeneralRenderer ? name.substr(std::string(generalPrefix).size()) : name;
}

const std::vector<Setting>& Settings() {
    static const std::vector<Setting> settings = MakeSettings();
    return settings;
}

const Setting& FindSetting(const std::string& name) {
    for (const Setting& setting : Settings())
        if (slib::toLower(setting.name) == slib::toLower(name)) return setting;
    throw WrongUse("There is no setting '" + name + "'." + SimilarNames(name) +
                   " 'tessarune-config get' lists all of them.");
}

std::string GetSetting(const Setting& setting, const orb3::Configuration& configuration) {
    if (setting.place != Place::Platform) {
        const auto node = configuration.CreateNode();
        return FindNode(*node, setting.place)->GetAttribute(setting.Attribute());
    }
    const std::string value = ReadValue(PlatformKey(setting));
    return value.empty() && setting.range.kind == Range::Kind::Choice ? automatic : value;
}

std::string StoreSetting(const Setting& setting, const std::string& text) {
    std::string value = Checked(setting, text);
    setting.place == Place::Platform ? StorePlatform(setting, value) : StoreInDocument(setting, value);
    return value;
}

void CheckDocumentSettings(const std::string& documentText) {
    slib::SXMLNode document(documentText);
    for (const Setting& setting : Settings()) {
        const slib::SXMLNode* const node = FindNode(document, setting.place);
        if (node != nullptr && setting.place != Place::Platform && node->HasAttribute(setting.Attribute()))
            Checked(setting, node->GetAttribute(setting.Attribute()));
    }
}

}  // namespace tool
