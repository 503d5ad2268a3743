#pragma once

// What a game sets on the effects that send their slot to one output: low frequencies or dialogue.
// Threads as for every EffectProcessorParameters.

#include <cstdint>
#include <memory>
#include <string>

#include "goal/fx/effectprocessorstate.h"
#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class DedicatedParameters : public EffectProcessorParameters {
public:
    float gain = 1;           ///< linear, any finite number
    EffectOutput outputKind;  ///< LowFrequency or Dialogue

    /// `effectType` is AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT or AL_EFFECT_DEDICATED_DIALOGUE.
    explicit DedicatedParameters(std::int32_t effectType);
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
