#pragma once

// Durations as people read them, for log lines. Usable from any thread.

#include <string>

namespace orb3 {

/// `seconds` in the unit that suits: "unknown" for NaN, "0", "21us", "11ms", "2.5s", from a minute on in
/// whole seconds, "1h 1m 40s". Up to a minute with two significant digits.
std::string formatDuration(double seconds);

}  // namespace orb3
