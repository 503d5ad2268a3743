#pragma once

// A configuration document in parts that change independently: its settings, its layouts, and which is
// selected. For undo. Plain functions.

#include <map>
#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"

namespace tool {

/// Texts by the parts' names for people: "Order", "the layout 'Quad'". What isn't there isn't in it.
using DocumentParts = std::map<std::string, std::string>;
DocumentParts PartsOf(const orb3::Configuration& configuration);

/// Gives the parts that differ between `from` and `to` the value of `to`, where `current` has that of `from`.
/// Returns the names of those where it doesn't, which stay. Throws slib::BadDataException for a part that no
/// document can have; then `current` is to be thrown away.
std::vector<std::string> MoveParts(const DocumentParts& from, const DocumentParts& to,
                                   orb3::Configuration& current);

}  // namespace tool
