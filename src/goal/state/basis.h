#pragma once

// Vectors of the scene, and how something in it is turned. Plain values; any thread.

#include <array>

namespace goal {

using Vector3 = std::array<float, 3>;

/// How a listener, or a source of several channels, is turned: unit vectors in the axes of the scene, each
/// perpendicular to the others. Forward is -back.
struct Basis {
    Vector3 right{1, 0, 0};
    Vector3 up{0, 1, 0};
    Vector3 back{0, 0, 1};
};

}  // namespace goal
