#include "tools/manage/musicfolder.h"

#include <string>
#include <string_view>
#include <system_error>

#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "slib/filestream.h"

namespace tool {
namespace {

using std::filesystem::path;

// What is in quotes behind the name: a path in the home, or a full one. Empty for another line.
path FolderIn(const std::string& line, const path& home) {
    constexpr std::string_view begin = "XDG_MUSIC_DIR=\"", inHome = "$HOME/";
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || !std::string_view(line).substr(first).starts_with(begin)) return {};
    std::string named;
    for (std::size_t at = first + begin.size(); at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\' && at + 1 < line.size()) ++at;
        named += line[at];
    }
    if (named.starts_with(inHome)) return home / named.substr(inHome.size());
    return named.starts_with('/') ? path(named) : path();
}

// Of the configuration of the user's desktop, beside that of ours.
path FolderFile() {
    return platform::UserStorePath(orb3::storeRoot).parent_path().parent_path() / "user-dirs.dirs";
}

}  // namespace

path MusicFolder() {
    const path home = platform::UserHome();
    if (home.empty())
        throw slib::BadStateException(
            "You have no home folder that a file could be made in. Set HOME to one.");
    slib::InputFile file(FolderFile());
    path folder;
    for (std::string line; std::getline(file, line);)
        if (const path named = FolderIn(line, home); !named.empty()) folder = named;
    std::error_code ignored;
    return std::filesystem::is_directory(folder, ignored) ? folder : home;
}

}  // namespace tool
