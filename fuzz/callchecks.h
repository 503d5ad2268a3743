#pragma once

// What must hold after every call, whatever a game does; and the bytes of all that calls may change, by which
// a call that failed or only read is known to have changed nothing. Used by the calls target, on its one
// thread.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "fuzz/callroles.h"

namespace calls {

inline const char* callUnderWay = "";

inline void Require(bool holds, const char* text) {
    if (holds) return;
    std::fprintf(stderr, "After %s: %s\n", callUnderWay, text);
    std::abort();
}

// ---- What calls may change ----

/// The bytes of the values, end to end: equal for equal values.
template <typename... T>
std::string BytesOf(const T&... values) {
    static_assert(((std::has_unique_object_representations_v<T> || std::is_floating_point_v<T> ||
                    std::is_same_v<T, goal::Vector3> || std::is_same_v<T, std::array<float, 2>>)&&...));
    std::string bytes;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a T may be a pointer
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof(T)), ...);
    return bytes;
}

inline std::string BytesOfFilter(const goal::FilterParameters& f) {
    return BytesOf(f.type, f.order, f.gain, f.gainHF, f.gainLF);
}

inline std::string BytesOfBase(const goal::SourceBaseParameters& s) {
    std::string bytes = BytesOf(
        s.gain, s.minGain, s.maxGain, s.referenceDistance, s.maxDistance, s.pitch, s.rolloffFactor,
        s.coneInnerHalfAngle, s.coneOuterHalfAngle, s.coneOuterGain, s.position, s.velocity, s.direction,
        s.looping, s.relative, s.stereoAngles, s.hasStereoAngles, s.radius, s.orientationAt, s.orientationUp,
        s.directFilterName, s.airAbsorptionFactor, s.roomRolloffFactor, s.coneOuterGainHF,
        s.directFilterGainHFAuto, s.auxSendFilterGainAuto, s.auxSendFilterGainHFAuto);
    bytes += BytesOfFilter(s.directFilter);
    for (const auto& send : s.sends)
        bytes += BytesOf(send.slotName, send.filterName, send.slotSerial) + BytesOfFilter(send.filter);
    return bytes;
}

inline std::string BytesOfPlay(const goal::Source& s) {
    std::string bytes = BytesOf(s.position, s.queueIndex, s.sourceType, s.state);
    for (const goal::Buffer* buffer : s.queue)
        bytes += BytesOf(buffer);
    return bytes;
}

inline std::string BytesOfEffect(const goal::EffectParametersPtr& effect) {
    std::string bytes = BytesOf(effect ? effect->effectType : AL_EFFECT_NULL);
    for (std::int32_t parameter = 0; effect && parameter <= AL_EAXREVERB_DECAY_HFLIMIT; ++parameter) {
        float values[3]{};
        std::int32_t integer = 0;
        effect->getParameterfv(parameter, values);
        effect->getParameteri(parameter, &integer);
        bytes += BytesOf(values[0], values[1], values[2], integer);
    }
    return bytes;
}

inline std::string BytesOfSlot(const goal::AuxSlotParameters& slot) {
    return BytesOf(slot.gain, slot.auxiliarySendAuto, slot.deleted) + BytesOfEffect(slot.effect);
}

inline std::string BytesOfGlobals(const goal::GlobalParameters& g) {
    return BytesOf(g.dopplerFactor, g.dopplerVelocity, g.speedOfSound, g.distanceModel, g.listenerGain,
                   g.listenerPosition, g.listenerVelocity, g.listenerAt, g.listenerUp, g.metersPerUnit);
}

inline std::uint32_t CountOf(const std::unique_ptr<goal::DeletedBuffers>& deleted) {
    return deleted == nullptr ? 0 : deleted->buffers.size;
}

inline std::string BytesOfState(const goal::SuspendedState& state) {
    std::string bytes = BytesOfGlobals(state) + BytesOf(CountOf(state.deletedBuffers));
    for (const goal::Source& source : state.sources)
        bytes += BytesOf(source.deleted, source.parametersDirty, source.queueDirty, source.stateChanged,
                         source.unqueuedCount) +
                 BytesOfBase(source) + BytesOfPlay(source);
    for (const auto& slot : state.slots)
        bytes += BytesOf(slot.dirty) + BytesOfSlot(slot);
    return bytes;
}

