#pragma once

// Which of the stored layouts is in force, and how a new one is made from the format library. Layouts can
// follow the system's speaker setting, as the default device of the framework "DirectSound" reports it.
// Called by the set-up of the output on the server's thread, with the server's own copy of the configuration.

#include <string>

#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/setup/devicelookup.h"
#include "slib/log.h"

namespace orb3 {

/// The layout in force: the last whose format is the selected name. Null when there is none.
Configuration::LayoutPtr FindSelectedLayout(const Configuration& configuration);

/// Makes the layout fit the system's speaker setting, and logs a change to `log`; true when it chose another.
/// The layouts that are stored come first, a new one is appended when none fits. It does nothing when
/// automatic selection is off, or the layout in force fits. With `force`, the recovery, it always selects,
/// and connects what it selects to the default device. Throws what ConfigureLayout throws.
[[nodiscard]] bool SelectLayout(const Frameworks& frameworks, const fl::FormatLibrarian& librarian,
                                Configuration& configuration, slib::Log* log, bool force);

/// Makes `layout` one of the format with this name: its speakers as the library has them, the best method
/// that decodes for it, all gains 1, and its channels connected one by one to those of `device`, or to
/// nothing where that and its `framework` are null. Throws slib::BadDataException when the library's data or
/// the device's channels don't do; `layout` then stays as it was.
void ConfigureLayout(const fl::FormatLibrarian& librarian, spk::Layout& layout,
                     audiopipe::Framework* framework, audiopipe::Device* device,
                     const std::string& formatName);

}  // namespace orb3
