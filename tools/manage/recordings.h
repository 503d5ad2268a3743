#pragma once

// What a running game is asked to record. One thread.

#include <sys/types.h>
#include <string>

#include "goal/recordingrequest.h"

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

/// Ends what any game was asked for. False when none was.
bool StopRecording();

}  // namespace tool
