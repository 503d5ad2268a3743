#pragma once

// One connection to a PulseAudio server, with the client library's thread that serves it. Callbacks run on
// that thread, which holds the loop's lock meanwhile. In a child that the game forked there is no connection.

#include <sys/types.h>
#include <unistd.h>

#include <string>

#include "platform/pulselibrary.h"

namespace platform {

class PulseLoop {
public:
    PulseLoop();
    ~PulseLoop();
    PulseLoop(const PulseLoop&) = delete;
    PulseLoop& operator=(const PulseLoop&) = delete;

    bool IsHere() const { return owner == getpid(); }
    /// False once the game has closed the descriptors of all of us, as a daemon does: the connection is lost
    /// then, whether or not the library has noticed.
    bool IsIntact() const;

    /// Any thread but the library's, once. False when no server answers, or the library is missing; may wait
    /// for one.
    [[nodiscard]] bool Connect();
    /// Ends connection and thread: no callback runs from then on. Does nothing the second time. The memory of
    /// one that isn't intact is lost, since the library ends the process for a descriptor that it can't
    /// close.
    void End();

    // With the lock.

    pa_context* Context() const { return context; }
    bool IsConnected() const { return PA_CONTEXT_IS_GOOD(Pulse().contextState(context)); }
    /// Waits until `operation`, which may be null, is over, or the connection lost. Takes the operation.
    void Await(pa_operation* operation) const;
    /// Lets it run on alone.
    static void Drop(pa_operation* operation);
    /// Gives up the lock until a callback has called Wake.
    void Wait() const { Pulse().waitLoop(loop); }
    void Wake() const { Pulse().signalLoop(loop, 0); }

private:
    friend class PulseLock;

    pa_threaded_mainloop* loop;
    pa_context* context = nullptr;
    const pid_t owner = getpid();
    const int witness;  // a descriptor beside those of the library, which is closed when they are
    const ino_t witnessFile;
};

/// Holds the loop's lock. Any thread but the library's, after Connect.
class PulseLock {
public:
    explicit PulseLock(const PulseLoop& connection) : loop(connection.loop) { Pulse().lockLoop(loop); }
    ~PulseLock() { Pulse().unlockLoop(loop); }
    PulseLock(const PulseLock&) = delete;
    PulseLock& operator=(const PulseLock&) = delete;

private:
    pa_threaded_mainloop* const loop;
};

inline std::string TextOf(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace platform
