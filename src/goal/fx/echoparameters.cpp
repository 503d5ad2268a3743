#include "goal/fx/echoparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = EchoParameters;
using Row = RowsOf<P>;

constexpr std::array floats{
    Row::Float<&P::delay>(AL_ECHO_DELAY, 0, 0.207f),    Row::Float<&P::lrDelay>(AL_ECHO_LRDELAY, 0, 0.404f),
    Row::Float<&P::damping>(AL_ECHO_DAMPING, 0, 0.99f), Row::Float<&P::feedback>(AL_ECHO_FEEDBACK, 0, 1),
    Row::Float<&P::spread>(AL_ECHO_SPREAD, -1, 1),
};

constexpr ParameterTable table{"goal/fx/echo", floats, {}, {}};

}  // namespace

EchoParameters::EchoParameters() : EffectProcessorParameters(AL_EFFECT_ECHO, table) {}

void EchoParameters::getName(std::string& name) const {
    name = "Echo";
}

std::unique_ptr<EffectProcessorParameters> EchoParameters::clone() const {
    return std::make_unique<EchoParameters>(*this);
}

void EchoParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
