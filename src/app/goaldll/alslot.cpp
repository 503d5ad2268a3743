// The al* calls on auxiliary effect slots, which the renderer runs. A slot that loses its effect, or its
// life, is silent; sources that send to it are not changed.

#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

#include "AL/al.h"
#include "AL/efx.h"
#include "app/goaldll/efxcall.h"
#include "goal/fx/reverbparameters.h"
#include "goal/state/comingeffect.h"

namespace goal {
namespace {

using Slot = slib::WithDirtyTag<AuxSlotParameters>;

auto& Slots(Context& context) {
    return TargetState(context).slots;
}

// What is sent to the slot that had the name before doesn't reach this one. While the context is suspended,
// the end of that makes the room for the slot's rendering.
Slot NewSlot(Context& context, std::uint32_t place, const Slot* before) {
    if (context.suspendCount == 0) ReserveRoom(context.snapshot, SharedState(context), 0, place + 1);
    Slot slot;
    slot.dirty = true;
    slot.serial = before != nullptr ? before->serial + 1 : 0;
    return slot;
}

bool IsList(ALsizei n, const ALuint* names) {
    return ArePresent(names) && (n >= 0 || !AllowsStandard());
}

void RemoveSlot(Slot& slot) {
    slot.effect = EffectParametersPtr();
    slot.dirty = true;
}

// ---- Effects ----

bool IsReverb(const EffectParametersPtr& effect) {
    return dynamic_cast<const fx::ReverbParameters*>(effect.Get()) != nullptr;
}

bool IsReverbInAnotherSlot(Context& context, const Slot& own) {
    for (const Slot& slot : Slots(context))
        if (&slot != &own && !slot.deleted && IsReverb(slot.effect)) return true;
    return false;
}

bool IsOneReverbOnly(Process& process) {
    return process.engine.configuration.Read(
        [](const orb3::Configuration& configuration) { return configuration.goalConfig.onlyOneReverb; });
}

// Whether the effect of that name, none for 0, may be bound to the slot. Returns an error code, or gives the
// effect.
int FindEffect(Process& process, Context& context, const Slot& slot, ALuint name,
               EffectParametersPtr& effect) {
    if (name != 0) {
        const auto& effects = SharedState(context).effects;
        if (!IsLive(effects, name)) return AL_INVALID_VALUE;
        effect = effects[name - 1].parameters;
    }
    const bool isOneTooMany =
        IsReverb(effect) && IsOneReverbOnly(process) && IsReverbInAnotherSlot(context, slot);
    return isOneTooMany ? AL_INVALID_OPERATION : AL_NO_ERROR;
}

void NoteWanted(ComingEffect& coming, Context& context, std::uint32_t index,
                const EffectParametersPtr& effect) {
    AuxSlotParameters wanted;
    wanted.effect = effect;
    wanted.serial = Slots(context)[index].serial;
    coming.Note(context.snapshot, SharedState(context), index, wanted);
}

// Whether there is an effect to send.
bool Build(ComingEffect& coming) noexcept {
    try {
        coming.Build();
        return true;
    } catch (const std::exception& exception) {
        AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
            process.FailAl(exception.what(), AL_INVALID_OPERATION);
            return AL_NO_ERROR;
        });
        return false;
    }
}

// Gives the slot a copy of the effect as it is now. Later changes of the effect reach it when it is bound
// again.
void BindEffect(ALuint slotName, const ALint* value) noexcept {
    const CallFrame frame;
    ComingEffect coming;
    const auto bind = [&](bool isLast) {
        bool isBound = false;
        ContextCall(Access::WriteAll, ArePresent(value), [&](Process& process, Context& context) -> int {
            if (!IsLive(Slots(context), slotName)) return AL_INVALID_NAME;
            Slot& slot = Slots(context)[slotName - 1];
            EffectParametersPtr effect;
            const int code = FindEffect(process, context, slot, static_cast<ALuint>(*value), effect);
            if (code != AL_NO_ERROR) return code;
            if (!isLast) NoteWanted(coming, context, slotName - 1, effect);
            if (!isLast && coming.IsToBeBuilt()) return AL_NO_ERROR;
            coming.Send(SharedState(context), slotName - 1, slot.serial);
            AssignEffect(slot.effect, effect);
            isBound = slot.dirty = true;
            return AL_NO_ERROR;
        });
        return isBound;
    };
    if (!bind(false) && coming.IsToBeBuilt() && Build(coming)) bind(true);
}

// ---- Parameters ----

int SetSendAuto(Slot& slot, ALint value) {
    if (value != AL_FALSE && value != AL_TRUE) return AL_INVALID_VALUE;
    slot.auxiliarySendAuto = value == AL_TRUE;
    slot.dirty = true;
    return AL_NO_ERROR;
}

