#include "goal/state/enginestate.h"

#include <algorithm>
#include <new>
#include <utility>

#include "slib/exception.h"

namespace goal {
namespace {

void ClearFlags(Source& source) {
    source.parametersDirty = false;
    source.queueDirty = false;
    source.stateChanged = false;
    source.unqueuedCount = 0;
}

void CopyBase(Source& target, const Source& source) {
    static_cast<SourceBaseParameters&>(target) = source;
}

void CopyGlobals(GlobalParameters& target, const GlobalParameters& source) {
    target = source;
}

bool IsPlaying(const Source& source) {
    return !source.deleted && source.state == SourceState::Playing;
}

// Those that a voice of the source works on.
std::uint32_t ChannelsOf(const Source& source) {
    return source.queue.size > 0 ? source.queue[0]->channels : 1;
}

// ---- Voices ----

bool Fits(const Voice& voice, const Source& source) {
    const bool hasChannels = source.queue.size == 0 || voice.channels == source.queue[0]->channels;
    return hasChannels && voice.memory.sends.size == source.sends.size;
}

// What a source that plays goes on with: the memory of its old voice, as far as that is for the same.
void TakeOverMemory(Voice& voice, Voice& old) {
    SourceRendererState& memory = voice.memory;
    memory.direct = old.memory.direct;
    memory.previousFrame = old.memory.previousFrame;
    memory.motion = old.memory.motion;
    memory.keepsAttack = old.memory.keepsAttack;
    std::swap(memory.converter, old.memory.converter);
    if (voice.channels == old.channels)
        std::swap(memory.multiChannelConverter, old.memory.multiChannelConverter);
    std::copy_n(old.memory.sends.begin(), std::min(memory.sends.size, old.memory.sends.size),
                memory.sends.begin());
}

// The voice has left its source.
void End(RenderSnapshot& snapshot, std::unique_ptr<Voice> voice, slib::RetireList& retired) {
    if (voice == nullptr || snapshot.fadeBlocks == 0) return retired.Push(std::move(voice));
    voice->isEnding = true;
    voice->blocksToFade = snapshot.fadeBlocks;
    snapshot.endings.Push(std::move(voice));
}

void Silence(RenderSnapshot& snapshot, std::uint32_t index, slib::RetireList& retired) {
    if (!snapshot.playing.Contains(index)) return;
    snapshot.playing.Erase(index);
    End(snapshot, std::move(snapshot.voices[index]), retired);
}

// What has faded out in the blocks since, and the buffers that it may have read.
void LetEndingsGo(RenderSnapshot& snapshot, slib::RetireList& retired) {
    const auto retire = [&](std::unique_ptr<slib::Retired> object) { retired.Push(std::move(object)); };
    snapshot.endings.TakeIf(
        [](Voice& voice) { return --voice.blocksToFade == 0 || voice.source.state != SourceState::Playing; },
        retire);
    snapshot.heldBuffers.TakeIf([](DeletedBuffers& buffers) { return --buffers.blocksToHold == 0; }, retire);
}

void LetBuffersGo(RenderSnapshot& snapshot, std::unique_ptr<DeletedBuffers> buffers,
                  slib::RetireList& retired) {
    if (buffers == nullptr || snapshot.fadeBlocks == 0) return retired.Push(std::move(buffers));
    buffers->blocksToHold = snapshot.fadeBlocks;
    snapshot.heldBuffers.Push(std::move(buffers));
}

// Whether the renderer needs another voice than it has.
bool NeedsVoice(const RenderSnapshot& snapshot, const Source& source, std::uint32_t index) {
    return source.stateChanged || !snapshot.playing.Contains(index) || !Fits(*snapshot.voices[index], source);
}

void PrepareVoiceFor(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index) {
    const Source& source = application.sources[index];
    if (!IsPlaying(source) || !NeedsVoice(snapshot, source, index)) return;
    application.comingVoices.Reserve(index + 1);
    const Voice* const coming = application.comingVoices[index].get();
    if (coming == nullptr || !Fits(*coming, source))
        PrepareVoice(application, index, ChannelsOf(source), source.sends.size, !source.stateChanged);
}

// The voice that came for the source takes the place of the one that it has, if any.
void ReplaceVoice(RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
                  slib::RetireList& retired) {
    std::unique_ptr<Voice>& voice = snapshot.voices[index];
    std::unique_ptr<Voice> old = std::exchange(voice, std::move(application.comingVoices[index]));
    Source& source = application.sources[index];
    if (old && voice->continues && !source.stateChanged) {
        TakeOverMemory(*voice, *old);
        retired.Push(std::move(old));
    } else {
        voice->memory.keepsAttack = source.position == 0 && source.queueIndex == 0;
        End(snapshot, std::move(old), retired);
    }
    snapshot.playing.Insert(index);
    source.parametersDirty = source.queueDirty = true;
}

void CopySource(RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
                slib::RetireList& retired) {
    Source& source = application.sources[index];
    application.comingVoices.Reserve(index + 1);
    if (!IsPlaying(source)) {
        Silence(snapshot, index, retired);
        retired.Push(std::move(application.comingVoices[index]));
        return ClearFlags(source);
    }
    PrepareVoiceFor(snapshot, application, index);
    if (NeedsVoice(snapshot, source, index)) ReplaceVoice(snapshot, application, index, retired);
    retired.Push(std::move(application.comingVoices[index]));  // one that came for nothing
    Source& target = snapshot.voices[index]->source;
    if (source.parametersDirty) CopyBase(target, source);
    if (source.queueDirty) target.queue.Follow(source.queue, retired);
    CopyPlayState(target, source);
    ClearFlags(source);
}

// ---- Slots ----

void UpdateSlot(AuxSlotParameters& target, const AuxSlotParameters& source) {
    AssignEffect(target.effect, source.effect);
    target.gain = source.gain;
    target.auxiliarySendAuto = source.auxiliarySendAuto;
    target.deleted = source.deleted;
    target.serial = source.serial;
}

// Whether `effect`, which may be null, is what runs in such a slot.
bool Serves(const RunningEffect* effect, const AuxSlotParameters& slot) {
    return effect != nullptr && slot.effect && !slot.deleted && effect->slotSerial == slot.serial &&
           effect->parameters->effectType == slot.effect->effectType;
}

void PrepareEffectFor(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index) {
    const AuxSlotParameters& slot = application.slots[index];
    if (!slot.effect || slot.deleted || application.effectBuilder == nullptr) return;
    application.comingEffects.Reserve(index + 1);
    std::unique_ptr<RunningEffect>& coming = application.comingEffects[index];
    if (IsServed(snapshot, application, index, slot)) return;
    coming = application.effectBuilder->Build(*slot.effect);
    coming->slotSerial = slot.serial;
}

// Empties the slot, or says that it takes a while: first what is sent to the effect fades out, and then the
// tail of the one before may have to end.
bool LetEffectGo(const RenderSnapshot& snapshot, RenderedSlot& slot, slib::RetireList& retired) {
    if (!slot.effect) return true;
    if (snapshot.fadeBlocks == 0) {
        retired.Push(std::move(slot.effect));
        return true;
    }
    std::uint32_t& blocksToLeave = slot.effect->blocksToLeave;
    if (!std::exchange(slot.effect->isLeaving, true))
        blocksToLeave = snapshot.fadeBlocks;
    else if (blocksToLeave > 0)
        --blocksToLeave;
    slot.isTailInTheWay = slot.tail != nullptr;
    if (blocksToLeave > 0 || slot.tail) return false;
    slot.tail = std::move(slot.effect);
    return true;
}

void CopySlot(RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
              slib::RetireList& retired) {
    auto& source = application.slots[index];
    RenderedSlot& target = snapshot.slots[index];
    PrepareEffectFor(snapshot, application, index);
    application.comingEffects.Reserve(index + 1);
    std::unique_ptr<RunningEffect>& coming = application.comingEffects[index];
    if (Serves(target.effect.get(), source)) {
        target.effect->isLeaving = false;
    } else {
        if (!LetEffectGo(snapshot, target, retired)) return;
        if (Serves(coming.get(), source)) target.effect = std::move(coming);
    }
    retired.Push(std::move(coming));
    target.gain = source.gain;
    target.auxiliarySendAuto = source.auxiliarySendAuto;
    if (target.effect) target.effect->parameters->assign(*source.effect);
    if (target.effect || target.tail)
        snapshot.activeSlots.Insert(index);
    else
        snapshot.activeSlots.Erase(index);
    source.dirty = false;
}

void LetTailsGo(RenderSnapshot& snapshot, slib::RetireList& retired) {
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        RenderedSlot& slot = snapshot.slots[i];
        if (!slot.tail || slot.tail->tailGain > 0) return;
        retired.Push(std::move(slot.tail));
        if (!slot.effect) snapshot.activeSlots.Erase(i);
    });
}

