#pragma once

// What a game sets on a reverb, in the basic form and in the one that has everything. Both run as the
// same effect, so both hold all values; those that a basic reverb can't set keep their defaults. Threads as
// for every EffectProcessorParameters.

#include <array>
#include <memory>
#include <string>

#include "goal/state/effectprocessorparameters.h"

namespace goal::fx {

/// Gains are linear, times and delays in seconds, references in Hz, pans vectors of length 0 to 1 in the
/// listener's frame.
struct ReverbParametersBase {
    float roomRolloffFactor = 0;
    float airAbsorptionGainHF = 0.994f;  ///< per metre
    float density = 1;
    float diffusion = 1;
    float gain = 0.32f;
    float gainHF = 0.89f;
    float gainLF = 1;
    float decayTime = 1.49f;
    float decayHFRatio = 0.83f;  ///< of the decay time, at the HF reference
    float decayLFRatio = 1;      ///< of the decay time, at the LF reference
    float reflectionsGain = 0.05f;
    float reflectionsDelay = 0.007f;
    std::array<float, 3> reflectionsPan{};
    float lateReverbGain = 1.26f;
    float lateReverbDelay = 0.011f;
    std::array<float, 3> lateReverbPan{};
    float echoTime = 0.25f;
    float echoDepth = 0;
    float modulationTime = 0.25f;
    float modulationDepth = 0;
    float hfReference = 5000;
    float lfReference = 250;
    bool decayHFLimit = true;  ///< air absorption limits the decay at the HF reference
};

class ReverbParameters : public EffectProcessorParameters, public ReverbParametersBase {
public:
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
    RoomOfSends SendRoom() const override { return {airAbsorptionGainHF, roomRolloffFactor}; }

protected:
    using EffectProcessorParameters::EffectProcessorParameters;
};

class BasicReverbParameters : public ReverbParameters {
public:
    BasicReverbParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
};

class EAXReverbParameters : public ReverbParameters {
public:
    EAXReverbParameters();
    void getName(std::string& name) const override;
    std::unique_ptr<EffectProcessorParameters> clone() const override;
    void assign(const EffectProcessorParameters& other) override;
};

}  // namespace goal::fx
