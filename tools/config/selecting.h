#pragma once

// The selection of a layout, for the commands that end in one. One thread.

#include <string>

namespace tool {

/// What a person asks for: names of a layout, of a device (its id, name or number; empty for the stored one
/// or the default), and of a method (empty for the stored or the best one).
struct LayoutChoice {
    std::string name, device, method;
};

/// Puts a layout of the format library in force, and says so. Throws WrongUse for what there isn't.
void SelectLayout(LayoutChoice choice);

/// Throws WrongUse where SelectLayout would for want of outputs, before there is a layout of that name and
/// that many speakers in the library.
void CheckOutputs(const LayoutChoice& choice, std::size_t speakers);

}  // namespace tool
