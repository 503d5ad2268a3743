#pragma once

// The speakers of one device, where the setting for all would be wrong for it. One thread.

#include <string>

#include "orb3core/settings/settingtable.h"

namespace tool {

/// A device that may have a setting of its own.
struct OwnDevice {
    std::string name;  ///< for people
    std::string key;   ///< in the store
};

/// Throws WrongUse unless the setting is one that a device may have of its own.
void CheckIsOfDevices(const orb3::Setting& setting);

/// By its id, name or number. Throws WrongUse for what isn't there, and for a device that has no speakers of
/// its own: the default one, which is another at times, and those that play their outputs as they are.
OwnDevice DeviceOfOwn(const std::string& device);

/// The name of its layout, or "Auto" where it has none of its own. Throws as ReadValue.
std::string SpeakersOf(const OwnDevice& device);

/// Nothing for none of its own. Throws as ReplaceValue.
void StoreSpeakersOf(const OwnDevice& device, const std::string& speakers);

}  // namespace tool
