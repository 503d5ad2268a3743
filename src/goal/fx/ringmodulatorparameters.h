#pragma once

// What a game sets on a ring modulator. Threads as for every EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/dsp/waveform.h"
#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class RingModulatorParameters : public EffectProcessorParameters {
public:
    float frequency = 440;                   ///< Hz
    float highpassCutoff = 800;              ///< Hz, before the modulation
    Waveform waveform = Waveform::Sinusoid;  ///< a sinusoid, a sawtooth or a square

    RingModulatorParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
