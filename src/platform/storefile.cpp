#include "platform/storefile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
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
constexpr auto greatestWait = std::chrono::seconds(5);

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
        if (filled > static_cast<std::size_t>(greatestFile)) return std::nullopt;
        if (filled == content.size()) content.resize(2 * filled);
    }
    content.resize(filled);
    return content;
}

bool WriteAll(int descriptor, std::string_view rest) {
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

using TimePoint = std::chrono::steady_clock::time_point;

// Asks `take` again and again until it is true; false at the end of the time, or when it fails for another
// reason than somebody else's lock.
template <typename Take>
bool WaitFor(TimePoint end, const Take& take) {
    while (!take()) {
        const bool isHeld = errno == EWOULDBLOCK || errno == EACCES || errno == EINTR;
        if (!isHeld || std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
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
    if (fstat(descriptor.value, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > greatestFile)
        return std::nullopt;
    return ReadAll(descriptor.value, static_cast<std::size_t>(status.st_size));
}

bool ReplaceStoreFile(const path& file, const std::string& content) {
    const path target = FollowLink(file);
    MakeFolder(target.parent_path());
    // The name is always the same one, so that files of killed processes don't pile up.
    const std::string temporary = target.string() + ".new";
    unlink(temporary.c_str());
    Descriptor descriptor(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (descriptor.value < 0) return false;
    // No fsync: a rename keeps readers from half a file, and a lost log line after a power cut isn't worth
    // the milliseconds that a flush would hold up each line.
    if (WriteAll(descriptor.value, content) && TakeOver(target, descriptor.value) && descriptor.Close() &&
        rename(temporary.c_str(), target.c_str()) == 0)
        return true;
    unlink(temporary.c_str());
    return false;
}

StoreFileLock::StoreFileLock(const path& file) {
    if (HasMoreRightsThanItsCaller()) return;
    const path target = FollowLink(file);
    MakeFolder(target.parent_path());
    const std::string name = target.string() + ".lock";
    int opened = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    // One that another user made (a game run as the superuser) can be locked all the same.
    if (opened < 0 && errno == EACCES) opened = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (opened < 0) return;
    const TimePoint end = std::chrono::steady_clock::now() + greatestWait;
    // Without the second lock, as on a file of another user's, the first works all the same.
    WaitFor(end, [&] { return SetDoor(opened, F_WRLCK); });
    const bool isTaken = WaitFor(end, [&] { return flock(opened, LOCK_EX | LOCK_NB) == 0; });
    SetDoor(opened, F_UNLCK);
    if (!isTaken) {
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
