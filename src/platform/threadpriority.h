#pragma once

// The priority of threads that aren't ours but run our code, as those of a sound server's client.

namespace platform {

/// Raises the calling thread to where sound needs it: a real-time class where the system lets us have it,
/// else ahead of ordinary threads, else nothing. A few system calls; allocates nothing.
void RaiseSoundThread();

}  // namespace platform
