#pragma once

// How the sound of a game fared, in words, where that is worth a word: blocks that came too late, and sources
// of which nothing was heard, with what helps. On the main thread.

#include <string>
#include <vector>

#include "tools/support/gamestatus.h"

namespace tool {

/// Sentences; none for a game that fared well.
std::vector<std::string> ExplainFaring(const GameStatus& game);

}  // namespace tool
