#include "tools/manage/speakers.h"

#include <cstdint>

#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "tools/manage/connection.h"
#include "tools/manage/history.h"
#include "tools/manage/machine.h"
#include "tools/manage/room.h"
#include "tools/support/nearest.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::spk::Layout;

std::string FindOutputName(const std::vector<std::string>& outputs, const std::string& name) {
    if (const auto found = orb3::FindChannel(outputs, name)) return outputs[*found];
    if (const auto found = FindMeant(outputs, name)) return outputs[*found];
    std::string known;
    for (const std::string& output : outputs)
        known += (known.empty() ? "" : ", ") + output;
    throw WrongUse("The output must be one of " + known + ", not '" + name + "'." +
                   DidYouMean(outputs, name));
}

}  // namespace

const Layout& FindLayout(const orb3::Configuration& configuration, const std::string& name) {
    const orb3::Configuration::LayoutPtr selected = orb3::FindSelectedLayout(configuration);
    if (name.empty() && selected) return *selected;
    for (auto layout = configuration.layouts.rbegin(); layout != configuration.layouts.rend(); ++layout)
        if (!name.empty() && orb3::MakeFormatTag((*layout)->format) == orb3::MakeFormatTag(name))
            return **layout;
    throw WrongUse(
        (name.empty() ? "No layout is in force yet." : "There is no stored layout '" + name + "'.") +
        " 'tessarune-config select LAYOUT' makes one.");
}

Layout& FindLayoutToChange(orb3::Configuration& configuration, const std::string& name) {
    const Layout& found = FindLayout(configuration, name);
    for (const auto& layout : configuration.layouts)
        if (layout.Get() == &found) return *layout;
    slib::ThrowUnreachable();
}

void CheckIsWhole(const Layout& layout) {
    if (layout.channels.size() == layout.speakers.size()) return;
    throw slib::BadDataException("The stored layout '" + layout.format +
                                 "' has different numbers of speakers and outputs. 'tessarune-config select "
                                 "LAYOUT' makes it anew.");
}

std::vector<std::string> OutputsOf(const Layout& layout, const orb3::Frameworks& frameworks) {
    if (layout.pipeDevice.empty())
        throw WrongUse(
            "'" + layout.format +
            "' isn't connected to a device yet. Connect it: tessarune-config speakers connect DEVICE.");
    const Output output = FindOutput(frameworks, layout.pipeDevice);
    return orb3::PlaybackChannelNames(*output.device);
}

void Connect(Layout& layout, std::size_t speaker, const std::string& output,
             const orb3::Frameworks& frameworks) {
    const std::string found = FindOutputName(OutputsOf(layout, frameworks), output);
    std::string& own = layout.channels[speaker].pipePlaybackChannel;
    for (orb3::spk::Channel& channel : layout.channels)
        if (channel.pipePlaybackChannel == found) channel.pipePlaybackChannel = own;
    own = found;
}

void ChangeSpeaker(const SpeakerChange& change, Force force) {
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    const ChangeStep step("the change of speaker '" + change.speaker + "'");
    ChangeDocument(
        [&](orb3::Configuration& configuration) {
            Layout& layout = FindLayoutToChange(configuration, change.layout);
            CheckIsWhole(layout);
            const std::size_t speaker = FindSpeaker(layout, change.speaker);
            if (change.gain) layout.channels[speaker].gain = *change.gain;
            if (!change.output.empty()) Connect(layout, speaker, change.output, frameworks);
        },
        force);
}

void ConnectAllSpeakers(const std::string& name, const std::string& device) {
    ErrorsToTerminal log;
    const Output output = FindOutput(MakeFrameworks(log), device);
    const ChangeStep step("the connection to '" + output.device->name + "'");
    const std::uint32_t available = output.device->GetPlaybackChannelCount();
    ChangeDocument([&](orb3::Configuration& configuration) {
        Layout& layout = FindLayoutToChange(configuration, name);
        if (layout.channels.size() > available)
            throw WrongUse("'" + layout.format + "' needs " + std::to_string(layout.channels.size()) +
                           " outputs, but '" + output.device->id + "' has " + std::to_string(available) +
                           ". 'tessarune-config devices' lists the devices.");
        layout.pipeFramework = output.framework->GetId();
        layout.pipeDevice = output.device->id;
        CheckIsWhole(layout);
        ConnectTo(*output.device, layout);
    });
}

}  // namespace tool
