#include "goal/state/converterstate.h"

namespace goal {

void MultiChannelConverterState::resize(std::uint32_t newChannels) {
    if (newChannels == channels) return;
    ring.resize(converterRingFrames * newChannels);
    channels = newChannels;
    writeIndex = preRoll;
    readPosition = 0;
}

void reset(ConverterState& state) {
    state.ring.clear();
    state.writeIndex = state.preRoll;
    state.readPosition = 0;
}

void reset(MultiChannelConverterState& state) {
    state.ring.clear();
    state.writeIndex = state.preRoll;
    state.readPosition = 0;
}

void initialise(ConverterState& state, const ConverterCursor& start) {
    state.ring.resize(converterRingFrames);
    static_cast<ConverterCursor&>(state) = start;
    reset(state);
}

void initialise(MultiChannelConverterState& state, const ConverterCursor& start) {
    state.ring.resize(converterRingFrames * state.channels);
    static_cast<ConverterCursor&>(state) = start;
    reset(state);
}

}  // namespace goal
