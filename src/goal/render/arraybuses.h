#pragma once

// The buses of the channel arrangements: what a block holds in "Stereo", "5.1" and so on, from sources and
// from effects, on its way to the spatial bus through the arrangement's encode matrix. Owned by the renderer,
// on the server's thread; a block allocates nothing.

#include <cstdint>
#include <map>

#include "numeric/bus.h"
#include "numeric/genericmatrix.h"
#include "orb3core/speakers/array.h"
#include "slib/realtime.h"

namespace goal {

/// Keys of the arrangements; those from "Mono" to "Rear" are the types of the channel arrays.
namespace arrangement {
inline constexpr int bFormat2D = 1;
inline constexpr int bFormat3D = 2;
inline constexpr int mono = 3;
inline constexpr int front = 4;
inline constexpr int stereo = 5;
inline constexpr int surround51 = 6;
inline constexpr int surround71 = 8;
inline constexpr int quad = 9;
inline constexpr int rear = 10;
}  // namespace arrangement

struct ArrayBus {
    hcml::ac::Bus input;     ///< raw samples of the current source
    hcml::ac::Bus filtered;  ///< those after rotation and filter
    hcml::ac::Bus mix;       ///< the sum of all sources and effects of the arrangement in this block
    hcml::GenericMatrix<float, 1> encode;  ///< a row for each channel of `mix`, a column for each of the bus
    bool hasContent = false;               ///< `mix` holds more than the anti-denormal pattern
};

class ArrayBuses {
public:
    /// For blocks of `frames` and a bus of `spatialChannels`. Throws slib::BadDataException for an array that
    /// is missing, slib::OutOfMemoryException.
    ArrayBuses(orb3::array::ArraySet arrays, std::uint32_t frames, std::uint32_t spatialChannels);

    /// By the key of the arrangement, which there must be.
    ArrayBus& operator[](int key) { return buses.at(key); }

    /// Adds every mix that has content to the spatial bus, and clears it.
    void MixInto(hcml::ac::Bus& spatial) SLIB_NONBLOCKING;

private:
    void Add(int key, std::uint32_t inputs, hcml::GenericMatrix<float, 1> encode);
    void AddArrays(orb3::array::ArraySet& arrays);
    void AddBFormats();

    const std::uint32_t frames;
    const std::uint32_t spatialChannels;
    std::map<int, ArrayBus> buses;
};

}  // namespace goal
