#include "platform/gamefile.h"

#include <fcntl.h>
#include <unistd.h>

namespace platform {

// Above the numbers of the standard streams, which a game that closed those writes to all the same.
GameFile::GameFile(const std::string& path, int flags) : owner(getpid()) {
    const int opened = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (opened < 0) return;
    descriptor = fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(opened);
    if (fstat(descriptor, &identity) != 0) descriptor = -1;
}

GameFile::~GameFile() {
    if (IsOurs()) ::close(descriptor);
}

bool GameFile::IsOurs() const {
    struct stat now {};
    return owner == getpid() && descriptor >= 0 && fstat(descriptor, &now) == 0 &&
           now.st_dev == identity.st_dev && now.st_ino == identity.st_ino;
}

ssize_t GameFile::Read(void* bytes, std::size_t count, std::int64_t offset) const {
    return IsOurs() ? pread64(descriptor, bytes, count, offset) : 0;
}

ssize_t GameFile::Write(const void* bytes, std::size_t count, std::int64_t offset) const {
    return IsOurs() ? pwrite64(descriptor, bytes, count, offset) : 0;
}

}  // namespace platform
