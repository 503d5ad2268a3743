#pragma once

// What a game sets on a compressor. Threads as for every EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

class CompressorParameters : public EffectProcessorParameters {
public:
    bool isOn = true;

    CompressorParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
