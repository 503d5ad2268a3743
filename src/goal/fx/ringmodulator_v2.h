#pragma once

// The ring modulator of the refined sound: the high-pass and the waves of RingModulatorState, without their
// aliases.
//
//     input ──┬─────────────────────────(+)──> twice the rate ──> (×) ──> back ──> gain ──> output
//             └──> one-pole low-pass ──(-)┘                        ^
//                                          wave(t), band-limited ──┘
//
// At twice the rate the products of the highest partials with the highest harmonics have room, and are
// filtered off. The waves fade to the new ones, and the high-pass moves smoothly. Made and run by the
// renderer on the server's thread.

#include <array>
#include <cstddef>
#include <cstdint>

#include "goal/dsp/bandlimitedwave.h"
#include "goal/dsp/crossfade.h"
#include "goal/dsp/onepole.h"
#include "goal/dsp/oscillator.h"
#include "goal/dsp/oversampler.h"
#include "goal/dsp/smoothvalue.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class RingModulatorState_v2 : public EffectProcessorState {
public:
    RingModulatorState_v2(const RingModulatorParameters& parameters, const RenderContext& context);

    /// Throws slib::IntegrityFailureException for a waveform that is none of the ring modulator's.
    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;
    using Row = std::array<float, chunkFrames>;
    using WaveRow = std::array<float, std::size_t{2} * chunkFrames>;

    struct Carrier {
        float frequency = 0;  // Hz
        Waveform waveform = Waveform::Sinusoid;
        Oscillator phase;

        bool IsFor(const RingModulatorParameters& parameters) const {
            return frequency == parameters.frequency && waveform == parameters.waveform;
        }
    };

    double PoleOf(const RingModulatorParameters& parameters) const;
    void Aim(const RingModulatorParameters& parameters);
    void HighPass(const float* input, std::uint32_t count);
    void FillWave(std::uint32_t samples);
    void Run(Carrier& from, WaveRow& values, std::uint32_t samples);

    const double sampleRate;  // Hz
    SmoothValue pole;
    OnePoleLowPass lowpass;
    Oversampler oversampler;
    const BandLimitedWaves waves;
    Carrier carrier, before;  // `before` as long as the fade runs
    CrossfadeRun fade;
    WaveRow wave, faded;  // of the current chunk, at twice the rate
    Row low;
};

}  // namespace goal::fx
