#include "orb3core/setup/layoutvalidation.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

using LayoutPtr = Configuration::LayoutPtr;

// Null, with a finding, when there is no layout in force; the first one is then selected.
LayoutPtr FindLayoutToCheck(Configuration& configuration, std::string& findings) {
    if (configuration.layouts.empty()) {
        findings += " There are no layouts to select from.";
        return {};
    }
    const std::string& name = configuration.selectedName;
    LayoutPtr layout = name.empty() ? LayoutPtr() : FindSelectedLayout(configuration);
    if (layout) return layout;
    findings +=
        name.empty() ? " There was no selected layout." : " Unable to find selected layout '" + name + "'.";
    configuration.selectedName = configuration.layouts.front()->format;
    return {};
}

void CheckSpeakers(const spk::Layout& layout) {
    if (layout.speakers.size() != layout.channels.size())
        throw slib::BadDataException("Speakers and channels do not match up.");
    for (const spk::Speaker& speaker : layout.speakers)
        speaker.Validate();
}

void CheckGains(spk::Layout& layout, std::string& findings) {
    if (!std::isfinite(layout.gain)) {
        findings += " The gain of the layout was not a number.";
        layout.gain = 1;
    }
    for (std::size_t i = 0; i < layout.channels.size(); ++i) {
        if (std::isfinite(layout.channels[i].gain)) continue;
        findings += " The gain of '" + layout.speakers[i].label + "' was not a number.";
        layout.channels[i].gain = 1;
    }
}

void Disconnect(spk::Layout& layout) {
    layout.pipeDevice.clear();
    for (spk::Channel& channel : layout.channels)
        channel.pipePlaybackChannel.clear();
}

// Two spellings of one output are one output too.
void CheckOutputs(spk::Layout& layout, const std::vector<std::string>& deviceChannels,
                  std::string& findings) {
    std::set<std::string> used;
    bool isUnconnectedTold = false;
    for (std::size_t i = 0; i < layout.channels.size(); ++i) {
        std::string& name = layout.channels[i].pipePlaybackChannel;
        if (name.empty()) {
            if (!isUnconnectedTold)
                findings +=
                    " Not all audio outputs have been connected up (see '" + layout.speakers[i].label + "').";
            isUnconnectedTold = true;
            continue;
        }
        const auto match = FindChannel(deviceChannels, name);
        const std::string& spelling = match ? deviceChannels[*match] : name;
        if (used.contains(spelling)) {
            findings += " Output '" + name + "' is used more than once.";
        } else if (match) {
            name = spelling;
            used.insert(name);
        } else {
            findings += " Output '" + name + "' was not available.";
            name.clear();
        }
    }
}

void CheckConnections(spk::Layout& layout, const Frameworks& frameworks, std::string& findings) {
    if (layout.pipeFramework.empty() || layout.pipeDevice.empty()) {
        findings += " Audio output has not been set up.";
        return Disconnect(layout);
    }
    const audiopipe::FrameworkPtr framework = FindFramework(frameworks, layout.pipeFramework);
    if (!framework) {
        findings += " Unknown audio framework '" + layout.pipeFramework + "'.";
        layout.pipeFramework.clear();
        return Disconnect(layout);
    }
    const audiopipe::DevicePtr device = FindDevice(*framework, layout.pipeDevice);
    if (!device) {
        findings += " Unknown audio device '" + layout.pipeDevice + "'.";
        return Disconnect(layout);
    }
    CheckOutputs(layout, PlaybackChannelNames(*device), findings);
}

// As a document keeps them; what the library holds may have more digits.
spk::SpeakerSet Stored(const spk::SpeakerSet& speakers) {
    spk::SpeakerSet stored;
    stored.Read(*speakers.CreateNode(), true);
    return stored;
}

// A library that was exchanged may have other speakers under the same name.
bool IsLayoutOf(const fl::Format& format, const spk::Layout& layout) {
    return format.isLayout && format.name == layout.format && format.speakers &&
           format.channelCount == layout.speakers.size() && Stored(*format.speakers) == Stored(layout);
}

// None as well when the library doesn't have the layout as it is.
std::vector<Decoder> FindDecodersFor(const fl::FormatLibrarian& librarian, const spk::Layout& layout) {
    const std::string tag = MakeFormatTag(layout.format);
    if (!librarian.hasFormat(tag)) return {};
    fl::Format format;
    librarian.getFormat(librarian.findFormat(tag), format);
    if (!IsLayoutOf(format, layout)) return {};
    return FindDecoders(librarian, tag);
}

void CheckDecoders(const fl::FormatLibrarian& librarian, spk::Layout& layout) {
    const std::vector<Decoder> decoders = FindDecodersFor(librarian, layout);
    if (decoders.empty()) throw slib::BadStateException("Decoders are not set up for this format.");
    const auto isByMethod = [&](const Decoder& d) { return d.conversion.method == layout.method; };
    if (std::any_of(decoders.begin(), decoders.end(), isByMethod)) return;
    layout.method.clear();
    throw slib::BadStateException("A decoder method has not been selected.");
}

void CheckLayout(const fl::FormatLibrarian& librarian, spk::Layout& layout, const Frameworks& frameworks,
                 std::string& findings) {
    CheckSpeakers(layout);
    if (layout.speakers.empty()) findings += " No audio channels are present.";
    CheckGains(layout, findings);
    try {
        CheckConnections(layout, frameworks, findings);
        CheckDecoders(librarian, layout);
    } catch (const std::exception& failure) {
        findings += std::string(" ") + failure.what();
    }
}

}  // namespace

void ValidateConfiguration(const fl::FormatLibrarian& librarian, Configuration& configuration,
                           const Frameworks& frameworks) {
    std::string findings;
    if (const LayoutPtr layout = FindLayoutToCheck(configuration, findings))
        CheckLayout(librarian, *layout, frameworks, findings);
    if (!findings.empty()) throw slib::BadDataException("The speaker layout is not valid:" + findings);
}

}  // namespace orb3
