#pragma once

// A block of planar audio of several channels: the spatial bus, the inputs of effects, the buses of channel
// arrangements. Owned by one thread and sized before the block loop starts; clear and add allocate nothing.

#include <cstdint>
#include <memory>

#include "numeric/alignedmemory.h"

namespace hcml::ac {

/// The fields are public to be read; only the samples are written from outside. All channels are in one
/// block, each at a multiple of 128 bytes. The step from channel to channel is an odd number of such units,
/// so that two channels fewer than 16 apart are never a multiple of 2 KiB apart, where they would compete for
/// the same cache sets. All `vectors` * 4 floats of a channel exist and may be written by whole-group loops.
class Bus {
public:
    std::uint32_t frames = 0;        ///< samples per channel
    std::uint32_t vectors = 0;       ///< groups of four per channel, (frames + 3) / 4
    std::uint32_t channelCount = 0;  ///< entries of `channels`
    float** channels = nullptr;      ///< owned, as are the blocks it points to; null for 0 channels

    Bus() = default;

    /// All samples zero. Throws slib::OutOfMemoryException.
    Bus(std::uint32_t frames, std::uint32_t channelCount);

    Bus(const Bus& other);
    Bus(Bus&& other) noexcept;
    /// Copies in place when the shapes are equal. Throws slib::OutOfMemoryException and then changes nothing.
    Bus& operator=(const Bus& other);
    Bus& operator=(Bus&& other) noexcept;
    ~Bus() = default;

    /// Discards: another shape means new blocks of zeros. The same shape keeps everything and allocates
    /// nothing. Throws slib::OutOfMemoryException and then changes nothing.
    void resize(std::uint32_t newFrames, std::uint32_t newChannelCount);

    /// Sets all samples to zero, those after `frames` too.
    void clear();

    /// Adds `source` times the linear `gain` to a channel, over `vectors` * 4 floats; the source must have as
    /// many, and must not overlap the channel unless it is the channel.
    void add(std::uint32_t channel, const float* source, float gain);

private:
    void Swap(Bus& other) noexcept;
    void CopySamples(const Bus& other);

    std::unique_ptr<float*[]> pointers;
    AlignedFloats samples;
};

}  // namespace hcml::ac