// ---- Suspension ----

// Takes what the game changed about one source while the context was suspended. True when anything was.
bool MergeSuspendedSource(Source& target, const Source& source) {
    if (source.deleted) {
        const bool isNews = !target.deleted;
        target.deleted = true;
        target.queue.clear();  // so that its buffers may go
        return isNews;
    }
    if (target.deleted) {  // the entry was reused
        target = source;
        target.parametersDirty = target.queueDirty = target.stateChanged = true;
        return true;
    }
    if (source.parametersDirty) {
        CopyBase(target, source);
        target.parametersDirty = true;
    }
    if (source.stateChanged) {
        CopyPlayState(target, source);
        target.stateChanged = true;
    }
    if (source.queueDirty) {
        target.queue = source.queue;
        target.queueDirty = true;
    }
    return source.parametersDirty || source.stateChanged || source.queueDirty;
}

void MergeSuspendedSlots(SuspendedState& suspended, ApplicationState& application) {
    for (std::uint32_t i = 0; i < suspended.slots.size; ++i) {
        if (i == application.slots.size)
            application.slots.append({});
        else if (!suspended.slots[i].dirty)
            continue;
        UpdateSlot(application.slots[i], suspended.slots[i]);
        application.slots[i].dirty = true;
        suspended.slots[i].dirty = false;
    }
    application.slots.FollowDeleted(suspended.slots);
}

