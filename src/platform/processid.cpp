#include "platform/processid.h"

#include <sys/stat.h>
#include <unistd.h>

#include <iterator>
#include <sstream>

#include "slib/filestream.h"

namespace platform {
namespace {

std::string FolderOf(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

}  // namespace

// The second field, a name in parentheses, may hold blanks and parentheses itself.
std::optional<std::uint64_t> StartTimeOf(pid_t pid) {
    constexpr int fieldsBetween = 19;  // from the end of the second to the 22nd
    slib::InputFile file(FolderOf(pid) + "/stat");
    const std::string line(std::istreambuf_iterator<char>(file), {});
    const std::size_t end = line.rfind(')');
    if (end == std::string::npos) return std::nullopt;
    std::istringstream fields(line.substr(end + 1));
    std::string skipped;
    for (int i = 0; i < fieldsBetween; ++i)
        fields >> skipped;
    std::uint64_t time = 0;
    if (!(fields >> time)) return std::nullopt;
    return time;
}

std::uint64_t PidSpaceOf(pid_t pid) {
    struct stat status {};
    return stat((FolderOf(pid) + "/ns/pid").c_str(), &status) == 0 ? status.st_ino : 0;
}

bool IsThisProcess(pid_t pid, std::uint64_t startTime) {
    return pid == getpid() && StartTimeOf(pid) == startTime;
}

}  // namespace platform
