#pragma once

// The speakers of a stored layout, and the change of their outputs and gains, by a command or the page. One
// thread.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"
#include "orb3core/setup/devicelookup.h"
#include "tools/manage/storedvalues.h"

namespace tool {

/// The stored layout of this name, or the one in force where it is empty. Throws WrongUse for none.
const orb3::spk::Layout& FindLayout(const orb3::Configuration& configuration, const std::string& name);
orb3::spk::Layout& FindLayoutToChange(orb3::Configuration& configuration, const std::string& name);

/// Throws slib::BadDataException unless the layout has an output for each speaker.
void CheckIsWhole(const orb3::spk::Layout& layout);

/// The names of the outputs of the layout's device. Throws WrongUse where that isn't there.
std::vector<std::string> OutputsOf(const orb3::spk::Layout& layout, const orb3::Frameworks& frameworks);

/// Connects a speaker of the layout, by its index, to an output of its device. The speaker that had that
/// output gets the one that is given up, for one output can't play two speakers. Throws WrongUse, which lists
/// the outputs.
void Connect(orb3::spk::Layout& layout, std::size_t speaker, const std::string& output,
             const orb3::Frameworks& frameworks);

struct SpeakerChange {
    std::string layout;   ///< empty for the one in force
    std::string speaker;  ///< its label or number
    std::string output;   ///< empty to leave it
    std::optional<double> gain;
};

/// Throws WrongUse for what there isn't, and what the storing throws.
void ChangeSpeaker(const SpeakerChange& change, Force force);

/// Connects all speakers of a layout to a device, by their names and roles, the rest in order. Throws
/// WrongUse where the device has too few outputs.
void ConnectAllSpeakers(const std::string& layout, const std::string& device);

}  // namespace tool
