#pragma once

// What to do about another OpenAL library that a game loads, or would load, in place of ours. On the main
// thread.

#include <filesystem>
#include <string>
#include <vector>

#include "tools/run/startplan.h"

namespace tool {

/// Sentences and commands, a line each: those that start the game so that ours goes before `library`, where
/// that helps and `plan` doesn't do it already; else those that put ours in its place.
std::vector<std::string> AdviceOn(const std::filesystem::path& library, const Game& game,
                                  const StartPlan& plan);

/// Libraries that lie in the folder of the game, or where its own search path leads, and that it would load.
/// Empty for a program of the system, in whose folders lie those of all programs.
std::vector<std::filesystem::path> LibrariesBesideGame(const Game& game);

}  // namespace tool
