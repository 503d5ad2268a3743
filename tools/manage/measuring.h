#pragma once

// How fast the machine is, and the settings that it carries: what the first start of a game measures and
// chooses. One thread.

#include <optional>
#include <string>

#include "tools/manage/history.h"

namespace tool {

/// Measures one processor, which takes a second, and keeps the result for LastPower.
MeasuredPower MeasureMachine();

/// What was measured last: here, or, as the log has it, by the first start of a game. Nothing where that
/// isn't known any more.
std::optional<MeasuredPower> LastPower();

/// Puts those settings in force that a first start chooses by the power: order, effects, conversion and
/// buffers. Throws what changing the document throws.
void TakeSettingsFor(const MeasuredPower& power);

/// "8 processors, a rating of 1.27 each": for people.
std::string PowerText(const MeasuredPower& power);

}  // namespace tool
