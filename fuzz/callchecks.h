#pragma once

// What must hold after every call, whatever a game does; and a digest of all that calls may change, by which
// a call that failed or only read is known to have changed nothing. Used by the calls target, on its one
// thread.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "callroles.h"

namespace calls {

inline const char* callUnderWay = "";

inline void Require(bool holds, const char* text) {
    if (holds) return;
    std::fprintf(stderr, "After %s: %s\n", callUnderWay, text);
    std::abort();
}

// ---- Digest ----

/// FNV-1a over whole values.
class Digest {
public:
    template <typename... T>
    void Add(const T&... values) {
        (AddOne(values), ...);
    }

    std::uint64_t state = 0xCBF29CE484222325;

private:
    template <typename T>
    void AddOne(const T& value) {
        static_assert(std::has_unique_object_representations_v<T> || std::is_floating_point_v<T> ||
                      std::is_same_v<T, goal::Vector3> || std::is_same_v<T, std::array<float, 2>>);
        std::array<std::uint8_t, sizeof(T)> bytes;
        std::memcpy(bytes.data(), &value, sizeof(T));
        for (const std::uint8_t byte : bytes)
            state = (state ^ byte) * 0x100000001B3;
    }
};

inline void AddFilter(Digest& digest, const goal::FilterParameters& f) {
    digest.Add(f.type, f.order, f.gain, f.gainHF, f.gainLF);
}

inline void AddBase(Digest& digest, const goal::SourceBaseParameters& s) {
    digest.Add(s.gain, s.minGain, s.maxGain, s.referenceDistance, s.maxDistance, s.pitch, s.rolloffFactor);
    digest.Add(s.coneInnerHalfAngle, s.coneOuterHalfAngle, s.coneOuterGain, s.position, s.velocity,
               s.direction);
    digest.Add(s.looping, s.relative, s.stereoAngles, s.hasStereoAngles, s.radius, s.orientationAt,
               s.orientationUp);
    digest.Add(s.directFilterName, s.airAbsorptionFactor, s.roomRolloffFactor, s.coneOuterGainHF);
    digest.Add(s.directFilterGainHFAuto, s.auxSendFilterGainAuto, s.auxSendFilterGainHFAuto);
    AddFilter(digest, s.directFilter);
    for (const auto& send : s.sends) {
        digest.Add(send.slotName, send.filterName);
        AddFilter(digest, send.filter);
    }
}

inline std::uint64_t DigestOfBase(const goal::SourceBaseParameters& source) {
    Digest digest;
    AddBase(digest, source);
    return digest.state;
}

inline void AddPlayState(Digest& digest, const goal::Source& s) {
    digest.Add(s.position, s.queueIndex, s.sourceType, s.state);
    for (const goal::Buffer* buffer : s.queue)
        digest.Add(buffer);
}

inline std::uint64_t DigestOfPlay(const goal::Source& source) {
    Digest digest;
    AddPlayState(digest, source);
    return digest.state;
}

inline void AddEffect(Digest& digest, const goal::EffectParametersPtr& effect) {
    digest.Add(effect.Get());
    if (!effect) return;
    for (std::int32_t parameter = 0; parameter <= AL_EAXREVERB_DECAY_HFLIMIT; ++parameter) {
        float values[3]{};
        std::int32_t integer = 0;
        effect->getParameterfv(parameter, values);
        effect->getParameteri(parameter, &integer);
        digest.Add(values[0], values[1], values[2], integer);
    }
}

inline void AddState(Digest& digest, const goal::SuspendedState& state) {
    digest.Add(state.dopplerFactor, state.dopplerVelocity, state.speedOfSound, state.distanceModel);
    digest.Add(state.listenerGain, state.listenerPosition, state.listenerVelocity, state.listenerAt);
    digest.Add(state.listenerUp, state.metersPerUnit, state.deletedBuffers.size);
    for (const goal::Source& source : state.sources) {
        digest.Add(source.deleted, source.parametersDirty, source.queueDirty, source.stateChanged);
        digest.Add(source.unqueuedCount);
        AddBase(digest, source);
        AddPlayState(digest, source);
    }
    for (const auto& slot : state.slots) {
        digest.Add(slot.gain, slot.auxiliarySendAuto, slot.deleted, slot.dirty);
        AddEffect(digest, slot.effect);
    }
}

/// All that a call may change, but for the error slots.
inline std::uint64_t DigestOf(const World& world) {
    Digest digest;
    const goal::Context* const context = world.Context();
    digest.Add(context, world.process.currentContext);
    for (const auto& slot : world.process.engine.device.bufferPool.slots) {
        digest.Add(slot.buffer, slot.deleted);
        if (slot.buffer != nullptr) digest.Add(slot.buffer->useCount.load());
    }
    if (context == nullptr) return digest.state;
    digest.Add(context->suspendCount, context->suspendUsed);
    AddState(digest, context->application);
    if (context->suspendCount > 0) AddState(digest, context->suspended);
    for (const goal::EffectParameters& effect : context->application.effects) {
        digest.Add(effect.deleted);
        AddEffect(digest, effect.parameters);
    }
    for (const goal::FilterParametersWithDeletedFlag& filter : context->application.filters) {
        digest.Add(filter.deleted);
        AddFilter(digest, filter);
    }
    return digest.state;
}

// ---- Buffers ----

using BufferSet = std::set<const goal::Buffer*>;

/// The buffers with a name. Each is used as often as it stands in the queues that calls see.
inline BufferSet CheckPool(const World& world) {
    BufferSet named;
    std::map<const goal::Buffer*, std::int32_t> uses;
    if (goal::Context* const context = world.Context())
        for (const goal::Source& source : TargetState(*context).sources)
            for (const goal::Buffer* buffer : source.queue)
                uses[buffer] += source.deleted ? 0 : 1;
    const auto& slots = world.process.engine.device.bufferPool.slots;
    for (std::uint32_t i = 0; i < slots.size; ++i) {
        const goal::Buffer* const buffer = slots[i].buffer;
        if (buffer == nullptr) continue;
        Require(!slots[i].deleted, "a deleted name has data");
        Require(buffer->name == i + 1, "a buffer stands under another name than its own");
        Require(buffer->useCount == uses[buffer], "a use count isn't the number of places in queues");
        named.insert(buffer);
    }
    return named;
}

/// The buffers that have no name any more, and that a copy is to free.
inline BufferSet Retired(const goal::Context& context) {
    BufferSet retired;
    for (const auto* list : {&context.application.deletedBuffers, &context.suspended.deletedBuffers})
        for (const goal::Buffer* buffer : *list) {
            Require(retired.insert(buffer).second, "a buffer is to be freed twice");
            Require(buffer->useCount == 0, "a buffer is to be freed that calls see in a queue");
        }
    return retired;
}

template <typename Sources>
void CheckQueues(const Sources& sources, const BufferSet& named, const BufferSet& retired) {
    for (const goal::Source& source : sources) {
        if (source.deleted) continue;
        for (const goal::Buffer* buffer : source.queue) {
            Require(named.count(buffer) + retired.count(buffer) == 1,
                    "a queue refers to a buffer that is gone");
            Require(named.count(buffer) == 1 || buffer->ownsData,
                    "a queue refers to the memory of a static buffer that its program may have freed");
        }
    }
}

inline void CheckBuffers(const World& world) {
    const BufferSet named = CheckPool(world);
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    const BufferSet retired = Retired(*context);
    for (const goal::Buffer* buffer : retired)
        Require(named.count(buffer) == 0, "a buffer has a name and is to be freed");
    CheckQueues(TargetState(*context).sources, named, {});
    CheckQueues(context->application.sources, named, retired);
    CheckQueues(context->snapshot.sources, named, retired);
}

// ---- Sources ----

inline void CheckSource(const goal::Source& source) {
    if (source.deleted) return;
    const bool isEmpty = source.queue.size == 0;
    const bool isUnderWay =
        source.state == goal::SourceState::Playing || source.state == goal::SourceState::Paused;
    using enum goal::SourceType;
    const auto isOneOf = [](const auto value, const auto... all) { return ((value == all) || ...); };
    Require(isOneOf(static_cast<std::int32_t>(source.state), AL_INITIAL, AL_PLAYING, AL_PAUSED, AL_STOPPED) &&
                isOneOf(source.sourceType, Static, Streaming, Undetermined),
            "a state or type is none");
    Require(source.queueIndex < std::max(source.queue.size, 1U), "a source stands beyond its queue");
    Require(!isUnderWay || !isEmpty, "a source plays an empty queue");
    Require(!isEmpty || source.position == 0, "a source stands somewhere in an empty queue");
    Require(source.sourceType != goal::SourceType::Static || source.queue.size == 1,
            "a static source has another number of buffers than one");
    Require(source.sourceType != goal::SourceType::Undetermined || isEmpty,
            "a source with buffers has no type");
    for (const goal::Buffer* buffer : source.queue)
        Require(
            buffer->formatId == source.queue[0]->formatId && buffer->frequency == source.queue[0]->frequency,
            "a queue mixes formats or frequencies");
}

inline bool IsSameQueue(const goal::Source& a, const goal::Source& b) {
    return std::equal(a.queue.begin(), a.queue.end(), b.queue.begin(), b.queue.end());
}

/// Until a game says otherwise a source plays as the application state has it.
inline void CheckSuspended(const goal::Context& context) {
    const auto& playing = context.application.sources;
    for (std::uint32_t i = 0; i < context.suspended.sources.size; ++i) {
        const goal::Source& source = context.suspended.sources[i];
        const bool isFollowing = i < playing.size && !source.stateChanged;
        if (!isFollowing)
            CheckSource(source);
        else
            Require(source.deleted || IsSameQueue(source, playing[i]),
                    "a suspended source has a queue of its own");
    }
}

/// What changed and isn't marked would never reach the renderer.
inline void CheckMarks(const goal::Context& context) {
    const auto& sources = context.application.sources;
    for (std::uint32_t i = 0; i < std::min(sources.size, context.snapshot.sources.size); ++i) {
        if (context.application.touched.Contains(i)) continue;
        const goal::Source& rendered = context.snapshot.sources[i];
        Require(sources[i].deleted == rendered.deleted, "the life or death of a source isn't marked");
        if (sources[i].deleted) continue;
        Require(DigestOfBase(sources[i]) == DigestOfBase(rendered), "a changed parameter isn't marked");
        Require(IsSameQueue(sources[i], rendered), "a changed queue isn't marked");
        Require(!sources[i].stateChanged, "a changed state isn't marked");
    }
}

inline void CheckSnapshot(const goal::Context& context) {
    const goal::RenderSnapshot& snapshot = context.snapshot;
    Require(snapshot.sources.size <= context.application.sources.size, "the snapshot has more sources");
    Require(snapshot.slots.size <= context.application.slots.size, "the snapshot has more slots");
    Require(snapshot.sourceStates.size == snapshot.sources.size, "a source of the snapshot has no memory");
    for (std::uint32_t i = 0; i < snapshot.sources.size; ++i)
        Require(snapshot.sourceStates[i].sends.size == snapshot.sources[i].sends.size,
                "a send has no memory");
}

// ---- EFX ----

template <typename Slots>
void CheckSlots(const Slots& slots, std::set<const void*>& effects) {
    for (const auto& slot : slots) {
        Require(!slot.deleted || !slot.effect, "a deleted slot has an effect");
        Require(slot.gain >= 0 && slot.gain <= 1, "a slot has a gain out of range");
        Require(!slot.effect || effects.insert(slot.effect.Get()).second, "two records share an effect");
    }
}

inline void CheckEffects(const goal::Context& context) {
    std::set<const void*> effects;
    for (const goal::EffectParameters& effect : context.application.effects) {
        Require(!effect.deleted || !effect.parameters, "a deleted effect has parameters");
        Require(!effect.parameters || effects.insert(effect.parameters.Get()).second,
                "two effects share parameters");
    }
    CheckSlots(context.application.slots, effects);
    CheckSlots(context.snapshot.slots, effects);
    if (context.suspendCount > 0) CheckSlots(context.suspended.slots, effects);
    for (const goal::FilterParametersWithDeletedFlag& filter : context.application.filters) {
        Require(filter.type >= AL_FILTER_NULL && filter.type <= AL_FILTER_BANDPASS, "a filter has no type");
        for (const float gain : {filter.gain, filter.gainHF, filter.gainLF})
            Require(gain >= 0 && gain <= 1, "a filter has a gain out of range");
    }
}

// ---- Everything ----

/// The lengths of the tables of one context. None ever gets smaller.
struct TableSizes {
    explicit TableSizes(goal::Context* context) : context(context) {
        if (context == nullptr) return;
        const goal::SuspendedState& target = TargetState(*context);
        const goal::ApplicationState& application = context->application;
        sizes = {target.sources.size,
                 target.slots.size,
                 application.sources.size,
                 application.slots.size,
                 application.effects.size,
                 application.filters.size,
                 context->snapshot.sources.size,
                 context->snapshot.slots.size};
    }

