#pragma once

// Taking back what was changed in the settings, and making it again. One thread.

#include <string>
#include <vector>

#include "tools/manage/report.h"

namespace tool {

/// What was taken back, or made again.
struct TakenBack {
    std::string what;                   ///< of the step: "Order 4"
    std::vector<std::string> warnings;  ///< sentences: what differs by now, and so stays as it is
};

/// Takes back the last step of the history: each value that is still as the step left it gets the value from
/// before. The configuration document counts by its settings and layouts. What somebody else (a game,
/// another program) has changed since stays, and is named in the warnings. Where the speakers of a room of
/// the user's own come back, its decoders are designed for them, which `report` is told of. Throws WrongUse
/// where there is no step, slib::BadStateException where nothing of it is as it was left, and then that
/// step is forgotten; and what reading, storing and designing throw.
TakenBack Undo(const StepReport& report);

/// The reverse, for the step that was taken back last. A new change forgets those that can be made again.
TakenBack Redo(const StepReport& report);

}  // namespace tool
