#include "goal/render/bformatrotation.h"

#include <cstddef>

namespace goal {
namespace {

// Forward, left and up of a basis, in the axes of the scene.
std::array<Vector3, 3> Axes(const Basis& b) {
    return {{{-b.back[0], -b.back[1], -b.back[2]}, {-b.right[0], -b.right[1], -b.right[2]}, b.up}};
}

}  // namespace

RotationMatrix BFormatRotation(const Basis& listener, const Basis& source, bool relative) {
    const auto to = Axes(relative ? Basis{} : listener), from = Axes(source);
    RotationMatrix matrix;
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            matrix[row][column] =
                to[row][0] * from[column][0] + to[row][1] * from[column][1] + to[row][2] * from[column][2];
    return matrix;
}

}  // namespace goal
