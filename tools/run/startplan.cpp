#include "tools/run/startplan.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tools/support/elffile.h"

namespace tool {
namespace {

using std::filesystem::path;

path FindProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) return access(name.c_str(), X_OK) == 0 ? path(name) : path();
    const char* const list = std::getenv("PATH");
    std::istringstream folders(list == nullptr ? "/bin:/usr/bin" : list);
    for (std::string folder; std::getline(folders, folder, ':');) {
        path file = path(folder.empty() ? "." : folder) / name;
        if (access(file.c_str(), X_OK) == 0 && !std::filesystem::is_directory(file)) return file;
    }
    return {};
}

int BitsOf(const path& file) {
    const std::optional<ElfFile> elf = ReadElfFile(file);
    return elf ? elf->bits : 0;
}

void PutFirst(const char* variable, const std::vector<path>& entries) {
    std::string list;
    for (const path& entry : entries)
        list += (list.empty() ? "" : ":") + entry.string();
    const char* const others = std::getenv(variable);
    if (list.empty()) return;
    if (others != nullptr && *others != '\0') list += std::string(":") + others;
    setenv(variable, list.c_str(), 1);
}

// As Steam and shells take them.
std::string InDoubleQuotes(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (std::string("\"\\$`").find(c) != std::string::npos) quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

}  // namespace

Game::Game(const std::string& name) : name(name), file(FindProgram(name)), bits(BitsOf(file)) {}

void StartPlan::Enter() const {
    PutFirst("LD_LIBRARY_PATH", folders);
    PutFirst("LD_PRELOAD", preloads);
    for (const auto& [name, value] : variables)
        setenv(name.c_str(), value.c_str(), 1);
}

std::vector<path> PreloadsFor(const Game& game, const std::vector<path>& folders) {
    std::vector<path> libraries;
    for (const path& folder : folders)
        if (game.bits == 0 || BitsOf(folder / nameAskedFor) == game.bits)
            libraries.push_back(folder / nameAskedFor);
    return libraries;
}

bool CanLoadOurs(const Game& game, const std::vector<path>& folders) {
    return game.bits == 0 || std::ranges::any_of(folders, [&](const path& folder) {
               return BitsOf(folder / nameAskedFor) == game.bits;
           });
}

std::string SteamLaunchOptions() {
    return InDoubleQuotes(std::filesystem::read_symlink("/proc/self/exe").string()) + " %command%";
}

}  // namespace tool