void MergeDeletedBuffers(std::unique_ptr<DeletedBuffers>& from, std::unique_ptr<DeletedBuffers>& to) {
    if (to == nullptr) return std::swap(from, to);
    if (from == nullptr) return;
    to->buffers.appendAll(from->buffers);
    from->buffers.clear();
    from.reset();
}

}  // namespace

void SourceRendererState::Prepare(const ConverterCursor* converterStart, std::uint32_t channels) {
    direct = SourceFilterState();
    for (SendState& send : sends)
        send = SendState();
    previousFrame.fill(0);
    motion = SourceMotion();
    meter = SourceMeter();
    keepsAttack = true;
    if (converterStart == nullptr) return;
    if (channels == 1) return initialise(converter, *converterStart);
    multiChannelConverter.resize(channels);
    initialise(multiChannelConverter, *converterStart);
}

DeletedBuffers::~DeletedBuffers() {
    for (Buffer* buffer : buffers)
        LetGo(buffer);
}

void CopyPlayState(Source& target, const Source& source) {
    target.position = source.position;
    target.queueIndex = source.queueIndex;
    target.sourceType = source.sourceType;
    target.state = source.state;
}

void AssignEffect(EffectParametersPtr& target, const EffectParametersPtr& source) {
    if (!source)
        target = EffectParametersPtr();
    else if (target && target->effectType == source->effectType)
        target->assign(*source);
    else
        target = EffectParametersPtr(source->clone().release());
}

bool IsServed(const RenderSnapshot& snapshot, const ApplicationState& application, std::uint32_t index,
              const AuxSlotParameters& wanted) {
    return (index < snapshot.slotCount && Serves(snapshot.slots[index].effect.get(), wanted)) ||
           Serves(application.comingEffects[index].get(), wanted);
}

void BeginRun(RenderSnapshot& snapshot, ApplicationState& application, const ConverterCursor* converterStart,
              std::shared_ptr<const EffectBuilder> builder, std::uint32_t fadeBlocks) {
    snapshot.fadeBlocks = fadeBlocks;
    snapshot.endings.Clear();
    application.converterStart = converterStart;
    application.effectBuilder = std::move(builder);
    ReserveRoom(snapshot, application, application.sources.size, application.slots.size);
    for (std::uint32_t i = 0; i < application.sources.size; ++i)
        for (Voice* voice : {snapshot.voices[i].get(), application.comingVoices[i].get()})
            if (voice != nullptr) voice->memory.Prepare(converterStart, voice->channels);
    for (std::uint32_t i = 0; i < application.slots.size; ++i) {
        snapshot.slots[i].effect.reset();
        snapshot.slots[i].tail.reset();
        snapshot.activeSlots.Erase(i);
        application.comingEffects[i].reset();
        application.slots[i].dirty = true;
    }
}

void ReserveRoom(RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t sources,
                 std::uint32_t slots) {
    snapshot.playing.Reserve(sources);
    snapshot.voices.Reserve(sources);
    application.comingVoices.Reserve(sources);
    snapshot.activeSlots.Reserve(slots);
    snapshot.slots.Reserve(slots);
    application.comingEffects.Reserve(slots);
}

