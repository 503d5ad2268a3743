#include "tools/run/processes.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "slib/text.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostProcesses = 10'000;

fs::path FolderOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

// A child stands below the thread that started it.
void AddChildren(pid_t process, std::vector<pid_t>& found) {
    std::error_code error;
    for (fs::directory_iterator at(FolderOf(process) / "task", error), end; !error && at != end;
         at.increment(error)) {
        std::ifstream list(at->path() / "children");
        for (pid_t child = 0; list >> child;)
            found.push_back(child);
    }
}

}  // namespace

std::vector<pid_t> Descendants() {
    std::vector<pid_t> found;
    AddChildren(getpid(), found);
    for (std::size_t i = 0; i < found.size() && found.size() < mostProcesses; ++i)
        AddChildren(found[i], found);
    return found;
}

// One that has ended and isn't taken note of yet has a shortened name alone.
std::string ProgramOf(pid_t process) {
    std::error_code error;
    const fs::path program = fs::read_symlink(FolderOf(process) / "exe", error);
    if (!error) return program.filename().string();
    std::string name;
    std::getline(std::ifstream(FolderOf(process) / "comm"), name);
    return name;
}

std::vector<std::string> MappedFiles(pid_t process) {
    std::vector<std::string> files;
    std::ifstream maps(FolderOf(process) / "maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t start = line.find('/');
        if (start != std::string::npos &&
            (files.empty() || line.compare(start, line.npos, files.back()) != 0))
            files.push_back(line.substr(start));
    }
    std::sort(files.begin(), files.end());
    files.erase(std::unique(files.begin(), files.end()), files.end());
    return files;
}

std::string ReachedBy(pid_t process, const std::string& path) {
    return (FolderOf(process) / "root").string() + path;
}

}  // namespace tool
