#pragma once

// What an audio output throws when it fails. Thrown by frameworks, devices and pipes on the thread that calls
// them.

#include "slib/exception.h"

namespace audiopipe {

/// An output doesn't open or has failed.
class PipeException : public slib::BadStateException {
public:
    using BadStateException::BadStateException;
};

}  // namespace audiopipe
