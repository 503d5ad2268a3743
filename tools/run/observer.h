#pragma once

// Looks at the processes of a game while they run, for what only shows then: which library they have mapped.
// What they did with ours is in their status pages, which are read at the end. On the main thread.

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/run/processes.h"
#include "tools/support/gamestatus.h"

namespace tool {

/// An OpenAL library that isn't ours, mapped by a process that runs `program`.
struct MappedForeign {
    std::string program;
    std::string file;  ///< as the process names it
    pid_t process = 0;
};

/// Our library, mapped by a process.
struct LoadedOurs {
    std::string program;
    bool isApart = false;  ///< in a container, from where it may not have reached us
};

class Observer {
public:
    /// `links` is the folder of a LinksFolder, or empty; `ours` are folders whose libraries are ours.
    Observer(std::filesystem::path links, const std::vector<std::filesystem::path>& ours);
    ~Observer();
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    /// Looks at all that runs now.
    void Look();

    /// What the games have told, those that have ended as well; ordered by start.
    std::vector<GameStatus> Statuses() const;

    std::map<pid_t, LoadedOurs> loaded;  ///< by process
    std::vector<MappedForeign> foreign;  ///< each file once

private:
    using FileNumber = std::pair<dev_t, ino_t>;

    void LookAt(pid_t process);
    void KeepPage(const std::string& file);
    void NoteOurs(pid_t process);
    void NoteOpenAl(pid_t process, const MappedFile& file);
    bool IsOurs(pid_t process, const MappedFile& file) const;

    const std::filesystem::path links;
    std::vector<std::string> ours;    // folders
    std::map<FileNumber, int> pages;  // open files
};

}  // namespace tool
