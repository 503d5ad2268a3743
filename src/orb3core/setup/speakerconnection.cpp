#include "orb3core/setup/speakerconnection.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "orb3core/setup/devicelookup.h"
#include "orb3core/speakers/standardchannels.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

using spk::Role;
using Names = std::array<std::string_view, 2>;  // the better one first; the same twice where there is one

// What the outputs of systems are called for a role, but for spaces, which FindChannel leaves out. Surround
// speakers stand at the side for some, and at the back for others.
Names OutputNames(Role role) {
    switch (role) {
        case Role::FrontLeft:
            return {"FrontLeft", "Left"};
        case Role::FrontRight:
            return {"FrontRight", "Right"};
        case Role::FrontCentre:
        case Role::FrontCentreDialogue:
            return {"FrontCentre", "FrontCentre"};
        case Role::BassManaged:
        case Role::BassLFE:
            return {"Bass", "Bass"};
        case Role::BackLeft:
            return {"BackLeft", "SideLeft"};
        case Role::BackRight:
            return {"BackRight", "SideRight"};
        case Role::BackCentre:
            return {"BackCentre", "BackCentre"};
        case Role::SideLeft:
            return {"SideLeft", "BackLeft"};
        case Role::SideRight:
            return {"SideRight", "BackRight"};
        case Role::Unknown:
            return {};
    }
    slib::ThrowUnreachable();
}

bool IsForBassAlone(std::string_view output) {
    return NamesMatch(output, "Bass");
}

class Connector {
public:
    Connector(const std::vector<spk::Speaker>& speakers, const std::vector<std::string>& outputs)
        : speakers(speakers), outputs(outputs), isTaken(outputs.size(), false), found(speakers.size()) {}

    std::vector<std::uint32_t> Connect() {
        ForEachLeft([](const spk::Speaker& speaker) -> std::string_view { return speaker.label; });
        for (std::size_t choice = 0; choice < Names().size(); ++choice)
            ForEachLeft([=](const spk::Speaker& speaker) { return OutputNames(speaker.role)[choice]; });
        std::vector<std::uint32_t> indices;
        for (std::size_t i = 0; i < speakers.size(); ++i) {
            if (!found[i]) Take(i, NextFree(speakers[i].type == spk::SpeakerType::SubWoofer));
            indices.push_back(*found[i]);
        }
        return indices;
    }

private:
    template <typename NameOf>
    void ForEachLeft(const NameOf& nameOf) {
        for (std::size_t i = 0; i < speakers.size(); ++i) {
            if (found[i]) continue;
            const std::string name(nameOf(speakers[i]));
            const std::optional<std::uint32_t> output =
                name.empty() ? std::nullopt : FindChannel(outputs, name);
            if (output && !isTaken[*output]) Take(i, *output);
        }
    }

    void Take(std::size_t speaker, std::uint32_t output) {
        found[speaker] = output;
        isTaken[output] = true;
    }

    // The last one, for bass alone or not, where there is no other.
    std::uint32_t NextFree(bool isBass) const {
        std::optional<std::uint32_t> other;
        for (std::uint32_t i = 0; i < outputs.size(); ++i) {
            if (isTaken[i]) continue;
            if (IsForBassAlone(outputs[i]) == isBass) return i;
            if (!other) other = i;
        }
        return *other;
    }

    const std::vector<spk::Speaker>& speakers;
    const std::vector<std::string>& outputs;
    std::vector<bool> isTaken;
    std::vector<std::optional<std::uint32_t>> found;
};

}  // namespace

std::vector<std::uint32_t> ConnectSpeakers(const std::vector<spk::Speaker>& speakers,
                                           const std::vector<std::string>& outputs) {
    if (outputs.size() < speakers.size())
        throw slib::BadParameterException("There are fewer outputs than speakers.");
    return Connector(speakers, outputs).Connect();
}

std::vector<std::size_t> SpeakersOnBassOutputs(const spk::Layout& layout) {
    std::vector<std::size_t> found;
    const std::size_t count = std::min(layout.speakers.size(), layout.channels.size());
    for (std::size_t i = 0; i < count; ++i)
        if (layout.speakers[i].type != spk::SpeakerType::SubWoofer &&
            IsForBassAlone(layout.channels[i].pipePlaybackChannel))
            found.push_back(i);
    return found;
}

}  // namespace orb3
