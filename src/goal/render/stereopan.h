#pragma once

// Where AL_STEREO_ANGLES puts the two sides of a stereo source: plane waves in the horizontal plane. Called
// by the renderer on the audio thread, once per side and block. Allocates nothing.

#include <array>
#include <span>

#include "slib/realtime.h"

namespace goal {

/// One side in the spatial bus: its samples times weights[i] are added to channel channels[i]. The other
/// channels, all those of height, get nothing.
struct StereoPan {
    std::span<const unsigned> channels;  ///< ascending; static
    std::array<float, 9> weights{};      ///< as many as `channels`
};

/// The weights of one side at `angle`, a finite azimuth in radians, positive to the left. `order` is that of
/// the spatial bus; throws slib::IntegrityFailureException unless it is 1 to 4.
StereoPan PanStereoSide(float angle, unsigned order) SLIB_NONBLOCKING;

}  // namespace goal
