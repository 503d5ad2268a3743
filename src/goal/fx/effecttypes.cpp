#include "goal/fx/effecttypes.h"

#include <algorithm>
#include <array>

#include "AL/al.h"
#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/compressorparameters.h"
#include "goal/fx/dedicatedparameters.h"
#include "goal/fx/distortionparameters.h"
#include "goal/fx/echoparameters.h"
#include "goal/fx/equalizerparameters.h"
#include "goal/fx/modulateddelayparameters.h"
#include "goal/fx/reverbparameters.h"
#include "goal/fx/ringmodulatorparameters.h"

namespace goal::fx {
namespace {

using Parameters = std::unique_ptr<EffectProcessorParameters>;

template <typename Record>
Parameters Make() {
    return std::make_unique<Record>();
}

template <std::int32_t type>
Parameters MakeDedicated() {
    return std::make_unique<DedicatedParameters>(type);
}

struct EffectType {
    std::int32_t type;
    Parameters (*make)();
};

constexpr std::array effectTypes = std::to_array<EffectType>({
    {AL_EFFECT_REVERB, Make<BasicReverbParameters>},
    {AL_EFFECT_CHORUS, Make<ChorusParameters>},
    {AL_EFFECT_DISTORTION, Make<DistortionParameters>},
    {AL_EFFECT_ECHO, Make<EchoParameters>},
    {AL_EFFECT_FLANGER, Make<FlangerParameters>},
    {AL_EFFECT_RING_MODULATOR, Make<RingModulatorParameters>},
    {AL_EFFECT_COMPRESSOR, Make<CompressorParameters>},
    {AL_EFFECT_EQUALIZER, Make<EqualizerParameters>},
    {AL_EFFECT_EAXREVERB, Make<EAXReverbParameters>},
    {AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT, MakeDedicated<AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT>},
    {AL_EFFECT_DEDICATED_DIALOGUE, MakeDedicated<AL_EFFECT_DEDICATED_DIALOGUE>},
});

}  // namespace

Parameters MakeEffectParameters(std::int32_t type) {
    const auto* found = std::ranges::find(effectTypes, type, &EffectType::type);
    return found == effectTypes.end() ? nullptr : found->make();
}

bool SetEffectType(slib::SmartPtr<EffectProcessorParameters, slib::Counter>& holder, std::int32_t type) {
    const std::int32_t present = holder ? holder->effectType : AL_EFFECT_NULL;
    if (type == present) return true;
    Parameters parameters = MakeEffectParameters(type);
    if (parameters == nullptr && type != AL_EFFECT_NULL) return false;
    holder = slib::SmartPtr<EffectProcessorParameters, slib::Counter>(parameters.release());
    return true;
}

}  // namespace goal::fx
