#pragma once

// What a game sets on a chorus or a flanger: one effect in two ranges and with two sets of defaults.
// Threads as for every EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/dsp/waveform.h"
#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class ModulatedDelayParameters : public EffectProcessorParameters {
public:
    Waveform waveform = Waveform::Triangle;  ///< a sinusoid or a triangle
    float phase = 0;                         ///< radians from the left side's wave to the right side's
    float rate = 0;                          ///< Hz
    float feedback = 0;                      ///< linear gain
    float delay = 0;                         ///< seconds
    float depth = 0;                         ///< fraction of the delay, 0 to 1

    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;

protected:
    using EffectProcessorParameters::EffectProcessorParameters;
};

class ChorusParameters : public ModulatedDelayParameters {
public:
    ChorusParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
};

class FlangerParameters : public ModulatedDelayParameters {
public:
    FlangerParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
};

}  // namespace goal::fx
