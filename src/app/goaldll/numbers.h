#pragma once

// From the numbers of a game to those of the engine and back, defined for every value that a game may give.
// Used by the al* calls, on any thread.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

#include "AL/al.h"
#include "goal/state/enginestate.h"

namespace goal {

/// `value` without its fraction; the nearest ALint for one out of range, and 0 for NaN.
inline ALint CutToInteger(double value) {
    constexpr ALint least = std::numeric_limits<ALint>::min();
    constexpr ALint greatest = std::numeric_limits<ALint>::max();
    if (value >= greatest) return greatest;
    if (value <= least) return least;
    return value == value ? static_cast<ALint>(value) : 0;
}

/// `value` without its fraction; nothing for a negative one, for NaN, and for 2^63 and above.
inline std::optional<std::uint64_t> CutToCount(double value) {
    constexpr double limit = 9223372036854775808.0;
    if (!(value >= 0 && value < limit)) return std::nullopt;
    return static_cast<std::uint64_t>(value);
}

/// Three floats or integers.
template <typename T>
Vector3 ToVector(const T* values) {
    return {static_cast<float>(values[0]), static_cast<float>(values[1]), static_cast<float>(values[2])};
}

/// The other way; integers are cut.
inline void WriteVector(const Vector3& vector, float* values) {
    std::copy(vector.begin(), vector.end(), values);
}
inline void WriteVector(const Vector3& vector, ALint* values) {
    std::transform(vector.begin(), vector.end(), values, [](float value) { return CutToInteger(value); });
}

}  // namespace goal
