#include "tools/run/foreignadvice.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "slib/text.h"
#include "tools/run/words.h"
#include "tools/support/elffile.h"
#include "tools/support/foreignlibrary.h"

namespace tool {
namespace {

using std::filesystem::path;

// True for what belongs to other programs as well.
bool IsOfSystem(const path& file) {
    const std::string text = file.string();
    const std::array<const char*, 3> roots{"/usr/", "/lib", "/bin/"};
    return std::ranges::any_of(roots, [&](const char* root) { return text.starts_with(root); });
}

bool IsOfGame(const path& library) {
    return !IsOfSystem(library) && access(library.parent_path().c_str(), W_OK) == 0;
}

// A program that opens a library itself takes that one, whatever else is loaded.
bool IsLinkedWith(const path& library, const Game& game) {
    const std::optional<ElfFile> program = ReadElfFile(game.file);
    return program &&
           std::ranges::find(program->needed, library.filename().string()) != program->needed.end();
}

// The drop-in of the width of `library`; empty where there is none.
path ReplacementFor(const path& library, const std::vector<path>& folders) {
    const std::optional<ElfFile> old = ReadElfFile(library);
    for (const path& folder : folders)
        if (const auto ours = ReadElfFile(folder / nameAskedFor); old && ours && ours->bits == old->bits)
            return folder / nameAskedFor;
    return {};
}

// A folder with programs of all kinds, in which a library says nothing about this one.
bool IsCommonFolder(const path& folder) {
    if (IsOfSystem(folder / "") || folder == folder.root_path()) return true;
    for (const char* variable : {"PATH", "HOME"}) {
        const char* const list = std::getenv(variable);
        std::istringstream folders(list == nullptr ? "" : list);
        for (std::string common; std::getline(folders, common, ':');)
            if (path(common).lexically_normal() == folder) return true;
    }
    return false;
}

}  // namespace

std::vector<std::string> AdviceOn(const path& library, const Game& game, const StartPlan& plan) {
    if (slib::toLower(library.extension().string()) == ".dll")
        return {"Have Wine take its own, which plays through Tessarune:",
                "  WINEDLLOVERRIDES=openal32=b tessarune-run " + ForShell(game.name)};
    if (plan.preloads.empty() && (IsLinkedWith(library, game) || !IsOfGame(library)))
        return {"Load Tessarune before it:", "  tessarune-run --preload " + ForShell(game.name)};
    if (!IsOfGame(library))
        return {
            "It isn't this game's own, and the game asks for this file and no other: it can't be replaced "
            "for this game alone."};
    const path ours = ReplacementFor(library, plan.folders);
    if (ours.empty()) return {"It is of a width that this installation of Tessarune has no library for."};
    const std::string theirs = ForShell(library.string());
    const std::string kept = ForShell(library.string() + ".own");
    return {"Put Tessarune in its place:",
            "  mv -n " + theirs + " " + kept + " && ln -s " + ForShell(ours.string()) + " " + theirs,
            "and to take that back:", "  mv " + kept + " " + theirs};
}

std::vector<path> LibrariesBesideGame(const Game& game) {
    std::vector<path> libraries;
    std::error_code error;
    const path file = std::filesystem::canonical(game.file, error);
    if (error || IsCommonFolder(file.parent_path())) return libraries;
    for (const ForeignLibrary& library : FindForeignLibraries(file.parent_path()))
        if (game.bits == 0 || library.bits == game.bits) libraries.push_back(library.file);
    return libraries;
}

}  // namespace tool
