#include "goal/fx/modulateddelayparameters.h"

#include <numbers>

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using P = ModulatedDelayParameters;
using Row = RowsOf<P>;
using enum Form;

constexpr double degree = std::numbers::pi / 180;

// AL_CHORUS_WAVEFORM_SINUSOID, AL_CHORUS_WAVEFORM_TRIANGLE; the flanger's are the same.
constexpr std::array waveforms{static_cast<std::int32_t>(Waveform::Sinusoid),
                               static_cast<std::int32_t>(Waveform::Triangle)};

constexpr std::array chorusFloats{
    Row::Float<&P::phase>(AL_CHORUS_PHASE, -180, 180, FloatOrInteger, degree),
    Row::Float<&P::rate>(AL_CHORUS_RATE, 0, 10),
    Row::Float<&P::depth>(AL_CHORUS_DEPTH, 0, 1),
    Row::Float<&P::feedback>(AL_CHORUS_FEEDBACK, -1, 1),
    Row::Float<&P::delay>(AL_CHORUS_DELAY, 0, 0.016f),
};
constexpr std::array chorusIntegers{Row::Integer<&P::waveform>(AL_CHORUS_WAVEFORM, waveforms)};
constexpr ParameterTable chorusTable{"goal/fx/chorus", chorusFloats, chorusIntegers, {}};

constexpr std::array flangerFloats{
    Row::Float<&P::phase>(AL_FLANGER_PHASE, -180, 180, FloatOrInteger, degree),
    Row::Float<&P::rate>(AL_FLANGER_RATE, 0, 10),
    Row::Float<&P::depth>(AL_FLANGER_DEPTH, 0, 1),
    Row::Float<&P::feedback>(AL_FLANGER_FEEDBACK, -1, 1),
    Row::Float<&P::delay>(AL_FLANGER_DELAY, 0, 0.004f),
};
constexpr std::array flangerIntegers{Row::Integer<&P::waveform>(AL_FLANGER_WAVEFORM, waveforms)};
constexpr ParameterTable flangerTable{"goal/fx/flanger", flangerFloats, flangerIntegers, {}};

}  // namespace

ChorusParameters::ChorusParameters() : ModulatedDelayParameters(AL_EFFECT_CHORUS, chorusTable) {
    phase = static_cast<float>(90 * degree);
    rate = 1.1f;
    feedback = 0.25f;
    delay = 0.016f;
    depth = 0.1f;
}

void ChorusParameters::getName(std::string& name) const {
    name = "Chorus";
}

std::unique_ptr<EffectProcessorParameters> ChorusParameters::clone() const {
    return std::make_unique<ChorusParameters>(*this);
}

void ChorusParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

FlangerParameters::FlangerParameters() : ModulatedDelayParameters(AL_EFFECT_FLANGER, flangerTable) {
    phase = 0;
    rate = 0.27f;
    feedback = -0.5f;
    delay = 0.002f;
    depth = 1;
}

void FlangerParameters::getName(std::string& name) const {
    name = "Flanger";
}

std::unique_ptr<EffectProcessorParameters> FlangerParameters::clone() const {
    return std::make_unique<FlangerParameters>(*this);
}

void FlangerParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
