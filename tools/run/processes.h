#pragma once

// The processes below this one, as /proc shows them: who they are, and what they have mapped. What can't be
// read, as of a process of another user, is left out. On the main thread.

#include <sys/types.h>

#include <string>
#include <vector>

namespace tool {

/// All processes that this one and those below it have started and that haven't ended; no order.
std::vector<pid_t> Descendants();

/// The file name of the process's program.
std::string ProgramOf(pid_t process);

/// The files that the process has mapped, each once, as it names them itself.
std::vector<std::string> MappedFiles(pid_t process);

/// A path of the process's own as this process reaches it: a process in a container has another root.
std::string ReachedBy(pid_t process, const std::string& path);

}  // namespace tool
