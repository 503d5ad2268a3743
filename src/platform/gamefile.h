#pragma once

// A file that is written in a game's process: a descriptor that the game may close, as a daemon closes all
// that it finds, and which programs that the game starts don't get. The number may then be that of a file of
// the game's, which stays untouched. One thread at a time.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform {

class GameFile {
public:
    /// Opens `path` with these flags of the system's `open`. Without success IsOurs is false, and errno says
    /// why.
    GameFile(const std::string& path, int flags);
    ~GameFile();
    GameFile(const GameFile&) = delete;
    GameFile& operator=(const GameFile&) = delete;

    /// False once the game has closed the descriptor, whatever it then opened; and in a child that it forked.
    bool IsOurs() const;

    /// Both as pread and pwrite, from `offset` bytes on; 0 when the file isn't ours.
    [[nodiscard]] ssize_t Read(void* bytes, std::size_t count, std::int64_t offset) const;
    [[nodiscard]] ssize_t Write(const void* bytes, std::size_t count, std::int64_t offset) const;

private:
    const pid_t owner;
    int descriptor = -1;
    struct stat identity {};
};

}  // namespace platform
