#pragma once

// The buses of the channel arrangements: what a block holds in "Stereo", "5.1" and so on, from sources and
// from effects, on its way to the spatial bus through the arrangement's encode matrix. Owned by the renderer,
// on the server's thread; a block allocates nothing.

#include <cstdint>
#include <map>

#include "goal/sound/arrangement.h"
#include "numeric/bus.h"
#include "numeric/genericmatrix.h"
#include "orb3core/speakers/array.h"
#include "slib/realtime.h"

namespace goal {

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
    ArrayBus& operator[](Arrangement key) { return buses.at(key); }

    /// Adds every mix that has content to the spatial bus, and clears it.
    void MixInto(hcml::ac::Bus& spatial) SLIB_NONBLOCKING;

private:
    void Add(Arrangement key, std::uint32_t inputs, hcml::GenericMatrix<float, 1> encode);
    void AddArrays(orb3::array::ArraySet& arrays);
    void AddBFormats();

    const std::uint32_t frames;
    const std::uint32_t spatialChannels;
    std::map<Arrangement, ArrayBus> buses;
};

}  // namespace goal
