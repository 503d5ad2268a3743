#pragma once

// Threads that sound depends on: at a real-time level while they are urgent, and watched, so that one that
// computes for long stops neither the machine nor the process. Each takes what it may have by itself:
//
//     real-time level, or what RLIMIT_RTPRIO allows of it        the thread itself
//     real-time level by RealtimeKit                             the keeper, if it has one above that itself
//     nice -15 by RealtimeKit                                    the keeper
//     nice -15, or what RLIMIT_NICE allows of it                 the thread itself, at once
//     nothing, and a line on standard error, once a process      the keeper
//
// The keeper is a thread of ours that runs as long as there are objects of this class. It stands above the
// threads that it watches, and takes one that has computed for 60 ms without having waited out of the
// real-time class. RealtimeKit serves only a process that the kernel ends (SIGKILL) once a real-time thread
// of it has computed for 200 ms without having waited (the hard limit RLIMIT_RTTIME, which can't be raised
// again), so no thread becomes a real-time one that way unless the keeper has before.

#include <memory>

namespace platform {

struct UrgentEntry;

/// Made and destroyed by any thread that neither renders nor plays; starts the keeper with the first object,
/// and waits for its end with the last one. Where the system refuses it that thread, only what the thread
/// takes by itself is to be had, unwatched.
class UrgentThread {
public:
    /// `level` is that of the real-time class (slib/priority.h).
    explicit UrgentThread(int level);
    /// From here on nothing is done to the thread any more, which may be over already.
    ~UrgentThread();
    UrgentThread(const UrgentThread&) = delete;
    UrgentThread& operator=(const UrgentThread&) = delete;

    /// For the thread itself, which is the one of the first call. Urgent it gets the best of the list above,
    /// otherwise nice -5, or what it may have of that. A few system calls where something changes, else none;
    /// no lock, no allocation. While the thread was taken out of its class it stays so for five seconds at
    /// least, until the next call with `urgent`.
    void SetUrgent(bool urgent);

    /// The thread is urgent, and was refused a real-time level.
    bool IsRefused() const;

private:
    const std::shared_ptr<UrgentEntry> entry;
};

}  // namespace platform
