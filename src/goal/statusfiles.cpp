#include "goal/statusfiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <string_view>

#include "goal/statuslayout.h"
#include "platform/processid.h"
#include "slib/text.h"

namespace goal {
namespace {

using std::filesystem::path;
using Layout = StatusLayout;

constexpr std::size_t mostFiles = 256;

bool IsGone(pid_t pid) {
    return pid <= 0 || (kill(pid, 0) != 0 && errno == ESRCH);
}

// A page that was begun and never written, or isn't ours to read, goes by its name and its age.
bool IsLeftUnwritten(const path& file) {
    constexpr time_t longestWriting = 60;  // seconds
    struct stat status {};
    return IsGone(slib::ParseInt(file.filename().string())) && lstat(file.c_str(), &status) == 0 &&
           time(nullptr) - status.st_mtime > longestWriting;
}

bool IsStale(const path& file) {
    std::array<std::byte, Layout::headerSize> header{};
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return false;
    const bool isWhole =
        pread(descriptor, header.data(), header.size(), 0) == static_cast<ssize_t>(header.size());
    close(descriptor);
    if (!isWhole || Get(header, Layout::magic) != Layout::magicText) return IsLeftUnwritten(file);
    if (Get(header, Layout::pidSpace) != platform::PidSpaceOf(getpid())) return false;
    return platform::StartTimeOf(static_cast<pid_t>(Get(header, Layout::pid))) !=
           Get(header, Layout::startTime);
}

}  // namespace

std::string StatusFileName(pid_t pid) {
    return std::to_string(pid) + statusFileEnding;
}

std::string RecordingFileName(pid_t pid) {
    return std::to_string(pid) + ".record";
}

// Not by the iterators of the standard library, which end the process when there is no memory.
std::vector<path> ListStatusFiles(const path& folder) {
    struct Close {
        void operator()(DIR* open) const { closedir(open); }
    };
    std::vector<path> files;
    const std::unique_ptr<DIR, Close> open(opendir(folder.c_str()));
    while (open != nullptr && files.size() < mostFiles) {
        const dirent* const entry = readdir(open.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name.ends_with(statusFileEnding)) files.push_back(folder / name);
    }
    return files;
}

void RemoveStaleStatusFiles(const path& folder) {
    for (const path& file : ListStatusFiles(folder))
        if (IsStale(file)) {
            unlink(file.c_str());
            unlink((folder / RecordingFileName(slib::ParseInt(file.filename().string()))).c_str());
        }
}

}  // namespace goal
