#include "goal/state/enginestate.h"

#include <algorithm>
#include <utility>

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

// A deleted source holds on to no buffer: those of its queue may be freed as soon as the copy is done.
void Bury(Source& source) {
    source.deleted = true;
    source.queue.resize(0);
}

// Brings one source of the snapshot up to date. True when its memory has to start afresh.
bool CopySource(Source& target, Source& source) {
    if (source.deleted) {
        Bury(target);
        return false;
    }
    if (target.deleted) {  // a new source took the entry
        ClearFlags(source);
        target = source;
        return true;
    }
    if (source.parametersDirty) CopyBase(target, source);
    const bool restart = source.stateChanged && source.state == SourceState::Playing;
    CopyPlayState(target, source);
    if (source.queueDirty) target.queue = source.queue;
    ClearFlags(source);
    return restart;
}

void MatchSends(SourceRendererState& state, const Source& source) {
    if (state.sends.size != source.sends.size)
        state.sends.resizePreserving(source.sends.size, SourceFilterState());
}

void NotePlaying(IndexSet& playing, std::uint32_t index, const Source& source) {
    if (!source.deleted && source.state == SourceState::Playing)
        playing.Insert(index);
    else
        playing.Erase(index);
}

void UpdateSlot(AuxSlotParameters& target, const AuxSlotParameters& source) {
    AssignEffect(target.effect, source.effect);
    target.gain = source.gain;
    target.auxiliarySendAuto = source.auxiliarySendAuto;
    target.deleted = source.deleted;
}

// Shapes the ring for the source's channels here, so that the block needn't.
void MatchConverter(SourceRendererState& state, const Source& source) {
    MultiChannelConverterState& converter = state.multiChannelConverter;
    const bool isUsed =
        !source.deleted && converter.ring.size > 0 && source.queue.size > 0 && source.queue[0]->channels > 1;
    if (isUsed) converter.resize(source.queue[0]->channels);
}

void AppendSources(RenderSnapshot& snapshot, ApplicationState& application,
                   const ConverterCursor* converterStart) {
    for (std::uint32_t i = snapshot.sources.size; i < application.sources.size; ++i) {
        ClearFlags(application.sources[i]);
        snapshot.sources.append(application.sources[i]);
        SourceRendererState state;
        state.Prepare(converterStart);
        MatchSends(state, application.sources[i]);
        MatchConverter(state, application.sources[i]);
        snapshot.sourceStates.append(std::move(state));
        NotePlaying(snapshot.playing, i, snapshot.sources[i]);
    }
}

void CopySlots(RenderSnapshot& snapshot, ApplicationState& application) {
    for (std::uint32_t i = 0; i < application.slots.size; ++i) {
        if (i == snapshot.slots.size)
            snapshot.slots.append(AuxSlotParameters());
        else if (!application.slots[i].dirty)
            continue;
        UpdateSlot(snapshot.slots[i], application.slots[i]);
        application.slots[i].dirty = false;
    }
}

// Takes what the game changed about one source while the context was suspended. True when anything was.
bool MergeSuspendedSource(Source& target, const Source& source) {
    if (source.deleted) {
        const bool isNews = !target.deleted;
        Bury(target);
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

}  // namespace

void SourceRendererState::Reset() {
    direct = SourceFilterState();
    for (SourceFilterState& send : sends)
        send = SourceFilterState();
    previousFrame.fill(0);
    reset(converter);
    reset(multiChannelConverter);
}

void SourceRendererState::Prepare(const ConverterCursor* converterStart) {
    Reset();
    if (converterStart == nullptr) return;
    initialise(converter, *converterStart);
    initialise(multiChannelConverter, *converterStart);
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

void CopyToSnapshot(RenderSnapshot& snapshot, ApplicationState& application,
                    const ConverterCursor* converterStart) {
    snapshot.deletedBuffers = std::move(application.deletedBuffers);
    application.deletedBuffers.clear();
    CopyGlobals(snapshot, application);
    application.touched.ForEach([&](std::uint32_t i) {
        if (i >= snapshot.sources.size) return;
        const bool restart = CopySource(snapshot.sources[i], application.sources[i]);
        MatchSends(snapshot.sourceStates[i], snapshot.sources[i]);
        MatchConverter(snapshot.sourceStates[i], snapshot.sources[i]);
        if (restart) snapshot.sourceStates[i].Reset();
        NotePlaying(snapshot.playing, i, snapshot.sources[i]);
    });
    AppendSources(snapshot, application, converterStart);
    application.touched.Clear();
    CopySlots(snapshot, application);
}

void MergeProgress(RenderSnapshot& snapshot, ApplicationState& application) {
    snapshot.playing.ForEach([&](std::uint32_t i) {
        const Source& rendered = snapshot.sources[i];
        Source& source = application.sources[i];
        const bool hasStopped = rendered.state == SourceState::Stopped;
        if (hasStopped) snapshot.playing.Erase(i);
        if (rendered.deleted || source.deleted || source.stateChanged) return;
        source.position = rendered.position;
        // The renderer counts in the queue as it was at the copy. A stop brings its index back to 0.
        source.queueIndex = rendered.queueIndex - std::min(rendered.queueIndex, source.unqueuedCount);
        if (hasStopped) source.state = SourceState::Stopped;
    });
}

void BeginSuspend(SuspendedState& suspended, const ApplicationState& application) {
    CopyGlobals(suspended, application);
    suspended.sources = application.sources;
    suspended.slots.resize(0);
    for (const auto& slot : application.slots) {
        slib::WithDirtyTag<AuxSlotParameters> copy;
        UpdateSlot(copy, slot);
        copy.dirty = slot.dirty;
        suspended.slots.append(std::move(copy));
    }
    for (Source& source : suspended.sources)
        source.stateChanged = false;
    suspended.deletedBuffers.clear();
}

void EndSuspend(SuspendedState& suspended, ApplicationState& application) {
    CopyGlobals(application, suspended);
    for (std::uint32_t i = 0; i < application.sources.size; ++i)
        if (MergeSuspendedSource(application.sources[i], suspended.sources[i])) application.touched.Insert(i);
    for (std::uint32_t i = application.sources.size; i < suspended.sources.size; ++i)
        application.sources.append(suspended.sources[i]);
    for (std::uint32_t i = 0; i < suspended.slots.size; ++i) {
        if (i == application.slots.size)
            application.slots.append({});
        else if (!suspended.slots[i].dirty)
            continue;
        UpdateSlot(application.slots[i], suspended.slots[i]);
        application.slots[i].dirty = true;
        suspended.slots[i].dirty = false;
    }
    application.deletedBuffers.appendAll(suspended.deletedBuffers);
    suspended.deletedBuffers.clear();
}

}  // namespace goal
