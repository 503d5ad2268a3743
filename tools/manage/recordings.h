#pragma once

// What a running game is asked to record. One thread.

#include <sys/types.h>

#include <optional>
#include <string>

#include "goal/recordingrequest.h"
#include "tools/support/gamestatus.h"

namespace tool {

struct StartedRecording {
    std::string program;  ///< the game's
    pid_t pid = 0;
    std::string path;  ///< a full one
};

/// Asks the game with this number, or the only one where it is 0. `path` ends in ".wav" or ".caf". Throws
/// WrongUse for another name, a folder that isn't there, no such game, and several games without a number;
/// and what slib::writeFile and std::filesystem::rename throw.
StartedRecording StartRecording(const std::string& path, goal::RecordingRequest::What what, pid_t pid);

/// A full path in the user's folder for music, or in his home where he has none, for a recording that
/// replaces nothing. Throws WrongUse where `name` is no plain name of a file, or has no ending of a
/// recording's, and where a file is there already that the recording would go into; slib::BadStateException
/// without a home.
std::string FreshRecordingPath(const std::string& name, goal::RecordingRequest::What what);

/// Ends what the game with this number was asked for, or what any was where it is 0. False when none was.
bool StopRecording(pid_t pid);

struct AskedRecording {
    goal::RecordingRequest::What what = goal::RecordingRequest::What::Field;
    std::string path;    ///< as asked for: after a change of settings it goes on beside it
    double seconds = 0;  ///< since it was asked for
};

/// What a game is asked to record, whether it does or can't. Nothing for none.
std::optional<AskedRecording> FindRecording(const GameStatus& game);

}  // namespace tool
