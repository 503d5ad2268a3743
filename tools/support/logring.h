#pragma once

// The log in the user's store as a reader sees it: a ring of lines that all programs of the user write to.
// For the programs that show it; one thread.

#include <string>
#include <vector>

namespace tool {

/// The ring at one moment.
struct LogRing {
    int newest = 0;                  ///< slot of the line that was written last
    std::vector<std::string> slots;  ///< one text each; empty where there never was a line

    bool operator==(const LogRing&) const = default;
};

/// The log as it stands now.
LogRing ReadLogRing();

/// True when lines were written since `seen` was read. Much quicker than reading all.
bool HasNewLines(const LogRing& seen);

/// All lines, the oldest first.
std::vector<std::string> Lines(const LogRing& ring);

/// The lines that are in `now` and weren't in `before`, the oldest first. When more were written than a ring
/// holds, `isSomeLost` becomes true, and these are all that is left.
std::vector<std::string> LinesSince(const LogRing& before, const LogRing& now, bool& isSomeLost);

/// What was written since `before`, once the log is quiet, half a second later at most: the library in this
/// process writes its lines on a thread of its own.
std::vector<std::string> AwaitLinesSince(const LogRing& before);

/// What the last error in `lines` says, without its mark and time; empty when there is none.
std::string LastError(const std::vector<std::string>& lines);

}  // namespace tool
