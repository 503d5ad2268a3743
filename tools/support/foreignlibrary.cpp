#include "tools/support/foreignlibrary.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <string>

#include "slib/text.h"
#include "tools/support/elffile.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

constexpr int deepest = 12;
constexpr std::size_t mostFiles = 200'000;
const std::vector<std::string> askedFor{"libopenal.so.1", "libopenal.so"};

// With a version or none: nobody asks for "libopenal.so.1.old".
bool IsOpenAlName(const std::string& name) {
    const std::string lower = slib::toLower(name);
    const std::size_t end = lower.find(".so");
    return lower.starts_with("libopenal") && end != std::string::npos &&
           lower.find_first_not_of(".0123456789", end + 3) == std::string::npos;
}

// Ours says so under whatever name it was put there.
bool IsForeign(const ElfFile& library) {
    return !library.name.starts_with("libtessarune.so");
}

// What a program or library may be, by its name and rights: most of a game's files are neither.
bool MayBeElf(const fs::directory_entry& entry) {
    std::error_code error;
    if (!entry.is_regular_file(error)) return false;
    const bool isExecutable = (entry.status(error).permissions() & fs::perms::owner_exec) != fs::perms::none;
    return isExecutable || entry.path().filename().string().find(".so") != std::string::npos;
}

// Folders are not followed by links, which may lead anywhere and in circles.
std::vector<fs::path> CandidatesIn(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    std::size_t seen = 0;
    for (fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, error),
         end;
         !error && at != end && seen < mostFiles; at.increment(error), ++seen) {
        if (at.depth() >= deepest) at.disable_recursion_pending();
        if (MayBeElf(*at)) found.push_back(at->path());
    }
    return found;
}

void Replace(std::string& text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

// The folders that an entry of a search path may mean. Games start in their own folder.
std::vector<fs::path> FoldersOf(std::string entry, const fs::path& program, const fs::path& folder) {
    for (const char* name : {"$ORIGIN", "${ORIGIN}"})
        Replace(entry, name, program.parent_path().string());
    const std::string library = entry.find("${LIB}") != std::string::npos ? "${LIB}" : "$LIB";
    if (entry.find(library) == std::string::npos) return {folder / entry};
    std::vector<fs::path> folders;
    for (const char* one : {"lib", "lib64", "lib32", "lib/x86_64-linux-gnu", "lib/i386-linux-gnu"}) {
        std::string replaced = entry;
        Replace(replaced, library, one);
        folders.push_back(folder / replaced);
    }
    return folders;
}

// What it would load: by the names that it needs, or else by those that programs ask for while they run.
std::vector<std::string> NamesFor(const ElfFile& program) {
    std::vector<std::string> names;
    std::ranges::copy_if(program.needed, std::back_inserter(names), IsOpenAlName);
    return names.empty() ? askedFor : names;
}

class Search {
public:
    explicit Search(const fs::path& folder) : folder(folder) {}

    void NoteLibrary(const fs::path& file, const ElfFile& elf) {
        if (IsOpenAlName(file.filename().string()) && IsForeign(elf)) Entry(file, elf);
    }

    void NoteProgram(const fs::path& program, const ElfFile& elf) {
        for (const std::string& entry : elf.searchPath)
            for (const fs::path& where : FoldersOf(entry, program, folder))
                for (const std::string& name : NamesFor(elf))
                    if (const auto library = ReadElfFile(where / name);
                        library && library->bits == elf.bits) {
                        if (IsForeign(*library)) NoteLead(Entry(where / name, *library), program, elf);
                        return;  // the loader takes the first
                    }
    }

    std::vector<ForeignLibrary> Found() const {
        std::vector<ForeignLibrary> libraries;
        for (const auto& [file, library] : found)
            libraries.push_back(library);
        return libraries;
    }

private:
    ForeignLibrary& Entry(const fs::path& file, const ElfFile& elf) {
        const fs::path name = file.lexically_normal();
        ForeignLibrary& library = found[name];
        library.file = name;
        library.bits = elf.bits;
        return library;
    }

    static void NoteLead(ForeignLibrary& library, const fs::path& program, const ElfFile& elf) {
        library.ledBy.push_back(program);
        library.isAheadOfEnvironment = library.isAheadOfEnvironment || elf.isAheadOfEnvironment;
    }

    const fs::path folder;
    std::map<fs::path, ForeignLibrary> found;
};

}  // namespace

std::vector<ForeignLibrary> FindForeignLibraries(const fs::path& folder) {
    const fs::path whole = fs::absolute(folder).lexically_normal();
    Search search(whole);
    for (const fs::path& file : CandidatesIn(whole))
        if (const auto elf = ReadElfFile(file)) {
            search.NoteLibrary(file, *elf);
            search.NoteProgram(file, *elf);
        }
    return search.Found();
}

}  // namespace tool
