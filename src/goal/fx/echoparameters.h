#pragma once

// What a game sets on an echo. Threads as for every EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class EchoParameters : public EffectProcessorParameters {
public:
    float delay = 0.1f;     ///< seconds to the first tap
    float lrDelay = 0.1f;   ///< seconds from the first tap to the second
    float damping = 0.5f;   ///< loss at 5 kHz in the feedback, 0 to 0.99
    float feedback = 0.5f;  ///< linear gain
    float spread = -1;      ///< 1 first tap left, -1 first tap right, 0 both in the middle

    EchoParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
