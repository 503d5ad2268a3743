#pragma once

// Renders one block of a snapshot: what all sources of the scene sound like at the listener.
//
//     one-channel source ── reader ── filter ──> weights of its direction ──┐
//     stereo source with angles ── reader ── filter ──> weights of sides ───┼──> spatial bus ──> listener
//     gain other sources ── reader ── filter ──> bus of their arrangement ── encode matrix ──┘
//     each of them ── filter of its send ──> slot's effect ──> a bus of these, or an output of its own
//
// The server builds one for each run and calls it once a block, on its own thread; nothing else may. A block
// allocates nothing and locks nothing.

#include <cstdint>
#include <memory>

#include "goal/dsp/filtergaintables.h"
#include "goal/render/arraybuses.h"
#include "goal/render/blockrenderer.h"
#include "goal/render/effectstage.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sourceradiustable.h"
#include "goal/render/sourcereader.h"
#include "goal/render/voicerenderer.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "orb3core/settings/configuration.h"
#include "slib/realtime.h"

namespace goal {

class Renderer : public BlockRenderer {
public:
    /// `sampleRate` in Hz. Of the configuration the settings and the channel arrays are read, and copied.
    /// `defaultFilterOrder` is 1 or 2. Throws slib::IntegrityFailureException for an order outside 1 to 4,
    /// slib::BadDataException for an array that is missing, slib::OutOfMemoryException.
    Renderer(double sampleRate, const orb3::Configuration& configuration, int defaultFilterOrder,
             std::uint32_t blockFrames);
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    std::shared_ptr<const EffectBuilder> Effects() const override { return effects.Builder(); }
    std::uint32_t FadeBlocks() const override { return voices->FadeBlocks(); }

    /// Fills `output`, whose spatial bus has (order+1)² channels of the block's frames. Moves the play
    /// positions of the snapshot's sources on and stops those that run out of data.
    void renderBlock(RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING override;
    void Abandon(RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING override;

private:
    std::unique_ptr<VoiceRenderer> MakeVoiceRenderer();
    void StartBlock(const RenderSnapshot& snapshot, RenderOutput& output);
    void RenderSources(RenderSnapshot& snapshot, RenderOutput& output);

    const orb3::GoalConfig settings;
    const double sampleRate;  // Hz
    const std::uint32_t blockFrames;
    const unsigned order;
    const std::uint32_t spatialChannels;  // (order+1)²
    const int defaultFilterOrder;

    SourceReader reader;
    SourceRadiusTable radiusTable;
    std::unique_ptr<FilterGainTables> filterTables;
    ArrayBuses arrays;
    EffectStage effects;
    MixBatch batch;
    Basis listener;  // of the current block
    const std::unique_ptr<VoiceRenderer> voices;
};

}  // namespace goal