/// All that a call may change, but for the error slots.
inline std::string BytesOfAll(const World& world) {
    const goal::Context* const context = world.Context();
    std::string bytes = BytesOf(context, world.process.currentContext);
    for (const auto& slot : world.process.engine.device.bufferPool.slots)
        bytes += BytesOf(slot.buffer, slot.deleted, slot.buffer ? slot.buffer->useCount.load() : 0);
    if (context == nullptr) return bytes;
    bytes += BytesOf(context->suspendCount, context->suspendUsed) + BytesOfState(context->application);
    if (context->suspendCount > 0) bytes += BytesOfState(context->suspended);
    for (const goal::EffectParameters& effect : context->application.effects)
        bytes += BytesOf(effect.deleted) + BytesOfEffect(effect.parameters);
    for (const goal::FilterParametersWithDeletedFlag& filter : context->application.filters)
        bytes += BytesOf(filter.deleted) + BytesOfFilter(filter);
    return bytes;
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
    for (const auto* deleted :
         {context.application.deletedBuffers.get(), context.suspended.deletedBuffers.get()}) {
        if (deleted == nullptr) continue;
        for (const goal::Buffer* buffer : deleted->buffers) {
            Require(retired.insert(buffer).second, "a buffer is to be freed twice");
            Require(buffer->useCount == 0, "a buffer is to be freed that calls see in a queue");
        }
    }
    return retired;
}

inline void CheckQueue(const goal::Source& source, const BufferSet& named, const BufferSet& retired) {
    if (source.deleted) return;
    for (const goal::Buffer* buffer : source.queue) {
        Require(named.count(buffer) + retired.count(buffer) == 1, "a queue refers to a buffer that is gone");
        Require(named.count(buffer) == 1 || buffer->ownsData,
                "a queue refers to the memory of a static buffer that its program may have freed");
    }
}

template <typename Visitor>
void ForEachVoice(const goal::RenderSnapshot& snapshot, const Visitor& visit) {
    snapshot.playing.ForEach([&](std::uint32_t i) { visit(snapshot.voices[i]->source); });
}

inline void CheckBuffers(const World& world) {
    const BufferSet named = CheckPool(world);
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    const BufferSet retired = Retired(*context);
    for (const goal::Buffer* buffer : retired)
        Require(!named.contains(buffer), "a buffer has a name and is to be freed");
    for (const goal::Source& source : TargetState(*context).sources)
        CheckQueue(source, named, {});
    for (const goal::Source& source : context->application.sources)
        CheckQueue(source, named, retired);
    ForEachVoice(context->snapshot, [&](const goal::Source& source) { CheckQueue(source, named, retired); });
}

// ---- Sources ----

