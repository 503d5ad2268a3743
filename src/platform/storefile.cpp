#include "platform/storefile.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <thread>

#include "platform/privileges.h"

namespace platform {
namespace {

using std::filesystem::path;

constexpr off_t greatestFile = off_t{64} << 20;

// Closes a descriptor at the end of a scope, or before.
class Descriptor {
public:
    explicit Descriptor(int value) : value(value) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    // False when what was written turns out not to fit after all, which some file systems report only here.
    bool Close() {
        const bool fine = value < 0 || close(value) == 0;
        value = -1;
        return fine;
    }

    int value;
};

std::optional<std::string> ReadAll(int descriptor, std::size_t expected) {
    std::string content(expected + 1, '\0');
    std::size_t filled = 0;
    for (;;) {
        const ssize_t count = read(descriptor, content.data() + filled, content.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
        if (filled > static_cast<std::size_t>(greatestFile)) {
            errno = EFBIG;
            return std::nullopt;
        }
        if (filled == content.size()) content.resize(2 * filled);
    }
    content.resize(filled);
    return content;
}

// While this lives a write beyond the process's limit of a file's size fails with EFBIG and nothing else: the
// signal that comes with it, whose default ends the game, stays in this thread and is taken away.
class FileSizeSignalHeld {
public:
    FileSizeSignalHeld() {
        sigemptyset(&signal);
        sigaddset(&signal, SIGXFSZ);
        sigset_t pending;
        sigpending(&pending);
        wasPending = sigismember(&pending, SIGXFSZ) == 1;
        pthread_sigmask(SIG_BLOCK, &signal, &before);
    }
    ~FileSizeSignalHeld() {
        const int error = errno;
        const timespec now{};
        if (!wasPending) {
            while (sigtimedwait(&signal, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        errno = error;
    }
    FileSizeSignalHeld(const FileSizeSignalHeld&) = delete;
    FileSizeSignalHeld& operator=(const FileSizeSignalHeld&) = delete;

private:
    sigset_t signal;
    sigset_t before;
    bool wasPending;
};

bool WriteAll(int descriptor, std::string_view rest) {
    const FileSizeSignalHeld held;
    while (!rest.empty()) {
        const ssize_t count = write(descriptor, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// For the user alone, as the base directories are to be made.
void MakeFolder(const path& folder) {
    if (folder.empty() || mkdir(folder.c_str(), 0700) == 0 || errno != ENOENT) return;
    MakeFolder(folder.parent_path());
    mkdir(folder.c_str(), 0700);
}

// A user who keeps the file elsewhere and links to it keeps the link, even while its target doesn't exist.
path FollowLink(path file) {
    constexpr int greatestDepth = 40;  // the kernel's own limit
    for (int depth = 0; depth < greatestDepth; ++depth) {
        std::error_code error;
        const path target = std::filesystem::read_symlink(file, error);
        if (error) break;
        file = file.parent_path() / target;
    }
    return file;
}

// Gives the new file the owner, as far as we may, and the permissions of the old one, if there is one.
bool TakeOver(const path& old, int descriptor) {
    struct stat before {};
    struct stat now {};
    if (stat(old.c_str(), &before) != 0) return true;
    if (fstat(descriptor, &now) != 0) return false;
    if (before.st_uid != now.st_uid || before.st_gid != now.st_gid) {
        // A game run as the superuser must not take the file away from its user; others can't and needn't.
        [[maybe_unused]] const int ignored = fchown(descriptor, before.st_uid, before.st_gid);
    }
    const mode_t mode = before.st_mode & 0777U;
    return mode == (now.st_mode & 0777U) || fchmod(descriptor, mode) == 0;
}

// Onto the disk. Some file systems have none to wait for.
bool Sync(int descriptor) {
    while (fsync(descriptor) != 0) {
        if (errno == EINVAL || errno == EROFS) return true;
        if (errno != EINTR) return false;
    }
    return true;
}

// A name is on the disk only once its folder is. Where that fails the file has its new name all the same.
void SyncFolder(const path& folder) {
    const Descriptor descriptor(
        open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.value >= 0) Sync(descriptor.value);
}

using TimePoint = std::chrono::steady_clock::time_point;

enum class Taken { Yes, No, TimedOut };

// Asks `take` again and again until it is true, the time is over, or it fails for another reason than
// somebody else's lock.
template <typename Take>
Taken WaitFor(TimePoint end, const Take& take) {
    while (!take()) {
        const bool isHeld = errno == EWOULDBLOCK || errno == EACCES || errno == EINTR;
        if (!isHeld) return Taken::No;
        if (std::chrono::steady_clock::now() >= end) return Taken::TimedOut;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return Taken::Yes;
}

// A second lock in front of the first, on the file's first byte. Its holder is next, so that a process that
// takes the lock over and over can't keep others out.
bool SetDoor(int descriptor, short kind) {
    struct flock door {};
    door.l_type = kind;
    door.l_whence = SEEK_SET;
    door.l_len = 1;
    return fcntl(descriptor, F_OFD_SETLK, &door) == 0;
}

}  // namespace

std::optional<std::string> ReadStoreFile(const path& file) {
    // A named pipe in the file's place must not block the game.
    const int following = HasMoreRightsThanItsCaller() ? O_NOFOLLOW : 0;
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | following));
    if (descriptor.value < 0) {
        if (errno == ENOENT) return "";
        return std::nullopt;
    }
    struct stat status {};
    if (fstat(descriptor.value, &status) != 0) return std::nullopt;
    const bool isFile = S_ISREG(status.st_mode);
    if (!isFile || status.st_size > greatestFile) {
        errno = isFile ? EFBIG : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return std::nullopt;
    }
    return ReadAll(descriptor.value, static_cast<std::size_t>(status.st_size));
}

bool ReplaceStoreFile(const path& file, const std::string& content, Durability durability) {
    const path target = FollowLink(file);
    MakeFolder(target.parent_path());
    // The name is always the same one, so that files of killed processes don't pile up.
    const std::string temporary = target.string() + ".new";
    unlink(temporary.c_str());
    Descriptor descriptor(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (descriptor.value < 0) return false;
    const bool isSynced = durability == Durability::Machine;
    if (WriteAll(descriptor.value, content) && TakeOver(target, descriptor.value) &&
        (!isSynced || Sync(descriptor.value)) && descriptor.Close() &&
        rename(temporary.c_str(), target.c_str()) == 0) {
        if (isSynced) SyncFolder(target.parent_path());
        return true;
    }
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    return false;
}

StoreFileLock::StoreFileLock(const path& file, std::chrono::milliseconds patience) {
    if (HasMoreRightsThanItsCaller()) return;
    const path target = FollowLink(file);
    MakeFolder(target.parent_path());
    const std::string name = target.string() + ".lock";
    int opened = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    // One that another user made (a game run as the superuser) can be locked all the same.
    if (opened < 0 && errno == EACCES)
        opened = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (opened < 0) return;
    const TimePoint end = std::chrono::steady_clock::now() + patience;
    // Without the second lock, as on a file of another user's, the first works all the same.
    const Taken door = WaitFor(end, [&] { return SetDoor(opened, F_WRLCK); });
    const Taken taken = WaitFor(end, [&] { return flock(opened, LOCK_EX | LOCK_NB) == 0; });
    hasTimedOut = door == Taken::TimedOut || taken == Taken::TimedOut;
    SetDoor(opened, F_UNLCK);
    if (taken != Taken::Yes) {
        close(opened);
        return;
    }
    descriptor = opened;
}

StoreFileLock::~StoreFileLock() {
    if (descriptor < 0) return;
    // Said explicitly, since a child that the game forked meanwhile holds a copy of the descriptor.
    flock(descriptor, LOCK_UN);
    close(descriptor);
}

}  // namespace platform
