#pragma once

// What an audio output throws when it fails. Thrown by frameworks, devices and pipes on the thread that calls
// them.

#include <string>

#include "slib/exception.h"

namespace audiopipe {

/// An output doesn't open or has failed.
class PipeException : public slib::BadStateException {
public:
    explicit PipeException(const std::string& text, bool isOfFormat = false)
        : BadStateException(text), isOfFormat(isOfFormat) {}

    const bool isOfFormat;  ///< it refused the format, and may take another sample rate
};

}  // namespace audiopipe