inline void CheckSource(const goal::Source& source) {
    if (source.deleted) return;
    const bool isEmpty = source.queue.size == 0;
    const bool isUnderWay =
        source.state == goal::SourceState::Playing || source.state == goal::SourceState::Paused;
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

/// But for the play state, which the renderer moves.
inline bool IsSameSource(const goal::Source& a, const goal::Source& b) {
    return a.deleted == b.deleted && (a.deleted || (BytesOfBase(a) == BytesOfBase(b) && IsSameQueue(a, b)));
}

inline bool IsPlaying(const goal::Source& source) {
    return !source.deleted && source.state == goal::SourceState::Playing;
}

inline bool IsSameSlot(const goal::AuxSlotParameters& slot, const goal::RenderedSlot& rendered) {
    const goal::EffectParametersPtr none;
    return BytesOf(slot.gain, slot.auxiliarySendAuto) == BytesOf(rendered.gain, rendered.auxiliarySendAuto) &&
           BytesOfEffect(slot.effect) ==
               BytesOfEffect(rendered.effect ? rendered.effect->parameters : none) &&
           (!rendered.effect || rendered.effect->slotSerial == slot.serial);
}

/// What changed and isn't marked would never reach the renderer.
inline void CheckMarks(const goal::Context& context) {
    const auto& [sources, slots] = std::tie(context.application.sources, context.application.slots);
    const goal::RenderSnapshot& snapshot = context.snapshot;
    for (std::uint32_t i = 0; i < sources.size; ++i) {
        if (context.application.touched.Contains(i)) continue;
        const bool isRendered = snapshot.playing.Contains(i);
        Require(!isRendered || IsSameSource(sources[i], snapshot.voices[i]->source),
                "a changed source isn't marked");
        Require(isRendered || !IsPlaying(sources[i]), "a source that plays isn't marked");
        Require(sources[i].deleted || !sources[i].stateChanged, "a changed state isn't marked");
    }
    for (const auto& slot : slots)
        Require(!slot.deleted || !slot.effect, "a deleted slot has an effect");
    for (std::uint32_t i = 0; i < snapshot.slotCount; ++i)
        Require(slots[i].dirty || IsSameSlot(slots[i], snapshot.slots[i]), "a changed slot isn't marked");
}

// ---- Everything ----

inline void CheckInvariants(const World& world) {
    CheckBuffers(world);
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    std::for_each(context->application.sources.begin(), context->application.sources.end(), CheckSource);
    ForEachVoice(context->snapshot, CheckSource);
    CheckMarks(*context);
}

/// After the copy nothing is marked any more, so that CheckMarks compares all that a game sets with what the
/// renderer has. Where the renderer has moved on without a merge it stays there.
inline void CheckCopied(const goal::Context& context, bool isMerged) {
    const goal::RenderSnapshot& snapshot = context.snapshot;
    const goal::ApplicationState& application = context.application;
    Require(snapshot.sourceCount == application.sources.size, "the copy left a source out");
    Require(snapshot.slotCount == application.slots.size, "the copy left a slot out");
    Require(application.deletedBuffers == nullptr, "the copy left a buffer to free");
    Require(BytesOfGlobals(snapshot) == BytesOfGlobals(application),
            "the copy missed what all sources share");
    for (std::uint32_t i = 0; i < application.sources.size; ++i) {
        const goal::Source& source = application.sources[i];
        Require(!application.touched.Contains(i), "the copy left a mark");
        Require(snapshot.playing.Contains(i) == IsPlaying(source), "the copy lost count of what plays");
        Require((snapshot.voices[i] != nullptr) == IsPlaying(source), "a source at rest has a voice");
        if (!IsPlaying(source)) continue;
        const goal::Voice& voice = *snapshot.voices[i];
        Require(!isMerged || BytesOfPlay(voice.source) == BytesOfPlay(source),
                "the copy missed a play state");
        Require(voice.memory.sends.size == voice.source.sends.size, "a send has no memory");
        Require(source.queue.size == 0 || source.queue[0]->channels == voice.channels,
                "a voice is for another number of channels");
    }
    for (std::uint32_t i = 0; i < application.slots.size; ++i) {
        const goal::RunningEffect* const effect = snapshot.slots[i].effect.get();
        const bool isWaiting = effect != nullptr && effect->isLeaving;
        Require(application.slots[i].dirty == isWaiting, "the copy left the mark of a slot");
    }
    CheckMarks(context);
}

/// After the last alcProcessContext the renderer is to get what calls saw while the context was suspended.
/// New sources moved over as they were, so that only the `known` ones can be compared.
inline void CheckResumed(const goal::Context& context, std::uint32_t known) {
    const goal::SuspendedState &now = context.application, &seen = context.suspended;
    Require(BytesOfGlobals(now) == BytesOfGlobals(seen), "a resume missed what all sources share");
    Require(now.sources.size == seen.sources.size, "a resume left a source out");
    Require(now.slots.size == seen.slots.size, "a resume left a slot out");
    Require(seen.deletedBuffers == nullptr, "a resume left a buffer to free");
    for (std::uint32_t i = 0; i < known; ++i) {
        const goal::Source &source = now.sources[i], &changed = seen.sources[i];
        Require(IsSameSource(source, changed), "a resume missed a change of a source");
        Require(source.deleted || !changed.stateChanged || BytesOfPlay(source) == BytesOfPlay(changed),
                "a resume missed a play state");
    }
    for (std::uint32_t i = 0; i < seen.slots.size; ++i)
        Require(BytesOfSlot(now.slots[i]) == BytesOfSlot(seen.slots[i]), "a resume missed a slot");
}

}  // namespace calls
