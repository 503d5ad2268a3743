#pragma once

// What the sample rate converter keeps about one source: its position, the filter in use, and a ring of the
// input that the next block still needs. One-channel sources use ConverterState, all others
// MultiChannelConverterState. Plain data on the server's thread, moved by the operations of
// goal/dsp/samplerateconverter.h. A state without a ring costs a few bytes, so that sources of a renderer
// without the converter have no ring.
//
//     ring:   ... | taps frames under the filter | pushed, not yet reached | free ...
//                  ^ readPosition (13.19)                                   ^ writeIndex
//
// A few frames are left there from block to block, mostly at its start, so that only a line or two of a
// source's ring has to be near.

#include <cstdint>

#include "numeric/floattuplevector.h"

namespace hcml {
struct BlendedSincFilter;
}

namespace goal {

/// Length of every ring in frames, a power of two.
inline constexpr std::uint32_t converterRingFrames = 1024;

/// Floats from one channel of a ring to the next. Not a multiple of 2 KiB, at which all channels would
/// compete for the same cache sets.
inline constexpr std::uint32_t converterRingStride = converterRingFrames + 32;

/// Bits of fraction in `readPosition` and `step`.
inline constexpr std::uint32_t converterFractionBits = 19;

/// All but the ring. The first group is a copy of the table's shape, which doesn't change from block to block
/// but for SincBest: there taps, phases and the filter in use follow the ratio, and the window stays around
/// the same frame.
struct ConverterCursor {
    const float* coefficients = nullptr;  ///< start of the table; owned by the SampleRateConverter
    std::uint32_t tapsLog2 = 0;
    std::uint32_t phasesLog2 = 0;
    std::uint32_t filterCount = 0;
    std::uint32_t taps = 0;         ///< length of the filter in frames: 4, 8 or 16; of SincBest 64 to 256
    std::uint32_t preRoll = 0;      ///< frames of silence before the first one: taps / 2 - 1 of the longest
    float ratioScale = 0;           ///< filters per unit of ln(ratio)
    std::uint32_t filterShift = 0;  ///< log2 of the floats of one filter
    const hcml::BlendedSincFilter* series = nullptr;  ///< of SincBest, the converter's; null for the others

    std::uint32_t writeIndex = 0;    ///< end of what is in the ring, in frames of the same count
    std::uint32_t readPosition = 0;  ///< start of the filter's window in frames, 13.19 fixed point
    std::uint32_t step = 0;          ///< input frames per output frame, 13.19 fixed point, at least 1
    std::uint32_t silence = 0;       ///< frames pushed after the end of the data, while that is coming out
    const float* filter = nullptr;   ///< the filter in use, within the table
};

/// Frames before the window which the longest filter would reach to.
inline std::uint32_t historyOf(const ConverterCursor& cursor) {
    return cursor.preRoll + 1 - cursor.taps / 2;
}

/// Of a source of one channel.
struct ConverterState : ConverterCursor {
    hcml::FloatTupleVector ring;  ///< 1024 samples, or none before `initialise`
};

/// Of a source of several channels.
struct MultiChannelConverterState : ConverterCursor {
    std::uint32_t channels = 2;
    hcml::FloatTupleVector ring;  ///< 1024 samples of each channel, a stride apart; or none, as above

    /// Another count brings a ring of that shape and the state of a source that starts; the same count keeps
    /// everything and allocates nothing. Throws slib::OutOfMemoryException and then changes nothing.
    void resize(std::uint32_t newChannels);
};

/// Silence in the ring and the positions of a source that starts; the ratio stays.
void reset(ConverterState& state);
void reset(MultiChannelConverterState& state);

/// Makes `state` that of a source that starts on the converter whose cursor starts as `start`: gives it a
/// ring where it has none. Throws slib::OutOfMemoryException.
void initialise(ConverterState& state, const ConverterCursor& start);
void initialise(MultiChannelConverterState& state, const ConverterCursor& start);

}  // namespace goal
