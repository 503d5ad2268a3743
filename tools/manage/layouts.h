#pragma once

// The speaker layouts that there are: those of the format library, and stored ones that it doesn't have. One
// thread.

#include <cstddef>
#include <string>
#include <vector>

#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "tools/manage/machine.h"

namespace tool {

struct LayoutEntry {
    std::string name;
    std::size_t channels = 0;
    std::vector<std::string> methods;  ///< best first; none for one that isn't in the library
    bool isInLibrary = true;
    bool isSelected = false;
    orb3::Configuration::LayoutPtr stored;  ///< null where none of that name is stored
};

/// Those of the library first, in its order.
std::vector<LayoutEntry> ListLayouts(const FormatLibrary& library, const orb3::Configuration& configuration);

/// The formats of the library that are layouts.
std::vector<orb3::fl::Format> LibraryLayouts(const orb3::fl::FormatLibrarian& librarian);

/// The tags of the methods that decode for the layout of this name, the best first.
std::vector<std::string> MethodsFor(const orb3::fl::FormatLibrarian& librarian, const std::string& layout);

/// The stored layout of exactly that name, the last if there are several; null for none.
orb3::Configuration::LayoutPtr FindStored(const orb3::Configuration& configuration, const std::string& name);

/// The names of the layouts in the user's own library; none where that can't be read.
std::vector<std::string> OwnLayoutNames();

/// "Quad, Stereo".
std::string Listed(const std::vector<std::string>& words);

}  // namespace tool
