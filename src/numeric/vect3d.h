#pragma once

// A point or a direction in space. A plain record that any thread may use; the axes and the unit are named
// where a Vect3D is used.

namespace hcml {

struct Vect3D {
    double x = 0, y = 0, z = 0;
    bool operator==(const Vect3D&) const = default;
};

}  // namespace hcml
