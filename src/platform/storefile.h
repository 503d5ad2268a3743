#pragma once

// The store's file as the operating system sees it: reading it whole, replacing it whole, and the lock that
// processes which change it take around the two. Nothing here throws for what the file system does.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace platform {

/// The content of the file. A file that doesn't exist reads as the empty text; what can't be read whole (no
/// permission, no regular file, above 64 MiB) is nothing at all, so that nobody takes it for empty and
/// overwrites it, and errno says why.
[[nodiscard]] std::optional<std::string> ReadStoreFile(const std::filesystem::path& file);

/// What a replaced file survives: the end of the process, or that of the machine as well.
enum class Durability { Process, Machine };

/// Puts `content` in the place of the file: readers see the old or the new content, whole. Makes missing
/// folders (for the user alone), follows a link, keeps the owner and the permissions of a file that exists.
/// With Durability::Machine the content is on the disk before it takes the file's name, and the name before
/// the call returns, so that a power cut leaves the old or the new file. Raises no SIGXFSZ. False when it
/// didn't work out, with errno, and then the old file stays as it was. The caller holds a StoreFileLock.
[[nodiscard]] bool ReplaceStoreFile(const std::filesystem::path& file, const std::string& content,
                                    Durability durability = Durability::Machine);

/// Holds the right to change a store file, among all threads of all processes that take it, for as long as it
/// lives. The lock is a file beside it, "store.conf.lock", and ends with the process that held it.
class StoreFileLock {
public:
    /// Makes missing folders. Waits for other holders, in turn, for at most `patience`. A program with more
    /// rights than its caller never gets it, and so writes nothing.
    explicit StoreFileLock(const std::filesystem::path& file,
                           std::chrono::milliseconds patience = std::chrono::seconds(5));
    ~StoreFileLock();
    StoreFileLock(const StoreFileLock&) = delete;
    StoreFileLock& operator=(const StoreFileLock&) = delete;

    /// False when the lock couldn't be taken.
    bool IsHeld() const { return descriptor >= 0; }

    /// True when the wait for another holder took all of the patience, whether or not the lock was then free.
    bool HasTimedOut() const { return hasTimedOut; }

private:
    int descriptor = -1;
    bool hasTimedOut = false;
};

}  // namespace platform
