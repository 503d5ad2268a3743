#pragma once

// The result codes of the sound devices, as an exception with a sentence for a person. Used by the adaptive
// pipe's framework, devices and pipes, on the thread that calls them.

#include "pipe/pipeexception.h"
#include "platform/directsound.h"

namespace audiopipe::directsound {

/// A device refused something or has failed.
class DirectSoundException : public PipeException {
public:
    using PipeException::PipeException;
};

/// Throws DirectSoundException with the text that belongs to the result, unless it is DS_OK.
void CheckResult(platform::Result result);

}  // namespace audiopipe::directsound