    void RequireNotBelow(const TableSizes& before) const {
        for (std::size_t i = 0; context == before.context && i < sizes.size(); ++i)
            Require(sizes[i] >= before.sizes[i], "a table lost entries");
    }

    goal::Context* context;
    std::array<std::uint32_t, 8> sizes{};
};

inline void CheckInvariants(const World& world) {
    CheckBuffers(world);
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    std::for_each(context->application.sources.begin(), context->application.sources.end(), CheckSource);
    std::for_each(context->snapshot.sources.begin(), context->snapshot.sources.end(), CheckSource);
    if (context->suspendCount > 0) CheckSuspended(*context);
    CheckMarks(*context);
    CheckSnapshot(*context);
    CheckEffects(*context);
}

/// After the copy the renderer has what calls see, source by source and slot by slot. Where the renderer has
/// moved on without a merge it stays there.
inline void CheckCopied(const goal::Context& context, bool isMerged) {
    const goal::RenderSnapshot& snapshot = context.snapshot;
    const goal::ApplicationState& application = context.application;
    Require(snapshot.sources.size == application.sources.size, "the copy left a source out");
    for (std::uint32_t i = 0; i < snapshot.sources.size; ++i) {
        const goal::Source& rendered = snapshot.sources[i];
        const goal::Source& source = application.sources[i];
        const bool isPlaying = !source.deleted && source.state == goal::SourceState::Playing;
        Require(rendered.deleted == source.deleted, "the copy missed the life or death of a source");
        Require(snapshot.playing.Contains(i) == isPlaying, "the copy lost count of what plays");
        if (source.deleted) continue;
        Require(DigestOfBase(rendered) == DigestOfBase(source), "the copy missed a change of a source");
        Require(!isMerged || DigestOfPlay(rendered) == DigestOfPlay(source), "the copy missed a play state");
        Require(IsSameQueue(rendered, source), "the copy missed a queue");
    }
    Require(snapshot.slots.size == application.slots.size, "the copy left a slot out");
    for (std::uint32_t i = 0; i < snapshot.slots.size; ++i) {
        const auto typeOf = [](const auto& slot) { return slot.effect ? slot.effect->effectType : 0; };
        const goal::AuxSlotParameters &rendered = snapshot.slots[i], &slot = application.slots[i];
        Require(rendered.gain == slot.gain && typeOf(rendered) == typeOf(slot), "the copy missed a slot");
    }
}

/// After the last alcProcessContext the renderer is to get what calls saw while the context was suspended.
/// New sources moved over as they were, so that only the `known` ones can be compared.
inline void CheckResumed(const goal::Context& context, std::uint32_t known) {
    const auto& sources = context.application.sources;
    const auto& changed = context.suspended.sources;
    for (std::uint32_t i = 0; i < known; ++i) {
        Require(sources[i].deleted == changed[i].deleted, "a resume missed the life or death of a source");
        Require(sources[i].deleted || IsSameQueue(sources[i], changed[i]), "a resume missed a queue");
    }
}

}  // namespace calls
