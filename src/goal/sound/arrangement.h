#pragma once

// The channel arrangements: what the channels of a buffer, or of an effect's output, stand for. Plain values;
// any thread.

#include <array>
#include <cstdint>

namespace goal {

/// The values from Mono to Rear are also the types of the channel arrays (orb3::array::ArraySet).
enum class Arrangement : std::int32_t {
    None = 0,  ///< of a buffer with one channel, which has a place in the scene
    BFormat2D = 1,
    BFormat3D = 2,
    Mono = 3,
    Front = 4,
    Stereo = 5,
    Surround51 = 6,
    Surround61 = 7,
    Surround71 = 8,
    Quad = 9,
    Rear = 10,
};

/// Those with a channel array.
inline constexpr std::array arrayArrangements{
    Arrangement::Mono,       Arrangement::Front,      Arrangement::Stereo, Arrangement::Surround51,
    Arrangement::Surround61, Arrangement::Surround71, Arrangement::Quad,   Arrangement::Rear};

}  // namespace goal
