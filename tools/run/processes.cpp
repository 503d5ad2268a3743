#include "tools/run/processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

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

// A line: addresses, rights, offset, device, inode, path.
std::vector<MappedFile> MappedFiles(pid_t process) {
    std::vector<MappedFile> files;
    std::ifstream maps(FolderOf(process) / "maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t start = line.find('/');
        if (start == std::string::npos) continue;
        MappedFile file{line.substr(start), 0};
        if (!files.empty() && files.back().path == file.path) continue;
        std::istringstream fields(line);
        std::string skipped;
        fields >> skipped >> skipped >> skipped >> skipped >> file.inode;
        files.push_back(std::move(file));
    }
    std::ranges::sort(files, {}, &MappedFile::path);
    const auto isSame = [](const MappedFile& a, const MappedFile& b) { return a.path == b.path; };
    files.erase(std::unique(files.begin(), files.end(), isSame), files.end());
    return files;
}

// The system names it from the root of the process's mounts, or from ours.
std::string Reach(pid_t process, const MappedFile& file) {
    struct stat status {};
    if (stat(file.path.c_str(), &status) == 0 && status.st_ino == file.inode) return file.path;
    return (FolderOf(process) / "root").string() + file.path;
}

bool IsApart(pid_t process) {
    struct stat own {};
    struct stat other {};
    const auto differs = [&](const char* name) {
        return stat((FolderOf(getpid()) / name).c_str(), &own) == 0 &&
               stat((FolderOf(process) / name).c_str(), &other) == 0 &&
               (own.st_ino != other.st_ino || own.st_dev != other.st_dev);
    };
    return differs("root") || differs("ns/mnt");
}

}  // namespace tool
