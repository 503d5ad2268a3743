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

struct MappedFile {
    std::string path;
    ino_t inode = 0;
};

/// The files that the process has mapped, each once. In a container their paths are those in there.
std::vector<MappedFile> MappedFiles(pid_t process);

/// A path by which this process reaches that file, wherever the process has its root; one of a file that
/// isn't there where it can't.
std::string Reach(pid_t process, const MappedFile& file);

/// True for a process that sees other folders than this one, as in a container.
bool IsApart(pid_t process);

}  // namespace tool
