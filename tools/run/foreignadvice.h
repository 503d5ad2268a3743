#pragma once

// What to do about another OpenAL library that a game loads, or would load, in place of ours. On the main
// thread.

#include <filesystem>
#include <string>
#include <vector>

#include "tools/run/startplan.h"

namespace tool {

/// Sentences and commands, a line each, that put ours in the place of `library`, as far as that is the game's
/// own; else they start the game in another way. `folders` are those of the plan.
std::vector<std::string> AdviceOn(const std::filesystem::path& library, const Game& game,
                                  const std::vector<std::filesystem::path>& folders);

/// Libraries that lie in the folder of the game, or where its own search path leads, and that it would load.
/// Empty for a program of the system, in whose folders lie those of all programs.
std::vector<std::filesystem::path> LibrariesBesideGame(const Game& game);

}  // namespace tool
