#pragma once

// Where rooms go that a user measured, and how they are put in force. One thread.

#include <string>
#include <vector>

#include "library/layouts.h"
#include "orb3core/speakers/layout.h"
#include "tools/manage/report.h"

namespace tool {

/// Designs the decoders of a room, in place of those of an earlier one of its name, and stores them in the
/// user's own format library. Throws slib::BadDataException, which says what to do, and what the design, the
/// library and `report` throw; then nothing was stored.
void StoreRoom(const design::SpeakerLayout& room, const StepReport& report);

/// A room as it is to be heard.
struct RoomInUse {
    design::SpeakerLayout room;
    std::string device;                ///< its id, name or number; empty for the stored one or the default
    std::vector<std::string> outputs;  ///< of the speakers; empty, all or single ones, for those that fit
};

/// Stores the room and selects its layout, which is returned, with its gains. Throws as StoreRoom and
/// SelectLayout, and WrongUse for an output that the device doesn't have.
orb3::spk::Layout ApplyRoom(const RoomInUse& use, const StepReport& report);

/// From a text or JSON (design::ReadLayout). Throws what that throws, and
/// slib::OperatingSystemErrnoException.
design::SpeakerLayout ReadRoom(const std::string& file);

/// Takes a room of the user's own library away; the settings keep what they have of it. Throws WrongUse where
/// there is none of that name.
void RemoveRoom(const std::string& name);

}  // namespace tool
