#pragma once

// How a B-format source is turned into the listener's view. Called by the renderer on the audio thread, once
// per source of such a buffer and block. Allocates nothing.

#include <array>

#include "goal/render/sourcegeometry.h"
#include "goal/state/enginestate.h"
#include "slib/realtime.h"

namespace goal {

/// Row by row: the listener's X, Y, Z (forward, left, up) from the source's.
using RotationMatrix = std::array<Vector3, 3>;

/// The matrix that turns channels 1 to 3 of a B-format source; channel 0 has no direction. `source` is the
/// basis of the source's orientation. A relative source is fixed to the listener's head, so that `listener`
/// plays no part. For a source in the plane (three channels) the last column has nothing to act on, yet all
/// three rows count.
RotationMatrix BFormatRotation(const Basis& listener, const Basis& source, bool relative) SLIB_NONBLOCKING;

}  // namespace goal
