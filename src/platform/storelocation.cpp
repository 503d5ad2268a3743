#include "platform/storelocation.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <system_error>
#include <vector>

#include "slib/filestream.h"

namespace platform {
namespace {

using std::filesystem::path;

constexpr const char* storeName = "store.conf";
constexpr const char* logName = "log.conf";

// Empty, too, in a program with more rights than its caller.
std::string Variable(const char* name) {
    const char* value = secure_getenv(name);
    return value == nullptr ? "" : value;
}

// That of `variable`, or else `below` in the user's home.
path UserFolder(const char* variable, const char* below, const std::string& root) {
    const path named = Variable(variable);
    if (named.is_absolute()) return named / root;
    const path home = UserHome();
    return home.empty() ? path() : home / below / root;
}

// Relative entries are invalid by the standard, and skipped as it says.
std::vector<path> ConfigurationFolders() {
    std::string list = Variable("XDG_CONFIG_DIRS");
    if (list.empty()) list = "/etc/xdg";
    std::vector<path> folders;
    std::istringstream stream(list);
    for (std::string entry; std::getline(stream, entry, ':');)
        if (path(entry).is_absolute()) folders.emplace_back(entry);
    if (const path tree = LoadedTree(); !tree.empty()) folders.push_back(tree / "etc" / "xdg");
    return folders;
}

// The file that the code at `address` was mapped from, as the kernel names it; empty when it doesn't say. The
// loader's own name of it may be relative to a folder that the process has left, or what a program was
// called.
path FileMappedAt(std::uintptr_t address) {
    slib::InputFile maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        fields >> std::hex >> first;
        fields.ignore(1) >> end;
        if (!fields || address < first || address >= end) continue;
        const std::size_t start = line.find('/');
        return start == std::string::npos ? path() : path(line.substr(start));
    }
    return {};
}

path FileOfThisCode() {
    path mapped = FileMappedAt(reinterpret_cast<std::uintptr_t>(&LoadedTree));
    std::error_code ignored;
    if (std::filesystem::exists(mapped, ignored)) return mapped;
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&LoadedTree), &info) == 0 || info.dli_fname == nullptr)
        return {};
    return info.dli_fname;
}

}  // namespace

path UserHome() {
    path fromEnvironment = Variable("HOME");
    if (fromEnvironment.is_absolute()) return fromEnvironment;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> text(4096);
    int code = 0;
    while ((code = getpwuid_r(getuid(), &entry, text.data(), text.size(), &found)) == ERANGE)
        text.resize(2 * text.size());
    if (code != 0 || found == nullptr) return {};
    const path fromDatabase = found->pw_dir;
    return fromDatabase.is_absolute() ? fromDatabase : path();
}

path UserStorePath(const std::string& root) {
    const path folder = UserFolder("XDG_CONFIG_HOME", ".config", root);
    return folder.empty() ? path() : folder / storeName;
}

path UserDataPath(const std::string& root) {
    return UserFolder("XDG_DATA_HOME", ".local/share", root);
}

path UserLogPath(const std::string& root) {
    const path store = UserStorePath(root);
    return store.empty() ? path() : store.parent_path() / logName;
}

path MachineStorePath(const std::string& root) {
    path last;
    for (const path& folder : ConfigurationFolders()) {
        last = folder / root / storeName;
        std::error_code ignored;
        if (std::filesystem::exists(last, ignored)) return last;
    }
    return last;
}

path LoadedTree() {
    std::error_code error;
    const path file = std::filesystem::canonical(FileOfThisCode(), error);
    if (error) return {};
    // A distribution's folder for libraries has more than one level, such as "lib/x86_64-linux-gnu".
    const path folder = file.parent_path();
    const std::string end = "/" TESSARUNE_LIBRARY_FOLDER;
    if (folder.string().ends_with(end)) return folder.string().substr(0, folder.string().size() - end.size());
    return folder.parent_path();
}

}  // namespace platform
