// The al* calls on effect objects. An effect does nothing by itself: it reaches a slot by copy (see
// alslot.cpp). Effects are never suspended, so a change acts at once.

#include <array>
#include <cstdint>

#include "AL/al.h"
#include "AL/efx.h"
#include "app/goaldll/efxcall.h"
#include "app/goaldll/missingeffects.h"
#include "goal/fx/effecttypes.h"

namespace goal {
namespace {

auto& Effects(Context& context) {
    return SharedState(context).effects;
}

// Runs `work(parameters)` with what an effect holds, null for AL_EFFECT_NULL.
template <typename Work>
void EffectCall(ALuint name, Access access, bool pointersPresent, const Work& work) noexcept {
    EntryCall(Effects, name, access, pointersPresent,
              [&](EffectParameters& effect) -> int { return work(effect.parameters); });
}

// An effect returns whether it has the parameter and takes the value, without a reason when not.
int Answer(bool isTaken) {
    return isTaken ? AL_NO_ERROR : AL_INVALID_ENUM;
}

// The same of a value to set: of a parameter that `get` reads, it is out of range.
template <typename T>
int AnswerToSet(bool isTaken, const EffectParametersPtr& parameters, ALenum parameter,
                bool (EffectProcessorParameters::*get)(std::int32_t, T*) const) {
    std::array<T, 8> values{};  // beyond any vector of a parameter
    if (isTaken || !parameters || !(parameters.Get()->*get)(parameter, values.data())) return Answer(isTaken);
    return CodeOf(Fault::ParameterOutOfRange);
}

int ChangeType(EffectParametersPtr& parameters, ALint type) {
    if (goal::fx::SetEffectType(parameters, type)) return AL_NO_ERROR;
    NoteEffectType(TheProcess(), type);
    return AL_INVALID_VALUE;
}

int ReadType(const EffectParametersPtr& parameters, ALint* value) {
    *value = parameters ? parameters->effectType : AL_EFFECT_NULL;
    return AL_NO_ERROR;
}

}  // namespace
}  // namespace goal

using goal::Access;
using goal::EffectParametersPtr;
using goal::EffectProcessorParameters;

AL_API void AL_APIENTRY alGenEffects(ALsizei n, ALuint* effects) {
    goal::GenCall(goal::Effects, n, effects, Access::WriteAll, n >= 0 && effects != nullptr,
                  [](goal::Context&, std::uint32_t, const goal::EffectParameters*) {
                      return goal::EffectParameters();
                  });
}

AL_API void AL_APIENTRY alDeleteEffects(ALsizei n, const ALuint* effects) {
    goal::DeleteCall(goal::Effects, n, effects, Access::WriteAll, n >= 0 && effects != nullptr,
                     [](goal::EffectParameters& effect) { effect.parameters = EffectParametersPtr(); });
}

AL_API ALboolean AL_APIENTRY alIsEffect(ALuint effect) {
    return goal::IsCall(goal::Effects, effect);
}

AL_API void AL_APIENTRY alEffecti(ALuint effect, ALenum parameter, ALint value) {
    goal::EffectCall(effect, Access::WriteAll, true, [&](EffectParametersPtr& parameters) -> int {
        if (parameter == AL_EFFECT_TYPE) return goal::ChangeType(parameters, value);
        return goal::AnswerToSet(parameters && parameters->setParameteri(parameter, value), parameters,
                                 parameter, &EffectProcessorParameters::getParameteri);
    });
}

// A null pointer is refused by the parameters themselves, after the name.
AL_API void AL_APIENTRY alEffectiv(ALuint effect, ALenum parameter, const ALint* values) {
    goal::EffectCall(effect, Access::WriteAll, true, [&](EffectParametersPtr& parameters) -> int {
        if (parameter == AL_EFFECT_TYPE)
            return values != nullptr ? goal::ChangeType(parameters, values[0]) : AL_INVALID_VALUE;
        return goal::AnswerToSet(parameters && parameters->setParameteriv(parameter, values), parameters,
                                 parameter, &EffectProcessorParameters::getParameteriv);
    });
}

AL_API void AL_APIENTRY alEffectf(ALuint effect, ALenum parameter, ALfloat value) {
    goal::EffectCall(effect, Access::WriteAll, true, [&](EffectParametersPtr& parameters) -> int {
        return goal::AnswerToSet(parameters && parameters->setParameterf(parameter, value), parameters,
                                 parameter, &EffectProcessorParameters::getParameterf);
    });
}

AL_API void AL_APIENTRY alEffectfv(ALuint effect, ALenum parameter, const ALfloat* values) {
    goal::EffectCall(effect, Access::WriteAll, true, [&](EffectParametersPtr& parameters) -> int {
        return goal::AnswerToSet(parameters && parameters->setParameterfv(parameter, values), parameters,
                                 parameter, &EffectProcessorParameters::getParameterfv);
    });
}

AL_API void AL_APIENTRY alGetEffecti(ALuint effect, ALenum parameter, ALint* value) {
    goal::EffectCall(effect, Access::Read, goal::ArePresent(value),
                     [&](const EffectParametersPtr& parameters) -> int {
                         if (parameter == AL_EFFECT_TYPE) return goal::ReadType(parameters, value);
                         return goal::Answer(parameters && parameters->getParameteri(parameter, value));
                     });
}

AL_API void AL_APIENTRY alGetEffectiv(ALuint effect, ALenum parameter, ALint* values) {
    goal::EffectCall(effect, Access::Read, goal::ArePresent(values),
                     [&](const EffectParametersPtr& parameters) -> int {
                         if (parameter == AL_EFFECT_TYPE) return goal::ReadType(parameters, values);
                         return goal::Answer(parameters && parameters->getParameteriv(parameter, values));
                     });
}

AL_API void AL_APIENTRY alGetEffectf(ALuint effect, ALenum parameter, ALfloat* value) {
    goal::EffectCall(effect, Access::Read, goal::ArePresent(value),
                     [&](const EffectParametersPtr& parameters) -> int {
                         return goal::Answer(parameters && parameters->getParameterf(parameter, value));
                     });
}

AL_API void AL_APIENTRY alGetEffectfv(ALuint effect, ALenum parameter, ALfloat* values) {
    goal::EffectCall(effect, Access::Read, goal::ArePresent(values),
                     [&](const EffectParametersPtr& parameters) -> int {
                         return goal::Answer(parameters && parameters->getParameterfv(parameter, values));
                     });
}
