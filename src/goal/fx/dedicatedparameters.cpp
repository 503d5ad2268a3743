#include "goal/fx/dedicatedparameters.h"

#include <cassert>
#include <limits>

#include "AL/al.h"
#include "AL/tessarune.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = DedicatedParameters;
using Row = RowsOf<P>;
using Limits = std::numeric_limits<float>;

constexpr std::array floats{
    Row::Float<&P::gain>(AL_DEDICATED_GAIN, Limits::lowest(), Limits::max()),
};

constexpr ParameterTable table{"goal/fx/dedicated", floats, {}, {}};

}  // namespace

DedicatedParameters::DedicatedParameters(std::int32_t effectType)
    : EffectProcessorParameters(effectType, table),
      outputKind(effectType == AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT ? EffectOutput::LowFrequency
                                                                        : EffectOutput::Dialogue) {
    assert(effectType == AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT ||
           effectType == AL_EFFECT_DEDICATED_DIALOGUE);
}

void DedicatedParameters::getName(std::string& name) const {
    name = "Dedicated";
}

std::unique_ptr<EffectProcessorParameters> DedicatedParameters::clone() const {
    return std::make_unique<DedicatedParameters>(*this);
}

void DedicatedParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
