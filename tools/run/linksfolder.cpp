#include "tools/run/linksfolder.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "orb3core/store/configstore.h"
#include "platform/processid.h"
#include "platform/runtimefolder.h"
#include "slib/text.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* beginning = "run.";

// Numbers of processes count in their own space alone.
std::string EndOfName() {
    return "." + std::to_string(platform::PidSpaceOf(getpid()));
}

bool IsLeft(const std::string& name) {
    if (!name.starts_with(beginning) || !name.ends_with(EndOfName())) return false;
    const pid_t owner = slib::ParseInt(name.substr(std::string(beginning).size()));
    return owner > 0 && kill(owner, 0) != 0 && errno == ESRCH;
}

void RemoveLeft(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code ignored;
        if (IsLeft(at->path().filename().string())) fs::remove_all(at->path(), ignored);
    }
}

}  // namespace

LinksFolder::LinksFolder() {
    const fs::path folder = platform::MakeRuntimeFolder(orb3::storeRoot);
    if (folder.empty()) return;
    RemoveLeft(folder);
    path = folder / (beginning + std::to_string(getpid()) + EndOfName());
    std::error_code ignored;
    fs::remove_all(path, ignored);
    if (mkdir(path.c_str(), 0700) != 0) path.clear();
}

LinksFolder::~LinksFolder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
}

}  // namespace tool
