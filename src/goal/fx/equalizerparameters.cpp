#include "goal/fx/equalizerparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = EqualizerParameters;
using Row = RowsOf<P>;
using enum Form;

constexpr float minimumGain = 0.126f;
constexpr float maximumGain = 7.943f;

constexpr std::array floats{
    Row::Float<&P::lowGain>(AL_EQUALIZER_LOW_GAIN, minimumGain, maximumGain),
    Row::Float<&P::lowCutoff>(AL_EQUALIZER_LOW_CUTOFF, 50, 800, FloatOrInteger),
    Row::Float<&P::mid1Gain>(AL_EQUALIZER_MID1_GAIN, minimumGain, maximumGain),
    Row::Float<&P::mid1Center>(AL_EQUALIZER_MID1_CENTER, 200, 3000, FloatOrInteger),
    Row::Float<&P::mid1Width>(AL_EQUALIZER_MID1_WIDTH, 0.01f, 1),
    Row::Float<&P::mid2Gain>(AL_EQUALIZER_MID2_GAIN, minimumGain, maximumGain),
    Row::Float<&P::mid2Center>(AL_EQUALIZER_MID2_CENTER, 1000, 8000, FloatOrInteger),
    Row::Float<&P::mid2Width>(AL_EQUALIZER_MID2_WIDTH, 0.01f, 1),
    Row::Float<&P::highGain>(AL_EQUALIZER_HIGH_GAIN, minimumGain, maximumGain),
    Row::Float<&P::highCutoff>(AL_EQUALIZER_HIGH_CUTOFF, 4000, 16000, FloatOrInteger),
};

constexpr ParameterTable table{"goal/fx/equalizer", floats, {}, {}};

}  // namespace

EqualizerParameters::EqualizerParameters() : EffectProcessorParameters(AL_EFFECT_EQUALIZER, table) {}

void EqualizerParameters::getName(std::string& name) const {
    name = "Equalizer";
}

std::unique_ptr<EffectProcessorParameters> EqualizerParameters::clone() const {
    return std::make_unique<EqualizerParameters>(*this);
}

void EqualizerParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
