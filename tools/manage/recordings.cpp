#include "tools/manage/recordings.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <vector>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/floatfile.h"
#include "platform/runtimefolder.h"
#include "slib/files.h"
#include "tools/support/gamestatus.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

std::vector<GameStatus> PlayingGames() {
    std::vector<GameStatus> games = StatusOfGames();
    std::erase_if(games, [](const GameStatus& game) { return game.contextsAlive == 0; });
    return games;
}

GameStatus FindGame(pid_t pid) {
    const std::vector<GameStatus> games = PlayingGames();
    if (games.empty()) throw WrongUse("No game is running that could be recorded.");
    if (pid == 0 && games.size() == 1) return games.front();
    const auto found = std::ranges::find(games, pid, &GameStatus::pid);
    if (found != games.end()) return *found;
    std::string known;
    for (const GameStatus& game : games)
        known += (known.empty() ? "" : ", ") + std::to_string(game.pid) + " (" + game.program + ")";
    throw WrongUse((pid == 0 ? "Several games are running: name one with --game."
                             : "No game with the number " + std::to_string(pid) + " is running.") +
                   " There are " + known + ".");
}

// Where its page is.
std::vector<std::filesystem::path> FoldersOf(pid_t pid) {
    std::vector<std::filesystem::path> folders = platform::RuntimeFolders(orb3::storeRoot);
    std::erase_if(folders, [pid](const std::filesystem::path& folder) {
        return !std::filesystem::exists(folder / goal::StatusFileName(pid));
    });
    return folders;
}

// A reader finds the whole of it or nothing.
void Replace(const std::filesystem::path& file, const std::string& text) {
    const std::filesystem::path fresh = file.string() + ".new";
    slib::writeFile(fresh, text);
    std::filesystem::rename(fresh, file);
}

std::string CheckedPath(const std::string& given) {
    const std::filesystem::path path = std::filesystem::absolute(given).lexically_normal();
    if (!platform::FloatFile::IsNamedWell(path))
        throw WrongUse("The name of a recording must end in .wav or .caf, as '" + path.stem().string() +
                       ".wav' does.");
    if (!std::filesystem::is_directory(path.parent_path()))
        throw WrongUse("There is no folder '" + path.parent_path().string() + "'.");
    return path;
}

}  // namespace

StartedRecording StartRecording(const std::string& path, goal::RecordingRequest::What what, pid_t pid) {
    const std::string whole = CheckedPath(path);
    const GameStatus game = FindGame(pid);
    const goal::RecordingRequest request{std::random_device{}(), game.pid, game.startTime, what, whole};
    for (const std::filesystem::path& folder : FoldersOf(game.pid))
        Replace(folder / goal::RecordingFileName(game.pid), RequestText(request));
    return {game.program, game.pid, whole};
}

bool StopRecording() {
    bool isStopped = false;
    for (const GameStatus& game : PlayingGames())
        for (const std::filesystem::path& folder : FoldersOf(game.pid))
            isStopped |= std::filesystem::remove(folder / goal::RecordingFileName(game.pid));
    return isStopped;
}

}  // namespace tool
