// Opens the device as a game does, makes a context, asks everything that can be asked about both, and prints
// it. Shows at a glance whether a set-up works.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#define AL_ALEXT_PROTOTYPES 1
#include "AL/tessarune.h"
#include "tools/support/json.h"
#include "tools/support/program.h"
#include "tools/support/terminal.h"

namespace {

using tool::Json;

constexpr const char* footer = R"(Examples:
  tessarune-info
  tessarune-info --json

)";

// One line for people, and one member for programs.
struct Fact {
    std::string line, key;
    Json value;
};
using Facts = std::vector<Fact>;

std::string Titled(std::string title, const std::string& text) {
    title += ":";
    title.resize(std::max<std::size_t>(title.size(), 22), ' ');
    return title + " " + text;
}

Fact TextFact(const std::string& title, const std::string& key, const char* text) {
    return {Titled(title, text), key, text};
}

// Words with blanks between.
Fact WordsFact(const std::string& title, const std::string& key, const char* text) {
    Json words = Json::array();
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return {Titled(title, text), key, std::move(words)};
}

Fact NamesFact(const std::string& title, const std::string& key, ALCenum parameter) {
    Fact fact{title + ":", key, Json::array()};
    const ALCchar* name = alcGetString(nullptr, parameter);
    for (; name != nullptr && *name != '\0'; name += std::strlen(name) + 1) {
        fact.line += std::string(" '") + name + "'";
        fact.value.push_back(name);
    }
    return fact;
}

Fact NumberFact(ALCdevice* device, const std::string& title, const std::string& key, ALCenum parameter,
                const std::string& unit = "") {
    ALCint value = 0;
    alcGetIntegerv(device, parameter, 1, &value);
    return {Titled(title, std::to_string(value) + unit), key, value};
}

Fact VersionFact() {
    ALCint major = 0, minor = 0, patch = 0;
    tsrGetVersion(&major, &minor, &patch);
    const std::string text =
        std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
    return {Titled("Library version", text), "library_version", text};
}

Fact AttributesFact(ALCdevice* device) {
    ALCint attributes[64] = {0};
    alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, 64, attributes);
    std::string text;
    Json members = Json::object();
    for (const ALCint* pair = attributes; pair[0] != 0; pair += 2) {
        char name[16];
        std::snprintf(name, sizeof name, "0x%X", static_cast<unsigned>(pair[0]));
        text += (text.empty() ? "" : " ") + std::string(name) + "=" + std::to_string(pair[1]);
        members[name] = pair[1];
    }
    return {Titled("All attributes", text), "attributes", std::move(members)};
}

Facts FactsOfDevice(ALCdevice* device) {
    return {VersionFact(),
            TextFact("Device", "device", alcGetString(device, ALC_DEVICE_SPECIFIER)),
            NamesFact("Devices", "devices", ALC_ALL_DEVICES_SPECIFIER),
            NamesFact("Default device", "default_device", ALC_DEFAULT_DEVICE_SPECIFIER),
            WordsFact("ALC extensions", "alc_extensions", alcGetString(device, ALC_EXTENSIONS)),
            NumberFact(device, "ALC major version", "alc_major_version", ALC_MAJOR_VERSION),
            NumberFact(device, "ALC minor version", "alc_minor_version", ALC_MINOR_VERSION),
            NumberFact(device, "EFX major version", "efx_major_version", ALC_EFX_MAJOR_VERSION),
            NumberFact(device, "EFX minor version", "efx_minor_version", ALC_EFX_MINOR_VERSION),
            NumberFact(device, "Auxiliary sends", "auxiliary_sends", ALC_MAX_AUXILIARY_SENDS)};
}

Facts FactsOfContext(ALCdevice* device) {
    return {NumberFact(device, "Sample rate", "sample_rate", ALC_FREQUENCY, " Hz"),
            NumberFact(device, "Refresh rate", "refresh_rate", ALC_REFRESH, " Hz"),
            NumberFact(device, "Synchronous", "synchronous", ALC_SYNC),
            NumberFact(device, "Mono sources", "mono_sources", ALC_MONO_SOURCES),
            NumberFact(device, "Stereo sources", "stereo_sources", ALC_STEREO_SOURCES),
            NumberFact(device, "Filter order", "filter_order", ALC_DEFAULT_FILTER_ORDER),
            NumberFact(device, "Attributes size", "attributes_size", ALC_ATTRIBUTES_SIZE),
            AttributesFact(device),
            TextFact("AL vendor", "al_vendor", alGetString(AL_VENDOR)),
            TextFact("AL renderer", "al_renderer", alGetString(AL_RENDERER)),
            TextFact("AL version", "al_version", alGetString(AL_VERSION)),
            WordsFact("AL extensions", "al_extensions", alGetString(AL_EXTENSIONS))};
}

// Prints lines as they come, and the document at the end, however that comes.
class Report {
public:
    explicit Report(bool isJson) : isJson(isJson) {}
    ~Report() {
        if (isJson) tool::PrintJson(document);
    }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    void Add(const Facts& facts) {
        for (const Fact& fact : facts) {
            if (!isJson) std::cout << fact.line << "\n";
            document[fact.key] = fact.value;
        }
    }

private:
    const bool isJson;
    Json document = Json::object();
};

int Fail(const std::string& sentence, const std::string& hint = "") {
    std::cout.flush();
    tool::Complain(sentence + hint);
    return tool::failed;
}

int ShowAll(bool isJson) {
    ALCdevice* const device = alcOpenDevice(nullptr);
    if (device == nullptr) return Fail("The device could not be opened.");
    Report report(isJson);
    report.Add(FactsOfDevice(device));
    ALCcontext* const context = alcCreateContext(device, nullptr);
    if (context == nullptr)
        return Fail(std::string("No context could be made: ") + alcGetString(device, alcGetError(device)),
                    " The reason stands in the log: 'tessarune-config log' prints it.");
    alcMakeContextCurrent(context);
    report.Add(FactsOfContext(device));
    const ALCenum error = alcGetError(device);
    alcMakeContextCurrent(nullptr);
    alcDestroyContext(context);
    if (alcCloseDevice(device) != ALC_TRUE || error != ALC_NO_ERROR)
        return Fail(std::string("A call failed: ") + alcGetString(device, error));
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    tool::HideRefusedPriority();
    tool::Program program("tessarune-info",
                          "Makes a context as a game does, and prints what the library answers to every "
                          "question about itself.");
    program.SetFooter(std::string(footer) + tool::exitStatuses);
    bool isJson = false;
    tool::AddJsonFlag(program, isJson);
    return program.Run(count, arguments, [&] { return ShowAll(isJson); });
}
