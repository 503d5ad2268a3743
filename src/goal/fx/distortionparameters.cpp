#include "goal/fx/distortionparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = DistortionParameters;
using Row = RowsOf<P>;

constexpr std::array floats{
    Row::Float<&P::edge>(AL_DISTORTION_EDGE, 0, 1),
    Row::Float<&P::gain>(AL_DISTORTION_GAIN, 0.01f, 1),
    Row::Float<&P::lowpassCutoff>(AL_DISTORTION_LOWPASS_CUTOFF, 80, 24000),
    Row::Float<&P::eqCenter>(AL_DISTORTION_EQCENTER, 80, 24000),
    Row::Float<&P::eqBandwidth>(AL_DISTORTION_EQBANDWIDTH, 80, 24000),
};

constexpr ParameterTable table{"goal/fx/distortion", floats, {}, {}};

}  // namespace

DistortionParameters::DistortionParameters() : EffectProcessorParameters(AL_EFFECT_DISTORTION, table) {}

void DistortionParameters::getName(std::string& name) const {
    name = "Distortion";
}

std::unique_ptr<EffectProcessorParameters> DistortionParameters::clone() const {
    return std::make_unique<DistortionParameters>(*this);
}

void DistortionParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
