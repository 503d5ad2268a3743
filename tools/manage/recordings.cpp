#include "tools/manage/recordings.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <vector>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/floatfile.h"
#include "platform/runtimefolder.h"
#include "slib/files.h"
#include "tools/manage/musicfolder.h"
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

// A recording that goes on after a change of settings goes into the second.
void CheckIsFree(const std::filesystem::path& path) {
    const std::filesystem::path next =
        path.parent_path() / (path.stem().string() + "-2" + path.extension().string());
    for (const std::filesystem::path& file : {path, next})
        if (std::filesystem::exists(std::filesystem::symlink_status(file)))
            throw WrongUse("There is a file '" + file.string() + "' already. Choose another name.");
}

std::optional<goal::RecordingRequest> ReadRequest(const std::filesystem::path& file) {
    std::string text;
    if (!slib::fileExists(file)) return std::nullopt;
    slib::readFile(file, text);
    return goal::ParseRequest(text);
}

// By the clock of files.
double SecondsSinceChange(const std::filesystem::path& file) {
    const auto age = std::filesystem::file_time_type::clock::now() - std::filesystem::last_write_time(file);
    return std::max(0.0, std::chrono::duration<double>(age).count());
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

std::string FreshRecordingPath(const std::string& name, goal::RecordingRequest::What what) {
    if (name.empty() || name.starts_with('.') || name.find('/') != std::string::npos)
        throw WrongUse(
            "The name of a recording must be a file's alone, without a folder, and not begin with "
            "a point.");
    const goal::RecordingRequest request{0, 0, 0, what, CheckedPath((MusicFolder() / name).string())};
    if (request.HasField()) CheckIsFree(request.FieldPath());
    if (request.HasOutput()) CheckIsFree(request.OutputPath());
    return request.path;
}

bool StopRecording(pid_t pid) {
    bool isStopped = false;
    for (const GameStatus& game : StatusOfGames()) {  // one between two contexts too
        if (pid != 0 && game.pid != pid) continue;
        for (const std::filesystem::path& folder : FoldersOf(game.pid))
            isStopped |= std::filesystem::remove(folder / goal::RecordingFileName(game.pid));
    }
    return isStopped;
}

// Somebody may end it meanwhile.
std::optional<AskedRecording> FindRecording(const GameStatus& game) try {
    for (const std::filesystem::path& folder : FoldersOf(game.pid)) {
        const std::filesystem::path file = folder / goal::RecordingFileName(game.pid);
        const std::optional<goal::RecordingRequest> request = ReadRequest(file);
        if (request && request->pid == game.pid && request->startTime == game.startTime)
            return AskedRecording{request->what, request->path, SecondsSinceChange(file)};
    }
    return std::nullopt;
} catch (const slib::OperatingSystemErrnoException&) {
    return std::nullopt;
} catch (const std::filesystem::filesystem_error&) {
    return std::nullopt;
}

}  // namespace tool
