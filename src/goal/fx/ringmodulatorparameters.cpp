#include "goal/fx/ringmodulatorparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = RingModulatorParameters;
using Row = RowsOf<P>;
using enum Form;

// AL_RING_MODULATOR_SINUSOID, AL_RING_MODULATOR_SAWTOOTH, AL_RING_MODULATOR_SQUARE.
constexpr std::array waveforms{static_cast<std::int32_t>(Waveform::Sinusoid),
                               static_cast<std::int32_t>(Waveform::Sawtooth),
                               static_cast<std::int32_t>(Waveform::Square)};

constexpr std::array floats{
    Row::Float<&P::frequency>(AL_RING_MODULATOR_FREQUENCY, 0, 8000, FloatOrInteger),
    Row::Float<&P::highpassCutoff>(AL_RING_MODULATOR_HIGHPASS_CUTOFF, 0, 24000, FloatOrInteger),
};
constexpr std::array integers{Row::Integer<&P::waveform>(AL_RING_MODULATOR_WAVEFORM, waveforms)};

constexpr ParameterTable table{"goal/fx/ringmodulator", floats, integers, {}};

}  // namespace

RingModulatorParameters::RingModulatorParameters()
    : EffectProcessorParameters(AL_EFFECT_RING_MODULATOR, table) {}

void RingModulatorParameters::getName(std::string& name) const {
    name = "RingModulator";
}

std::unique_ptr<EffectProcessorParameters> RingModulatorParameters::clone() const {
    return std::make_unique<RingModulatorParameters>(*this);
}

void RingModulatorParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