// Effects aren't suspended: to read one takes the lock of the application state, always.
void SetInteger(ALuint name, ALenum parameter, const ALint* values) noexcept {
    if (parameter == AL_EFFECTSLOT_EFFECT) return BindEffect(name, values);
    EntryCall(Slots, name, Access::Write, ArePresent(values), [&](Slot& slot) -> int {
        return parameter == AL_EFFECTSLOT_AUXILIARY_SEND_AUTO ? SetSendAuto(slot, *values) : AL_INVALID_ENUM;
    });
}

void SetFloat(ALuint name, ALenum parameter, const ALfloat* values) noexcept {
    EntryCall(Slots, name, Access::Write, ArePresent(values), [&](Slot& slot) -> int {
        if (parameter != AL_EFFECTSLOT_GAIN) return AL_INVALID_ENUM;
        if (!IsGain(*values)) return AL_INVALID_VALUE;
        slot.gain = *values;
        slot.dirty = true;
        return AL_NO_ERROR;
    });
}

// AL_EFFECTSLOT_EFFECT reads as the type of the effect that the slot runs, and not as the name that was
// bound: the slot has a copy, and the effect of that name may have changed or been deleted.
void GetInteger(ALuint name, ALenum parameter, ALint* value) noexcept {
    EntryCall(Slots, name, Access::Read, ArePresent(value), [&](const Slot& slot) -> int {
        switch (parameter) {
            case AL_EFFECTSLOT_EFFECT:
                *value = slot.effect ? slot.effect->effectType : AL_EFFECT_NULL;
                return AL_NO_ERROR;
            case AL_EFFECTSLOT_AUXILIARY_SEND_AUTO:
                *value = slot.auxiliarySendAuto ? AL_TRUE : AL_FALSE;
                return AL_NO_ERROR;
            default:
                return AL_INVALID_ENUM;
        }
    });
}

void GetFloat(ALuint name, ALenum parameter, ALfloat* value) noexcept {
    EntryCall(Slots, name, Access::Read, ArePresent(value), [&](const Slot& slot) -> int {
        if (parameter != AL_EFFECTSLOT_GAIN) return AL_INVALID_ENUM;
        *value = slot.gain;
        return AL_NO_ERROR;
    });
}

}  // namespace
}  // namespace goal

using goal::Access;

// A negative count is taken for 0 in these two, other than in their sisters for effects and filters and in
// the standard.
AL_API void AL_APIENTRY alGenAuxiliaryEffectSlots(ALsizei n, ALuint* slots) {
    goal::GenCall(goal::Slots, n, slots, Access::Write, goal::IsList(n, slots), goal::NewSlot);
}

AL_API void AL_APIENTRY alDeleteAuxiliaryEffectSlots(ALsizei n, const ALuint* slots) {
    goal::DeleteCall(goal::Slots, n, slots, Access::Write, goal::IsList(n, slots), goal::RemoveSlot);
}

AL_API ALboolean AL_APIENTRY alIsAuxiliaryEffectSlot(ALuint slot) {
    return goal::IsCall(goal::Slots, slot);
}

AL_API void AL_APIENTRY alAuxiliaryEffectSloti(ALuint slot, ALenum parameter, ALint value) {
    goal::SetInteger(slot, parameter, &value);
}

AL_API void AL_APIENTRY alAuxiliaryEffectSlotiv(ALuint slot, ALenum parameter, const ALint* values) {
    goal::SetInteger(slot, parameter, values);
}

AL_API void AL_APIENTRY alAuxiliaryEffectSlotf(ALuint slot, ALenum parameter, ALfloat value) {
    goal::SetFloat(slot, parameter, &value);
}

AL_API void AL_APIENTRY alAuxiliaryEffectSlotfv(ALuint slot, ALenum parameter, const ALfloat* values) {
    goal::SetFloat(slot, parameter, values);
}

AL_API void AL_APIENTRY alGetAuxiliaryEffectSloti(ALuint slot, ALenum parameter, ALint* value) {
    goal::GetInteger(slot, parameter, value);
}

AL_API void AL_APIENTRY alGetAuxiliaryEffectSlotiv(ALuint slot, ALenum parameter, ALint* values) {
    goal::GetInteger(slot, parameter, values);
}

AL_API void AL_APIENTRY alGetAuxiliaryEffectSlotf(ALuint slot, ALenum parameter, ALfloat* value) {
    goal::GetFloat(slot, parameter, value);
}

AL_API void AL_APIENTRY alGetAuxiliaryEffectSlotfv(ALuint slot, ALenum parameter, ALfloat* values) {
    goal::GetFloat(slot, parameter, values);
}
