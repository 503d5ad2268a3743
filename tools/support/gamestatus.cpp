#include "tools/support/gamestatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/runtimefolder.h"

namespace tool {
namespace {

using Layout = goal::StatusLayout;
using Page = std::array<std::byte, Layout::size>;

// A terminal carries out what stands between its texts.
std::string Printable(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return text;
}

bool IsPageFile(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size == static_cast<off_t>(Layout::size);
}

bool ReadAt(int descriptor, std::size_t place, std::span<std::byte> bytes) {
    return pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(place)) ==
           static_cast<ssize_t>(bytes.size());
}

}  // namespace

std::optional<GameStatus> ParseStatusPage(std::span<const std::byte> page) {
    if (page.size() != Layout::size || Get(page, Layout::magic) != Layout::magicText ||
        Get(page, Layout::version) != Layout::currentVersion || Get(page, Layout::pageSize) != Layout::size)
        return std::nullopt;
    const auto text = [&](goal::StatusText field) { return Printable(Get(page, field)); };
    GameStatus status;
    status.pid = static_cast<pid_t>(Get(page, Layout::pid));
    status.startTime = Get(page, Layout::startTime);
    status.pidSpace = Get(page, Layout::pidSpace);
    status.program = text(Layout::program);
    status.libraryVersion = text(Layout::libraryVersion);
    status.profile = text(Layout::profile);
    status.profileChanges = text(Layout::profileChanges);
    status.contextsMade = Get(page, Layout::contextsMade);
    status.contextsAlive = Get(page, Layout::contextsAlive);
    status.contextsFailed = Get(page, Layout::contextsFailed);
    status.lastFailure = text(Layout::lastFailure);
    status.device = text(Layout::device);
    status.layout = text(Layout::layout);
    status.sampleRate = Get(page, Layout::sampleRate);
    status.blockFrames = Get(page, Layout::blockFrames);
    status.order = Get(page, Layout::order);
    for (std::size_t i = 0; i < status.refusals.size(); ++i)
        status.refusals[i] = Get(page, goal::RefusalField(i));
    return status;
}

// The file is read and not mapped, since a mapping ends its reader when somebody cuts the file.
std::optional<GameStatus> ReadStatusPage(int descriptor) {
    constexpr int mostAttempts = 20;
    constexpr std::chrono::milliseconds pause{5};
    if (!IsPageFile(descriptor)) return std::nullopt;
    Page page{};
    Page after{};
    const std::span<std::byte> sequence = std::span(after).subspan(Layout::sequence.at, 4);
    for (int i = 0; i < mostAttempts; ++i) {
        if (i > 0) std::this_thread::sleep_for(pause);
        if (!ReadAt(descriptor, Layout::sequence.at, sequence)) return std::nullopt;
        const std::uint32_t before = Get(after, Layout::sequence);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (!ReadAt(descriptor, 0, page)) return std::nullopt;
        std::atomic_thread_fence(std::memory_order_acquire);
        if (!ReadAt(descriptor, Layout::sequence.at, sequence)) return std::nullopt;
        if (before % 2 == 0 && before == Get(after, Layout::sequence)) break;
    }
    return ParseStatusPage(page);
}

std::optional<GameStatus> ReadStatusPage(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return std::nullopt;
    std::optional<GameStatus> status = ReadStatusPage(descriptor);
    close(descriptor);
    return status;
}

std::vector<GameStatus> StatusOfGames() {
    std::vector<GameStatus> games;
    for (const std::filesystem::path& folder : platform::RuntimeFolders(orb3::storeRoot)) {
        goal::RemoveStaleStatusFiles(folder);
        for (const std::filesystem::path& file : goal::ListStatusFiles(folder))
            if (std::optional<GameStatus> status = ReadStatusPage(file)) games.push_back(std::move(*status));
    }
    return games;
}

}  // namespace tool
