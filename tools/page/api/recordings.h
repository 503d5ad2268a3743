#pragma once

// What a game records, as the page has it. Plain functions.

#include "tools/page/api/api.h"
#include "tools/support/gamestatus.h"

namespace page {

/// What the game was asked to record: "what", "file" and "seconds". Null for nothing.
Json DescribeRecording(const tool::GameStatus& game);

}  // namespace page
