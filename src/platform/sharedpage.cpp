#include "platform/sharedpage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace platform {
namespace {

// Beyond the limit a write brings a signal that ends the game.
bool MayWrite() {
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur >= SharedPage::size;
}

// What is written has its place in the file system, so that no later access to the memory finds that full.
std::byte* Map(int descriptor, std::span<const std::byte> content) {
    if (content.size() != SharedPage::size ||
        write(descriptor, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        return nullptr;
    void* const address = mmap(nullptr, SharedPage::size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return address == MAP_FAILED ? nullptr : static_cast<std::byte*>(address);
}

}  // namespace

bool SharedPage::Create(const std::filesystem::path& name, std::span<const std::byte> content) {
    if (memory != nullptr || !MayWrite()) return false;
    file = name;
    unlink(file.c_str());
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) return false;
    struct stat status {};
    if (fstat(descriptor, &status) == 0) memory = Map(descriptor, content);
    close(descriptor);
    if (memory == nullptr) {
        unlink(file.c_str());
        return false;
    }
    device = status.st_dev;
    inode = status.st_ino;
    isNamed.store(true);
    return true;
}

bool SharedPage::Link(const std::filesystem::path& name) const {
    return memory != nullptr && link(file.c_str(), name.c_str()) == 0;
}

std::span<std::byte> SharedPage::Bytes() const {
    return {memory, memory == nullptr ? 0 : size};
}

void SharedPage::RemoveName() noexcept {
    if (!isNamed.exchange(false)) return;
    struct stat status {};
    if (lstat(file.c_str(), &status) == 0 && status.st_dev == device && status.st_ino == inode)
        unlink(file.c_str());
}

void SharedPage::Unmap() noexcept {
    if (std::byte* const old = std::exchange(memory, nullptr)) munmap(old, size);
    std::filesystem::path().swap(file);  // an unload leaves nothing
}

void SharedPage::Forget() noexcept {
    isNamed.store(false);
    Unmap();
}

}  // namespace platform
