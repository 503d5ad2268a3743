#include "orb3core/decoder/cleanpeak.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace orb3 {
namespace {

constexpr std::int32_t magnitudeBits = 0x7FFFFFFF;
constexpr std::int32_t infinityBits = 0x7F800000;

std::int32_t MagnitudeBits(float sample) {
    return std::bit_cast<std::int32_t>(sample) & magnitudeBits;
}

// Bits of the greatest magnitude. Magnitudes are ordered as their bits are, and above all of them are the
// infinity and then what isn't a number. Lanes that don't wait for each other are several times as quick.
std::int32_t GreatestBits(const float* samples, std::size_t count) {
    std::array<std::int32_t, 16> lanes{};
    std::size_t i = 0;
    for (; count - i >= lanes.size(); i += lanes.size())
        for (std::size_t lane = 0; lane < lanes.size(); ++lane)
            lanes[lane] = std::max(lanes[lane], MagnitudeBits(samples[i + lane]));
    for (; i < count; ++i)
        lanes[0] = std::max(lanes[0], MagnitudeBits(samples[i]));
    return *std::max_element(lanes.begin(), lanes.end());
}

void SilenceNonFinite(float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (MagnitudeBits(samples[i]) >= infinityBits) samples[i] = 0;
}

}  // namespace

float CleanPeak(float* samples, std::size_t count) {
    std::int32_t greatest = GreatestBits(samples, count);
    if (greatest >= infinityBits) {
        SilenceNonFinite(samples, count);
        greatest = GreatestBits(samples, count);
    }
    return std::bit_cast<float>(greatest);
}

}  // namespace orb3
