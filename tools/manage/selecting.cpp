#include "tools/manage/selecting.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "tools/manage/connection.h"
#include "tools/manage/history.h"
#include "tools/manage/layouts.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/nearest.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using LayoutPtr = orb3::Configuration::LayoutPtr;

// The name as the library spells it.
std::string FindName(const orb3::fl::FormatLibrarian& librarian, const std::string& name) {
    std::vector<std::string> names;
    for (const orb3::fl::Format& format : LibraryLayouts(librarian))
        names.push_back(format.name);
    if (const auto found = FindMeant(names, name)) return names[*found];
    throw WrongUse("The format library has no layout '" + name + "'." + DidYouMean(names, name) +
                   " 'tessarune-config layouts' lists what it has, and 'tessarune-library layout' adds "
                   "another one.");
}

std::string CheckMethod(const orb3::fl::FormatLibrarian& librarian, const LayoutChoice& choice) {
    const std::vector<std::string> methods = MethodsFor(librarian, choice.name);
    if (std::find(methods.begin(), methods.end(), choice.method) != methods.end()) return choice.method;
    throw WrongUse("The method for '" + choice.name + "' must be one of " + Listed(methods) + ", not '" +
                   choice.method + "'." + DidYouMean(methods, choice.method));
}

void CheckChannels(const std::string& name, std::size_t needed, audiopipe::Device& device) {
    const std::uint32_t available = device.GetPlaybackChannelCount();
    if (needed <= available) return;
    throw WrongUse("'" + name + "' needs " + std::to_string(needed) + " outputs, but '" + device.id +
                   "' has " + std::to_string(available) +
                   ". Choose another device with --device ('tessarune-config devices' lists them), or name "
                   "your speakers with 'tessarune-config set SpeakerSetting'.");
}

std::size_t ChannelsOf(const orb3::fl::FormatLibrarian& librarian, const std::string& name) {
    orb3::fl::Format format;
    librarian.getFormat(librarian.findFormat(orb3::MakeFormatTag(name)), format);
    return format.channelCount;
}

// What a person connected and set stays; places of speakers come from the library, which decodes for them.
void KeepConnections(const orb3::spk::Layout& stored, orb3::spk::Layout& fresh) {
    if (stored.channels.size() != fresh.channels.size()) return;
    fresh.channels = stored.channels;
    fresh.pipeFramework = stored.pipeFramework;
    fresh.pipeDevice = stored.pipeDevice;
    fresh.gain = stored.gain;
}

orb3::spk::Layout MakeLayout(const orb3::fl::FormatLibrarian& librarian, const LayoutChoice& choice,
                             const LayoutPtr& stored, const orb3::Frameworks& frameworks) {
    const bool isKept = stored && choice.device.empty();
    const Output output = isKept ? Output() : FindOutput(frameworks, choice.device);
    if (output.device) CheckChannels(choice.name, ChannelsOf(librarian, choice.name), *output.device);
    orb3::spk::Layout fresh;
    orb3::ConfigureLayout(librarian, fresh, output.framework.Get(), output.device.Get(), choice.name);
    if (isKept) KeepConnections(*stored, fresh);
    if (output.device) ConnectTo(*output.device, fresh);
    const std::vector<std::string> methods = MethodsFor(librarian, choice.name);
    if (stored && std::find(methods.begin(), methods.end(), stored->method) != methods.end())
        fresh.method = stored->method;
    if (!choice.method.empty()) fresh.method = CheckMethod(librarian, choice);
    return fresh;
}

}  // namespace

orb3::spk::Layout SelectLayout(LayoutChoice choice) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    choice.name = FindName(library.Librarian(), choice.name);
    orb3::spk::Layout fresh;
    const ChangeStep step("the selection of '" + choice.name + "'");
    ChangeDocument([&](orb3::Configuration& configuration) {
        LayoutPtr layout = FindStored(configuration, choice.name);
        fresh = MakeLayout(library.Librarian(), choice, layout, frameworks);
        if (!layout) layout = configuration.layouts.emplace_back(new orb3::spk::Layout);
        *layout = fresh;
        configuration.selectedName = choice.name;
        configuration.useDirectSoundAutoselect = false;
    });
    return fresh;
}

void FollowSystem() {
    const ChangeStep step("the layout of the system's speakers");
    ChangeDocument([](orb3::Configuration& c) { c.useDirectSoundAutoselect = true; });
}

void CheckOutputs(const LayoutChoice& choice, std::size_t speakers) {
    const orb3::Configuration configuration = ReadDocument();
    for (const LayoutPtr& layout : configuration.layouts)
        if (orb3::MakeFormatTag(layout->format) == orb3::MakeFormatTag(choice.name) &&
            layout->channels.size() == speakers && choice.device.empty())
            return;
    ErrorsToTerminal log;
    CheckChannels(choice.name, speakers, *FindOutput(MakeFrameworks(log), choice.device).device);
}

}  // namespace tool
