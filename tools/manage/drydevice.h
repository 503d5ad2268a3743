#pragma once

// Devices that tell what real ones tell, but of which nothing is ever opened. For trying a start out. One
// thread.

#include "orb3core/setup/devicelookup.h"

namespace tool {

/// The same frameworks and devices, whose pipes keep their pace but play nothing.
orb3::Frameworks WithDryDevices(const orb3::Frameworks& frameworks);

}  // namespace tool
