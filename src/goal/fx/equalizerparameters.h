#pragma once

// What a game sets on an equalizer: a low shelf, two peaks and a high shelf. Threads as for every
// EffectProcessorParameters.

#include <memory>
#include <string>

#include "goal/state/effectprocessorparameters.h"

namespace orb3::fx {

/// Gains are linear, cutoffs and centers in Hz, widths a fraction of the center.
struct ParametricEQParameters {
    float lowGain = 1;
    float lowCutoff = 200;
    float mid1Gain = 1;
    float mid1Center = 500;
    float mid1Width = 1;
    float mid2Gain = 1;
    float mid2Center = 3000;
    float mid2Width = 1;
    float highGain = 1;
    float highCutoff = 6000;

    bool operator==(const ParametricEQParameters&) const = default;
};

}  // namespace orb3::fx

namespace goal::fx {

class EqualizerParameters : public EffectProcessorParameters, public orb3::fx::ParametricEQParameters {
public:
    EqualizerParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

}  // namespace goal::fx
