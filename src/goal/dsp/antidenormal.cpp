#include "goal/dsp/antidenormal.h"

#include <cstddef>

namespace goal {

void ApplyAntiDenormalPattern(float* block, std::uint32_t frames) {
    constexpr std::size_t half = 16;
    for (std::size_t i = half; i < frames; i += 2 * half) {
        block[i - half] += antiDenormalOffset;
        block[i] -= antiDenormalOffset;
    }
}

void ApplyAntiDenormalPattern(hcml::ac::Bus& bus) {
    for (std::uint32_t c = 0; c < bus.channelCount; ++c)
        ApplyAntiDenormalPattern(bus.channels[c], bus.frames);
}

void ApplyAntiDenormalPattern(hcml::FloatTupleVector& block) {
    ApplyAntiDenormalPattern(block.data, block.size);
}

}  // namespace goal
