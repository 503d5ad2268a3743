#include "goal/fx/reverbparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = ReverbParameters;
using Row = RowsOf<P>;

constexpr std::array basicFloats{
    Row::Float<&P::density>(AL_REVERB_DENSITY, 0, 1),
    Row::Float<&P::diffusion>(AL_REVERB_DIFFUSION, 0, 1),
    Row::Float<&P::gain>(AL_REVERB_GAIN, 0, 1),
    Row::Float<&P::gainHF>(AL_REVERB_GAINHF, 0, 1),
    Row::Float<&P::decayTime>(AL_REVERB_DECAY_TIME, 0.1f, 20),
    Row::Float<&P::decayHFRatio>(AL_REVERB_DECAY_HFRATIO, 0.1f, 2),
    Row::Float<&P::reflectionsGain>(AL_REVERB_REFLECTIONS_GAIN, 0, 3.16f),
    Row::Float<&P::reflectionsDelay>(AL_REVERB_REFLECTIONS_DELAY, 0, 0.3f),
    Row::Float<&P::lateReverbGain>(AL_REVERB_LATE_REVERB_GAIN, 0, 10),
    Row::Float<&P::lateReverbDelay>(AL_REVERB_LATE_REVERB_DELAY, 0, 0.1f),
    Row::Float<&P::airAbsorptionGainHF>(AL_REVERB_AIR_ABSORPTION_GAINHF, 0.892f, 1),
    Row::Float<&P::roomRolloffFactor>(AL_REVERB_ROOM_ROLLOFF_FACTOR, 0, 10),
};
constexpr std::array basicIntegers{Row::Integer<&P::decayHFLimit>(AL_REVERB_DECAY_HFLIMIT, booleanCodes)};
constexpr ParameterTable basicTable{"goal/fx/reverb_v2", basicFloats, basicIntegers, {}};

constexpr std::array eaxFloats{
    Row::Float<&P::density>(AL_EAXREVERB_DENSITY, 0, 1),
    Row::Float<&P::diffusion>(AL_EAXREVERB_DIFFUSION, 0, 1),
    Row::Float<&P::gain>(AL_EAXREVERB_GAIN, 0, 1),
    Row::Float<&P::gainHF>(AL_EAXREVERB_GAINHF, 0, 1),
    Row::Float<&P::gainLF>(AL_EAXREVERB_GAINLF, 0, 1),
    Row::Float<&P::decayTime>(AL_EAXREVERB_DECAY_TIME, 0.1f, 20),
    Row::Float<&P::decayHFRatio>(AL_EAXREVERB_DECAY_HFRATIO, 0.1f, 2),
    Row::Float<&P::decayLFRatio>(AL_EAXREVERB_DECAY_LFRATIO, 0.1f, 2),
    Row::Float<&P::reflectionsGain>(AL_EAXREVERB_REFLECTIONS_GAIN, 0, 3.16f),
    Row::Float<&P::reflectionsDelay>(AL_EAXREVERB_REFLECTIONS_DELAY, 0, 0.3f),
    Row::Float<&P::lateReverbGain>(AL_EAXREVERB_LATE_REVERB_GAIN, 0, 10),
    Row::Float<&P::lateReverbDelay>(AL_EAXREVERB_LATE_REVERB_DELAY, 0, 0.1f),
    Row::Float<&P::echoTime>(AL_EAXREVERB_ECHO_TIME, 0.075f, 0.25f),
    Row::Float<&P::echoDepth>(AL_EAXREVERB_ECHO_DEPTH, 0, 1),
    Row::Float<&P::modulationTime>(AL_EAXREVERB_MODULATION_TIME, 0.04f, 4),
    Row::Float<&P::modulationDepth>(AL_EAXREVERB_MODULATION_DEPTH, 0, 1),
    Row::Float<&P::airAbsorptionGainHF>(AL_EAXREVERB_AIR_ABSORPTION_GAINHF, 0.892f, 1),
    Row::Float<&P::hfReference>(AL_EAXREVERB_HFREFERENCE, 1000, 20000),
    Row::Float<&P::lfReference>(AL_EAXREVERB_LFREFERENCE, 20, 1000),
    Row::Float<&P::roomRolloffFactor>(AL_EAXREVERB_ROOM_ROLLOFF_FACTOR, 0, 10),
};
constexpr std::array eaxIntegers{Row::Integer<&P::decayHFLimit>(AL_EAXREVERB_DECAY_HFLIMIT, booleanCodes)};
constexpr std::array eaxVectors{
    Row::Vector<&P::reflectionsPan>(AL_EAXREVERB_REFLECTIONS_PAN),
    Row::Vector<&P::lateReverbPan>(AL_EAXREVERB_LATE_REVERB_PAN),
};
constexpr ParameterTable eaxTable{"goal/fx/reverb_v2", eaxFloats, eaxIntegers, eaxVectors};

}  // namespace

BasicReverbParameters::BasicReverbParameters() : ReverbParameters(AL_EFFECT_REVERB, basicTable) {}

void BasicReverbParameters::getName(std::string& name) const {
    name = "BasicReverb";
}

std::unique_ptr<EffectProcessorParameters> BasicReverbParameters::clone() const {
    return std::make_unique<BasicReverbParameters>(*this);
}

void BasicReverbParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

EAXReverbParameters::EAXReverbParameters() : ReverbParameters(AL_EFFECT_EAXREVERB, eaxTable) {}

void EAXReverbParameters::getName(std::string& name) const {
    name = "EAXReverb";
}

std::unique_ptr<EffectProcessorParameters> EAXReverbParameters::clone() const {
    return std::make_unique<EAXReverbParameters>(*this);
}

void EAXReverbParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
