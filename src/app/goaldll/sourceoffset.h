#pragma once

// The position of a source in its queue: AL_SEC_OFFSET, AL_SAMPLE_OFFSET and AL_BYTE_OFFSET. All are counted
// from the front of the queue, over all of its buffers. Called by the al* calls with a live source, under
// apiMutex and the context's stateMutex.

#include "AL/al.h"
#include "goal/context.h"

namespace goal {

/// True for the three tokens, which are the `unit` of what follows: seconds, frames or bytes.
bool IsOffset(ALenum unit);

/// Makes the source go on from there, with clean memory when it plays. Frames and bytes are cut to whole
/// ones, seconds rounded to a frame. A place that the queue doesn't have, a negative one, and NaN:
/// AL_INVALID_VALUE, and nothing changes. Throws slib::OutOfMemoryException and then changes nothing.
int SetOffset(const SourceAccess& source, ALenum unit, double value);

/// The source's position; a whole number of frames or bytes. 0 for an empty queue.
double GetOffset(const SourceAccess& source, ALenum unit);

}  // namespace goal
