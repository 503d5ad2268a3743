#pragma once

// The priority of the calling thread, whoever made it: the steps that slib::Thread and platform::UrgentThread
// consist of. Each is a few system calls, and allocates and locks nothing but for the line.

namespace slib {

/// The levels of the round-robin class that threads of ours have while sound depends on them. Sound servers
/// have 5 and more: theirs play other programs' sound too, and ours stay below them.
inline constexpr int rendererLevel = 3;
inline constexpr int soundThreadLevel = 4;  ///< of the threads that take what those render

/// Takes a level of the round-robin class, or the highest that RLIMIT_RTPRIO allows where that is less. What
/// the thread forks or creates starts out as an ordinary one. False when the system refuses.
bool TakeRealTimeLevel(int level);

/// Back to the ordinary class, with the nice level that the thread has had all along.
void LeaveRealTimeClass();

/// Leaves the real-time class and takes a nice level, or the nearest that RLIMIT_NICE allows. False when
/// nothing was gained: the thread keeps the one that it has.
bool TakeNiceLevel(int level);

/// Writes "Failed to set thread priority." to standard error, once a process; never where the environment has
/// TESSARUNE_QUIET, as in the programs for people, for whom there is nothing in it.
void ReportRefusedPriority() noexcept;

/// Writes both texts and a line end as one piece, so that lines of several threads don't mix. A stream that
/// the game set up to throw, or a lack of memory, costs the line and not the process.
void WriteToStandardError(const char* prefix, const char* text) noexcept;

}  // namespace slib
