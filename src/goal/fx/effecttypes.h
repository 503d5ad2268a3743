#pragma once

// From an AL effect type to the parameters of such an effect. Called by the effect calls on the game's
// threads, under the API mutex.

#include <cstdint>
#include <memory>

#include "goal/state/effectprocessorparameters.h"
#include "slib/smartptr.h"

namespace goal::fx {

/// New parameters of that AL_EFFECT_ type at their defaults; null for AL_EFFECT_NULL and for a type that
/// isn't supported. Throws std::bad_alloc.
std::unique_ptr<EffectProcessorParameters> MakeEffectParameters(std::int32_t type);

/// Makes `holder` hold parameters of that type, for AL_EFFECT_NULL none. Those of the type it holds already
/// stay as they are. False, with nothing changed, for a type that isn't supported. Throws std::bad_alloc and
/// then changes nothing.
bool SetEffectType(slib::SmartPtr<EffectProcessorParameters, slib::Counter>& holder, std::int32_t type);

}  // namespace goal::fx
