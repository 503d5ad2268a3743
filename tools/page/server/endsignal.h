#pragma once

// What wakes all that waits at a socket when the server ends: a descriptor that can be read from then on. Any
// thread.

#include "tools/page/server/descriptor.h"

namespace page {

class EndSignal {
public:
    /// Throws slib::OperatingSystemErrnoException when the system has no descriptor left.
    EndSignal();

    /// For good.
    void Raise() const;

    Descriptor descriptor;
};

}  // namespace page
