#include "goal/state/converterstate.h"

namespace goal {
namespace {

void Rewind(ConverterCursor& cursor) {
    cursor.writeIndex = cursor.preRoll;
    cursor.readPosition = historyOf(cursor) << converterFractionBits;
    cursor.silence = 0;
}

}  // namespace

void MultiChannelConverterState::resize(std::uint32_t newChannels) {
    if (newChannels == channels) return;
    ring.resize(converterRingStride * newChannels);
    channels = newChannels;
    Rewind(*this);
}

void reset(ConverterState& state) {
    state.ring.clear();
    Rewind(state);
}

void reset(MultiChannelConverterState& state) {
    state.ring.clear();
    Rewind(state);
}

void initialise(ConverterState& state, const ConverterCursor& start) {
    state.ring.resize(converterRingFrames);
    static_cast<ConverterCursor&>(state) = start;
    reset(state);
}

void initialise(MultiChannelConverterState& state, const ConverterCursor& start) {
    state.ring.resize(converterRingStride * state.channels);
    static_cast<ConverterCursor&>(state) = start;
    reset(state);
}

}  // namespace goal