void PrepareVoice(ApplicationState& application, std::uint32_t index, std::uint32_t channels,
                  std::uint32_t sends, bool continues) {
    application.comingVoices.Reserve(index + 1);
    std::unique_ptr<Voice>& coming = application.comingVoices[index];
    try {
        auto voice = std::make_unique<Voice>();
        voice->source.sends.resize(sends);
        voice->memory.sends.resize(sends);
        voice->channels = channels;
        voice->memory.Prepare(application.converterStart, channels);
        voice->continues = continues && (coming == nullptr || coming->continues);
        coming = std::move(voice);
    } catch (const std::bad_alloc&) {
        throw slib::OutOfMemoryException();
    }
}

void PrepareShape(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
                  std::uint32_t channels, std::uint32_t sends) {
    application.comingVoices.Reserve(index + 1);
    const Voice* latest = application.comingVoices[index].get();
    if (latest == nullptr && snapshot.playing.Contains(index)) latest = snapshot.voices[index].get();
    if (latest == nullptr || (latest->channels == channels && latest->memory.sends.size == sends)) return;
    PrepareVoice(application, index, channels, sends, true);
}

void PrepareTouched(const RenderSnapshot& snapshot, ApplicationState& application) {
    application.touched.ForEach([&](std::uint32_t i) { PrepareVoiceFor(snapshot, application, i); });
    for (std::uint32_t i = 0; i < application.slots.size; ++i)
        if (application.slots[i].dirty) PrepareEffectFor(snapshot, application, i);
}

void CopyToSnapshot(RenderSnapshot& snapshot, ApplicationState& application, slib::RetireList& retired) {
    CopyGlobals(snapshot, application);
    LetEndingsGo(snapshot, retired);
    LetTailsGo(snapshot, retired);
    ReserveRoom(snapshot, application, application.sources.size, application.slots.size);
    application.touched.ForEach([&](std::uint32_t i) { CopySource(snapshot, application, i, retired); });
    application.touched.Clear();
    for (std::uint32_t i = 0; i < application.slots.size; ++i)
        if (application.slots[i].dirty) CopySlot(snapshot, application, i, retired);
    snapshot.sourceCount = application.sources.size;
    snapshot.slotCount = application.slots.size;
    // Last, for the game may free them at once.
    LetBuffersGo(snapshot, std::move(application.deletedBuffers), retired);
}

void MergeProgress(RenderSnapshot& snapshot, ApplicationState& application, slib::RetireList& retired) {
    snapshot.playing.ForEach([&](std::uint32_t i) {
        const Source& rendered = snapshot.voices[i]->source;
        Source& source = application.sources[i];
        const bool hasStopped = rendered.state == SourceState::Stopped;
        if (!source.deleted && !source.stateChanged) {
            source.position = rendered.position;
            // The renderer counts in the queue as it was at the copy. A stop brings its index back to 0.
            source.queueIndex = rendered.queueIndex - std::min(rendered.queueIndex, source.unqueuedCount);
            if (hasStopped) source.state = SourceState::Stopped;
        }
        if (!hasStopped) return;
        snapshot.playing.Erase(i);
        retired.Push(std::move(snapshot.voices[i]));
    });
}

void BeginSuspend(SuspendedState& suspended, const ApplicationState& application) {
    CopyGlobals(suspended, application);
    suspended.sources = application.sources;
    suspended.slots = {};
    for (const auto& slot : application.slots) {
        slib::WithDirtyTag<AuxSlotParameters> copy;
        UpdateSlot(copy, slot);
        copy.dirty = slot.dirty;
        suspended.slots.append(std::move(copy));
    }
    suspended.slots.FollowDeleted(application.slots);
    for (Source& source : suspended.sources)
        source.stateChanged = false;
    suspended.touched.Clear();
    suspended.deletedBuffers.reset();
}

void EndSuspend(SuspendedState& suspended, ApplicationState& application, RenderSnapshot& snapshot) {
    CopyGlobals(application, suspended);
    suspended.touched.ForEach([&](std::uint32_t i) {
        if (i >= application.sources.size) return;
        application.touched.Insert(i);
        MergeSuspendedSource(application.sources[i], suspended.sources[i]);
    });
    for (std::uint32_t i = application.sources.size; i < suspended.sources.size; ++i) {
        application.touched.Insert(i);
        application.sources.append(suspended.sources[i]);
    }
    application.sources.FollowDeleted(suspended.sources);
    MergeSuspendedSlots(suspended, application);
    MergeDeletedBuffers(suspended.deletedBuffers, application.deletedBuffers);
    ReserveRoom(snapshot, application, application.sources.size, application.slots.size);
    PrepareTouched(snapshot, application);
}

}  // namespace goal
