#pragma once

// What there is to say when a game has ended: whether it used the library, by what it told itself and what it
// had loaded; if not, why; and what the log got meanwhile. On the main thread.

#include <string>
#include <vector>

#include "tools/run/observer.h"
#include "tools/run/startplan.h"
#include "tools/run/supervisor.h"

namespace tool {

struct Run {
    const Game& game;
    const StartPlan& plan;
    const Observer& observer;
    const Ending& ending;
    bool canTell = true;  ///< games had a place for their status pages
};

/// Lines without an end, the first of each fact with nothing before it.
std::vector<std::string> Verdict(const Run& run);

/// How the game ended, where that was by a signal.
std::vector<std::string> Deaths(const Run& run);

}  // namespace tool
