#pragma once

// A page of memory that other processes of the user read as a file: written without calls of the system, gone
// with its owner. For one owner, which keeps its threads apart; nothing here throws.

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <span>

namespace platform {

class SharedPage {
public:
    static constexpr std::size_t size = 4096;

    SharedPage() = default;
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;

    /// Makes the file `file`, for the user alone, with `content`, `size` bytes, and maps it. What had that
    /// name before loses it. No descriptor stays open. False when it can't be, and then nothing is left.
    [[nodiscard]] bool Create(const std::filesystem::path& file, std::span<const std::byte> content);

    /// Gives the file a second name on the same file system, which stays. False when it can't be.
    [[nodiscard]] bool Link(const std::filesystem::path& name) const;

    /// The memory, `size` bytes; empty when there is none.
    std::span<std::byte> Bytes() const;

    /// Takes away the file's name, unless another process has given it to a file of its own. May run in the
    /// handler of a signal, and beside the other functions.
    void RemoveName() noexcept;

    /// Gives back the memory. The file stays.
    void Unmap() noexcept;

    /// As Unmap, in a forked child: the file's name is the parent's.
    void Forget() noexcept;

private:
    std::byte* memory = nullptr;
    std::filesystem::path file;
    dev_t device = 0;
    ino_t inode = 0;
    std::atomic<bool> isNamed{false};
};

}  // namespace platform
