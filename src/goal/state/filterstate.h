#pragma once

// A filter as a game sets it, and what the filter stage remembers about a path that runs through one. Plain
// records; they cross from the game's side to the server's thread by copy.

#include <array>
#include <cstdint>

#include "numeric/ambisonicorder.h"

namespace goal {

/// By the values of AL_FILTER_TYPE.
enum class FilterType : std::int32_t { None = 0, LowPass = 1, HighPass = 2, BandPass = 3 };

/// The values of a filter object, or of a source's copy of one. Gains are linear, 0 to 1.
struct FilterParameters {
    FilterType type = FilterType::None;
    std::int32_t order = 0;  ///< 0: the context's default order
    float gain = 1;
    float gainHF = 1;
    float gainLF = 1;
};

/// The weights of one path in the mix, as they were at the end of the last block, and how they move.
struct PathWeights {
    std::array<float, hcml::mostBusChannels> coefficients{};  ///< the gains last used per channel of the bus
    bool coefficientsValid = false;  ///< false: the next mix takes the new gains at once
    bool isMoving = false;           ///< they moved in the last block
    bool isFading = false;           ///< they are in a fade, of which
    std::uint32_t fadeBlock = 0;     ///< this block comes next
};

/// What the renderer keeps about one path of a source, direct or send, from block to block.
struct SourceFilterState : PathWeights {
    std::int32_t channelCount = -1;  ///< -1: not used yet
    float gain = 1;                  ///< the gains reached so far
    float gainHF = 1;
    float gainLF = 1;
    /// The row at which the low section was opened, whose memory still dies away; 0 for none.
    std::uint32_t lowTail = 0;
    /// Per channel two values of the high and two of the low section, as the filter stage keeps them.
    std::array<std::array<float, 4>, 8> memory{};
};

}  // namespace goal
