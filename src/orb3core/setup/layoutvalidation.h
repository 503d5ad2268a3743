#pragma once

// Whether the layout in force can be used with the library and the devices that there are. Called by the
// set-up of the output on the server's thread, with the server's own copy of the configuration.

#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/setup/devicelookup.h"

namespace orb3 {

/// Throws slib::BadDataException with all that is wrong with the layout in force, or with the first fault of
/// its speakers. On the way it takes what is wrong out of the layout: outputs that aren't there, an unknown
/// method, a gain that isn't a number. It selects the first layout when the selected one isn't there, and
/// spells the outputs as the device does.
void ValidateConfiguration(const fl::FormatLibrarian& librarian, Configuration& configuration,
                           const Frameworks& frameworks);

}  // namespace orb3
