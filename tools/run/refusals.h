#pragma once

// Calls of a game that the library refused, in words: what the game asked for, and the command that allows
// it. On the main thread.

#include <string>
#include <vector>

#include "tools/support/gamestatus.h"

namespace tool {

/// A sentence for each switch that would have allowed calls of this game which were refused. Empty for a game
/// that has a profile, in which somebody has already chosen.
std::vector<std::string> ExplainRefusals(const GameStatus& game);

}  // namespace tool
