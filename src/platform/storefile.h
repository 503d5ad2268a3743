#pragma once

// The store's file as the operating system sees it: reading it whole, replacing it whole, and the lock that
// processes which change it take around the two. Nothing here throws for what the file system does.

#include <filesystem>
#include <optional>
#include <string>

namespace platform {

/// The content of the file. A file that doesn't exist reads as the empty text; what can't be read whole (no
/// permission, no regular file, above 64 MiB) is nothing at all, so that nobody takes it for empty and
/// overwrites it.
[[nodiscard]] std::optional<std::string> ReadStoreFile(const std::filesystem::path& file);

/// Puts `content` in the place of the file: readers see the old or the new content, whole. Makes missing
/// folders (for the user alone), follows a link, keeps the owner and the permissions of a file that exists.
/// False when it didn't work out, and then the old file stays as it was. The caller holds a StoreFileLock.
[[nodiscard]] bool ReplaceStoreFile(const std::filesystem::path& file, const std::string& content);

/// Holds the right to change a store file, among all threads of all processes that take it, for as long as it
/// lives. The lock is a file beside it, "store.conf.lock", and ends with the process that held it.
class StoreFileLock {
public:
    /// Makes missing folders. Waits at most five seconds for other holders, in turn. A program with more
    /// rights than its caller never gets it, and so writes nothing.
    explicit StoreFileLock(const std::filesystem::path& file);
    ~StoreFileLock();
    StoreFileLock(const StoreFileLock&) = delete;
    StoreFileLock& operator=(const StoreFileLock&) = delete;

    /// False when the lock couldn't be taken.
    bool IsHeld() const { return descriptor >= 0; }

private:
    int descriptor = -1;
};

}  // namespace platform
