#pragma once

// What a game sets on a distortion. Threads as for every EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class DistortionParameters : public EffectProcessorParameters {
public:
    float edge = 0.2f;           ///< drive, 0 to 1
    float gain = 0.05f;          ///< linear
    float lowpassCutoff = 8000;  ///< Hz, before the clip
    float eqCenter = 3600;       ///< Hz, after the clip
    float eqBandwidth = 3600;    ///< Hz

    DistortionParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
