#include "tools/page/server/onlyserver.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "slib/exception.h"

namespace page {
namespace {

struct flock WholeFile() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace

// Of two that start at once the other may end in between, so it is tried again.
OnlyServer::OnlyServer(const std::filesystem::path& folder)
    : file(open((folder / "page.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    constexpr int attempts = 10;
    for (int i = 0; file.IsOpen() && i < attempts; ++i) {
        struct flock lock = WholeFile();
        if (fcntl(file.value, F_SETLK, &lock) == 0) return;
        if (errno != EACCES && errno != EAGAIN) break;
        lock = WholeFile();
        if (fcntl(file.value, F_GETLK, &lock) != 0) break;
        if (lock.l_type == F_UNLCK) continue;
        if (lock.l_pid <= 0)
            throw slib::BadStateException(
                "The page is open already, by a program in another container. End that.");
        owner = lock.l_pid;
        return;
    }
    throw slib::OperatingSystemErrnoException("The file '" + (folder / "page.lock").string() +
                                              "' can't be locked. Remove it, and start this program again.");
}

}  // namespace page
