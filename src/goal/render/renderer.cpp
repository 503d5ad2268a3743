#include "goal/render/renderer.h"

#include <algorithm>

#include "goal/dsp/antidenormal.h"
#include "goal/render/sloteffect.h"
#include "goal/render/sourcerenderer.h"
#include "goal/render/sourcerenderer_v2.h"
#include "numeric/ambisonicorder.h"
#include "slib/exception.h"

namespace goal {
namespace {

unsigned CheckedOrder(int order) {
    if (order < 1 || order > static_cast<int>(hcml::highestOrder)) slib::ThrowUnreachable();
    return static_cast<unsigned>(order);
}

}  // namespace

Renderer::Renderer(double sampleRate, const orb3::Configuration& configuration, int defaultFilterOrder,
                   std::uint32_t blockFrames)
    : settings(configuration.goalConfig),
      sampleRate(sampleRate),
      blockFrames(blockFrames),
      order(CheckedOrder(settings.order)),
      spatialChannels(hcml::ChannelsOfOrder(order)),
      defaultFilterOrder(defaultFilterOrder),
      reader(settings.sampleRateConversion, settings.sound),
      radiusTable(order),
      filterTables(std::make_unique<FilterGainTables>()),
      arrays(configuration.arraySet, blockFrames, spatialChannels),
      effects({.sampleRate = sampleRate,
               .order = order,
               .useFullLateReflections = settings.useFullLateReflections,
               .useDirectionalEarlyReflections = settings.useDirectionalEarlyReflections,
               .blockFrames = blockFrames,
               .listenerBasis = &listener,
               .isRefined = settings.sound == orb3::Sound::Refined},
              spatialChannels),
      batch(blockFrames, spatialChannels),
      voices(MakeVoiceRenderer()) {}

std::unique_ptr<VoiceRenderer> Renderer::MakeVoiceRenderer() {
    const bool isRefined = settings.sound == orb3::Sound::Refined;
    buildFilterTables(*filterTables, sampleRate, false, isRefined);
    const RenderStages stages{.reader = reader,
                              .radiusTable = radiusTable,
                              .tables = *filterTables,
                              .arrays = arrays,
                              .batch = batch,
                              .listener = listener,
                              .sampleRate = sampleRate,
                              .order = order,
                              .blockFrames = blockFrames,
                              .defaultFilterOrder = defaultFilterOrder};
    if (isRefined) return std::make_unique<SourceRenderer_v2>(stages);
    return std::make_unique<SourceRenderer>(stages, spatialChannels);
}

void Renderer::renderBlock(RenderSnapshot& snapshot, RenderOutput& output) {
    StartBlock(snapshot, output);
    RenderSources(snapshot, output);
    batch.Flush(output.spatial);
    effects.Run(snapshot, arrays, output);
    arrays.MixInto(output.spatial);
    voices->Finish(snapshot, output);
}

// What waits refers to the memories of sources, so it is worked off here, to be heard nowhere.
void Renderer::Abandon(RenderSnapshot& snapshot, RenderOutput& output) {
    batch.Flush(output.spatial);
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        if (snapshot.slots[i].effect) Gather(EffectOf(snapshot.slots[i]));
    });
    arrays.MixInto(output.spatial);
    output.Silence();
}

void Renderer::StartBlock(const RenderSnapshot& snapshot, RenderOutput& output) {
    listener = voices->Listen(snapshot);
    effects.Renew(snapshot);
    ClearInputs(snapshot);
    output.spatial.clear();
    ApplyAntiDenormalPattern(output.spatial);
    output.lowFrequencyWritten = false;
    output.dialogueWritten = false;
}

// Only sources of the set of playing ones can be heard, and those that fade out. A source that stops in this
// block leaves it at the merge.
void Renderer::RenderSources(RenderSnapshot& snapshot, RenderOutput& output) {
    const auto render = [&](Voice& voice) {
        if (voice.source.queue.size > 0) voices->Render(voice, snapshot, output.spatial);
    };
    snapshot.playing.ForEach([&](std::uint32_t i) { render(*snapshot.voices[i]); });
    snapshot.endings.ForEach([&](Voice& voice) {
        if (voice.source.state == SourceState::Playing) render(voice);
    });
}

}  // namespace goal
