#pragma once

// The selection of a layout, by a command or the page. One thread.

#include <cstddef>
#include <string>

#include "orb3core/speakers/layout.h"

namespace tool {

/// What a person asks for: names of a layout, of a device (its id, name or number; empty for the stored one
/// or the default), and of a method (empty for the stored or the best one).
struct LayoutChoice {
    std::string name, device, method;
};

/// Puts a layout of the format library in force, and returns it as it is stored then. Throws WrongUse for
/// what there isn't.
orb3::spk::Layout SelectLayout(LayoutChoice choice);

/// Lets the system's speakers choose.
void FollowSystem();

/// Throws WrongUse where SelectLayout would for want of outputs, before there is a layout of that name and
/// that many speakers in the library.
void CheckOutputs(const LayoutChoice& choice, std::size_t speakers);

}  // namespace tool
