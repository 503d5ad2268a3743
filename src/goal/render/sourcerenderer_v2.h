#pragma once

// The refined form of the sources' part of a block: nothing that a game changes clicks, and what it moves
// step by step moves evenly.
//
//     what the game sets ──UpdateLine──> place of the source, listener ──> weights with all gains in them
//     frames ── reader ── shelves, where there are any ──> MixBatch, along the course of the weights
//
// Gains are part of the weights, so that a path without shelves is read and mixed and touched nowhere
// between. A path that begins in the middle of a sound, or ends there, fades for 4 ms.

#include <cstdint>

#include "goal/render/sendstage_v2.h"
#include "goal/render/sourcegeometry.h"
#include "goal/render/voicerenderer.h"
#include "goal/render/weightmover.h"
#include "goal/state/updateline.h"

namespace goal {

class SourceRenderer_v2 final : public VoiceRenderer {
public:
    /// Throws slib::OutOfMemoryException.
    explicit SourceRenderer_v2(const RenderStages& stages);

    Basis Listen(const RenderSnapshot& snapshot) override;
    void Render(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) override;
    void Finish(const RenderSnapshot& snapshot, RenderOutput& output) override;
    std::uint32_t FadeBlocks() const override { return mover.courses.FadeBlocks(); }

    // The parts of Render for a source of one channel, for a benchmark of each.
    //
    /// Where the voice is heard in this block. False where that is nowhere.
    bool Locate(Voice& voice, const RenderSnapshot& snapshot, SourceGeometry& geometry) SLIB_NONBLOCKING;
    /// Fills the row and returns its scale.
    float Read(Voice& voice, const SourceGeometry& geometry, hcml::FloatTupleVector& row) SLIB_NONBLOCKING;
    /// To its slots; the row is unfiltered.
    void Send(Voice& voice, const RenderSnapshot& snapshot, const SourceGeometry& geometry,
              const hcml::FloatTupleVector& row, float scale) SLIB_NONBLOCKING;
    /// The shelves of the direct path, which may run as late as at the batch's Flush. False where nothing
    /// comes through.
    bool FilterDirect(Voice& voice, const SourceGeometry& geometry,
                      hcml::FloatTupleVector& row) SLIB_NONBLOCKING;
    /// Adds the batch's row.
    void AddDirect(Voice& voice, const SourceGeometry& geometry, float scale,
                   hcml::ac::Bus& spatial) SLIB_NONBLOCKING;

private:
    using PlaceLine = UpdateLine<8>;
    static constexpr std::size_t gainOfPlace = 3;

    bool FollowOffset(const Source& source, const SourcePlace& wanted, PlaceLine& line) const;
    bool FollowPlace(const Source& source, const RenderSnapshot& snapshot, SourceMotion& motion,
                     SourcePlace& place);
    void RenderMono(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial);
    void RenderMultiChannel(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial);
    void Rotate(Voice& voice, Arrangement key, ArrayBus& bus);
    bool FilterChannels(Voice& voice, Arrangement key, ArrayBus& bus, float gain, float scale);
    void Pan(Voice& voice, const ArrayBus& bus, hcml::ac::Bus& spatial);

    const RenderStages stages;
    const UpdatePace pace;
    const WeightMover mover;
    SendStage_v2 sends;
    hcml::ac::Bus turned;  // a channel of B-format along the course of its turn

    UpdateLine<6> orientation;
    UpdateLine<3> listenerVelocity;
    UpdateLine<1> listenerGain;
    bool hasListenerJumped = false;
    Vector3 heardListenerVelocity{};
    PathWeights spatialGain;
    PathWeights lowFrequencyGain;
    PathWeights dialogueGain;
};

}  // namespace goal
