#include "tools/run/observer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "slib/text.h"
#include "tools/run/processes.h"
#include "tools/support/elffile.h"

namespace tool {
namespace {

constexpr const char* ownName = "libtessarune.so";

// Other libraries of the interface, by the beginnings of their names in lower case.
constexpr std::array<std::string_view, 4> openAlNames{"libopenal", "soft_oal", "openal32", "wrap_oal"};
constexpr std::array<std::string_view, 2> libraryEndings{".so", ".dll"};

std::string NameOf(const std::string& file) {
    return file.substr(file.rfind('/') + 1);
}

// A Windows library that Wine brings stands for the one of this system, and plays through it.
bool IsOpenAl(const std::string& file) {
    const std::string name = slib::toLower(NameOf(file));
    const auto begins = [&](std::string_view text) { return name.starts_with(text); };
    const auto has = [&](std::string_view text) { return name.find(text) != std::string::npos; };
    return std::ranges::any_of(openAlNames, begins) && std::ranges::any_of(libraryEndings, has) &&
           file.find("/wine/") == std::string::npos;
}

bool IsStatusFile(const std::string& file) {
    return file.ends_with(goal::statusFileEnding) &&
           file.find(std::string("/") + orb3::storeRoot) != std::string::npos;
}

}  // namespace

Observer::Observer(std::filesystem::path links, const std::vector<std::filesystem::path>& ours)
    : links(std::move(links)) {
    for (const std::filesystem::path& folder : ours)
        this->ours.push_back(std::filesystem::weakly_canonical(folder).string() + "/");
}

Observer::~Observer() {
    for (const auto& [file, descriptor] : pages)
        close(descriptor);
}

void Observer::Look() {
    for (const pid_t process : Descendants())
        LookAt(process);
}

void Observer::LookAt(pid_t process) {
    for (const MappedFile& file : MappedFiles(process)) {
        if (IsStatusFile(file.path))
            KeepPage(Reach(process, file));
        else if (NameOf(file.path).starts_with(ownName))
            NoteOurs(process);
        else if (IsOpenAl(file.path))
            NoteOpenAl(process, file);
    }
}

// An open file outlives its name, wherever the process has it. Most are linked into the folder as well.
void Observer::KeepPage(const std::string& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0 || pages.contains({status.st_dev, status.st_ino})) return;
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return;
    if (!pages.try_emplace({status.st_dev, status.st_ino}, descriptor).second) close(descriptor);
}

// Ours may have been copied to where a game looks, under any name.
bool Observer::IsOurs(pid_t process, const MappedFile& file) const {
    const auto has = [&](const std::string& folder) { return file.path.starts_with(folder); };
    if (std::ranges::any_of(ours, has)) return true;
    const std::optional<ElfFile> library = ReadElfFile(Reach(process, file));
    return library && library->name.starts_with(ownName);
}

// A process that has become another program goes by that one's name.
void Observer::NoteOurs(pid_t process) {
    loaded[process] = {ProgramOf(process), IsApart(process)};
}

void Observer::NoteOpenAl(pid_t process, const MappedFile& file) {
    const auto isThis = [&](const MappedForeign& known) { return known.file == file.path; };
    if (loaded.contains(process) || std::ranges::any_of(foreign, isThis)) return;
    if (IsOurs(process, file))
        NoteOurs(process);
    else
        foreign.push_back({ProgramOf(process), file.path, process});
}

std::vector<GameStatus> Observer::Statuses() const {
    std::vector<GameStatus> statuses;
    std::set<FileNumber> linked;
    for (const std::filesystem::path& file : goal::ListStatusFiles(links)) {
        struct stat status {};
        if (lstat(file.c_str(), &status) != 0) continue;
        linked.emplace(status.st_dev, status.st_ino);
        if (auto told = ReadStatusPage(file)) statuses.push_back(std::move(*told));
    }
    for (const auto& [file, descriptor] : pages)
        if (!linked.contains(file))
            if (auto told = ReadStatusPage(descriptor)) statuses.push_back(std::move(*told));
    std::ranges::sort(statuses, {}, &GameStatus::startTime);
    return statuses;
}

}  // namespace tool
