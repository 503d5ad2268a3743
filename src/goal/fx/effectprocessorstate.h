#pragma once

// A running effect: what remembers the sound of an auxiliary slot, its delay lines and filters.
//
//     the slot's input bus ── process, once a block ──> added to the bus of the effect's output
//
// The renderer makes one when a slot first has an effect of that type, and drops it with its tail when the
// slot loses the effect or takes one of another type. A change of parameters needs no message: each block
// brings its own. All of it happens on the server's thread.

#include <cstdint>

#include "goal/state/basis.h"
#include "goal/state/effectprocessorparameters.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

/// What an effect takes in.
enum class EffectInput : std::int32_t {
    Mono = 0,    ///< one channel: the sources' signals
    Reverb = 1,  ///< the same in channel 0, and with directional early reflections the axes in 1 to 3
    Field = 2,   ///< all channels of the spatial bus
};

/// Where an effect's sound goes. No effect here uses the arrangements from Quad to Surround71.
enum class EffectOutput : std::int32_t {
    Mono = 0,          ///< the bus of the channel array "Mono", one channel
    Stereo = 1,        ///< that of "Stereo", two channels
    Quad = 2,          ///< that of "Quad"
    Surround51 = 3,    ///< that of "5.1"
    Surround71 = 4,    ///< that of "7.1"
    Field = 5,         ///< the spatial bus itself
    LowFrequency = 6,  ///< the output's own low-frequency channel; without one, nowhere
    Dialogue = 7,      ///< the output's own dialogue channel; without one, the bus of "Front"
};

/// One block of an effect. Both buses have `frames` frames a channel, of whole groups of four floats.
struct EffectProcessArgs {
    const EffectProcessorParameters* parameters = nullptr;  ///< the block's, of the state's own class
    const float* const* input = nullptr;                    ///< the channels of the slot's input
    float* const* output = nullptr;                         ///< the channels to add to
    std::uint32_t frames = 0;
    std::uint32_t vectors = 0;    ///< groups of four floats in a channel, (frames + 3) / 4
    float slotGain = 1;           ///< AL_EFFECTSLOT_GAIN, linear; on the wet signal's way out
    float speedOfSound = 343.3F;  ///< the scene's units per second
    float metresPerUnit = 1;      ///< of the scene
};

/// What a state is made for. The reference holds as long as the state lives.
struct RenderContext {
    double sampleRate = 0;    ///< Hz
    std::uint32_t order = 1;  ///< of the spatial bus, 1 to 4
    bool useFullLateReflections = true;
    bool useDirectionalEarlyReflections = true;  ///< and then a reverb's input has four channels
    std::uint32_t blockFrames = 0;
    const Basis* listenerBasis = nullptr;  ///< of the current block: the renderer keeps it up to date
    bool isRefined = true;                 ///< beyond the plain formulas
};

class EffectProcessorState {
public:
    const std::int32_t effectType;  ///< an AL_EFFECT_ value, as the parameters have it
    const EffectInput inputKind;
    const EffectOutput outputKind;

    virtual ~EffectProcessorState() = default;
    EffectProcessorState(const EffectProcessorState&) = delete;
    EffectProcessorState& operator=(const EffectProcessorState&) = delete;

    /// Adds the effect of one block to the output. Allocates nothing.
    virtual void process(const EffectProcessArgs& args) SLIB_NONBLOCKING = 0;

protected:
    EffectProcessorState(std::int32_t effectType, EffectInput inputKind, EffectOutput outputKind)
        : effectType(effectType), inputKind(inputKind), outputKind(outputKind) {}
};

}  // namespace goal
