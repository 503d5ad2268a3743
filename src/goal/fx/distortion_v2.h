#pragma once

// The distortion of the refined sound: the filters and the clip of DistortionState, without its aliases.
//
//     input ──> one-pole low-pass ──> drive ──> four times the rate ──> clip to ±1 ──> back ──┐
//                                              output <── two-pole resonator <── level <──────┘
//
// The clip is that of the line between two samples, averaged over it: J. D. Parker, V. Zavalishin, E. Le
// Bivic, "Reducing the Aliasing of Nonlinear Waveshaping Using Continuous-Time Convolution" (DAFx, 2016).
// What is changed moves smoothly, and the resonator fades. Made and run by the renderer on the server's
// thread.

#include <array>
#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/dsp/onepole.h"
#include "goal/dsp/oversampler.h"
#include "goal/dsp/smoothvalue.h"
#include "goal/fx/distortionparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class DistortionState_v2 : public EffectProcessorState {
public:
    DistortionState_v2(const DistortionParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;
    using Row = std::array<float, chunkFrames>;

    // y = gain*x + b1*y1 + b2*y2, around a resonance of `center` and `width` in Hz.
    struct Resonator {
        float center = 0, width = 0;
        double gain = 0, b1 = 0, b2 = 0;
        double y1 = 0, y2 = 0;

        void Run(const float* input, float* output, std::uint32_t count);
        void Settle();
    };

    Resonator Design(const DistortionParameters& parameters) const;
    void Aim(const DistortionParameters& parameters);
    void Drive(const float* input, std::uint32_t count);
    void Clip(std::uint32_t count);
    void Resonate(float* output, std::uint32_t count, float gain);

    const double sampleRate;  // Hz
    SmoothValue drive, level, pole;
    OnePoleLowPass lowpass;
    float lastDriven = 0;  // the last sample before the clip
    Oversampler oversampler;
    Resonator resonator, before;  // `before` as long as the fade runs
    CrossfadeRun fade;
    Row drives, clipped, levels, made, faded;  // of the current chunk
};

}  // namespace goal::fx
