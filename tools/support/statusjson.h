#pragma once

// What games tell of themselves (gamestatus.h) as a document for other programs, whose members are kept for
// good: docs/user-guide.md describes it. Any thread.

#include <vector>

#include "tools/support/gamestatus.h"
#include "tools/support/json.h"

namespace tool {

/// Levels are in dB with two decimals, -144 for silence; loads are parts of the time that blocks play.
[[nodiscard]] Json GameStatusJson(const GameStatus& game);

/// {"games": [...]}
[[nodiscard]] Json GamesJson(const std::vector<GameStatus>& games);

}  // namespace tool
