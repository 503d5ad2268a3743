#pragma once

// What plays and what is to play: the state machine of a source, its queue, and its one buffer. Called by the
// al* calls with a live source, under apiMutex and the context's stateMutex. All of it is written before the
// call returns and heard from the server's next block on.

#include <span>

#include "AL/al.h"
#include "goal/context.h"

namespace goal {

/// Begins to play: from the start when it plays already, else from its position. Nothing to play: does
/// nothing.
void Play(const SourceAccess& source);

/// Ends playing, and goes back to the start.
void Stop(const SourceAccess& source);

/// AL_INITIAL, at the start.
void Rewind(const SourceAccess& source);

/// Halts a playing source where it is. Also in a suspended context that acts at once, as long as the game
/// hasn't changed the source's state meanwhile.
void Pause(const SourceAccess& source);

/// AL_BUFFER: makes the buffer of that name the only one of a source that doesn't play; 0 for none. Returns
/// an AL error code. Throws slib::OutOfMemoryException and then changes nothing.
int SetBuffer(const SourceAccess& source, ALuint name);

/// Appends buffers of one format and frequency to the queue, all of them or none. Returns an AL error code.
/// Throws slib::OutOfMemoryException and then changes nothing.
int QueueBuffers(const SourceAccess& source, std::span<const ALuint> names);

/// Takes as many buffers as there is room for in `names` off the front of the queue and writes their names,
/// all of them or none. Returns an AL error code. Throws slib::OutOfMemoryException and then changes nothing.
int UnqueueBuffers(const SourceAccess& source, std::span<ALuint> names);

}  // namespace goal
