#pragma once

// The waves of the effects' low-frequency oscillators and of the ring modulator. Plain values; any thread.

#include <cstdint>

namespace goal {

enum class Waveform : std::int32_t { Sinusoid = 0, Square = 1, Triangle = 2, Sawtooth = 3 };

}  // namespace goal
