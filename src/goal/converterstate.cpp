#include "goal/converterstate.h"

namespace goal {

void MultiChannelConverterState::resize(std::uint32_t newChannels) {
    if (newChannels == channels) return;
    ring.resize(converterRingFrames * newChannels);
    channels = newChannels;
    writeIndex = preRoll;
    readPosition = 0;
}

}  // namespace goal
