#include "platform/runtimefolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/privileges.h"

namespace platform {
namespace {

using std::filesystem::path;

constexpr mode_t forOwner = 0700;

// Through no link at its end. Some have only their own folder of the two kinds closed to others.
bool IsFolderOfUser(const path& folder, bool isClosed) {
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid())
        return false;
    return !isClosed || (status.st_mode & 0077U) == 0;
}

std::vector<path> Candidates(const std::string& root) {
    if (HasMoreRightsThanItsCaller()) return {};
    const std::string user = std::to_string(geteuid());
    const char* const variable = std::getenv("XDG_RUNTIME_DIR");
    std::vector<path> folders;
    for (const path& base : {path(variable == nullptr ? "" : variable), path("/run/user") / user})
        if (base.is_absolute() && IsFolderOfUser(base / "", false)) folders.push_back(base / root);
    folders.push_back("/tmp/" + root + "-" + user);
    return folders;
}

}  // namespace

path MakeRuntimeFolder(const std::string& root) {
    for (const path& folder : Candidates(root)) {
        mkdir(folder.c_str(), forOwner);
        if (IsFolderOfUser(folder, true) && access(folder.c_str(), W_OK | X_OK) == 0) return folder;
    }
    return {};
}

std::vector<path> RuntimeFolders(const std::string& root) {
    std::vector<path> folders;
    for (const path& folder : Candidates(root))
        if (IsFolderOfUser(folder, true)) folders.push_back(folder);
    return folders;
}

}  // namespace platform
