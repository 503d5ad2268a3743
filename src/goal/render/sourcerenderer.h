#pragma once

// The plain form of the sources' part of a block. A direct path slews its gain in the filter stage, weights
// move at the head of the block, and what ends ends at once.

#include <cstdint>

#include "goal/dsp/gainramp.h"
#include "goal/render/sendstage.h"
#include "goal/render/sourcegeometry.h"
#include "goal/render/voicerenderer.h"

namespace goal {

class SourceRenderer final : public VoiceRenderer {
public:
    /// `spatialChannels` is that of the order. Throws slib::OutOfMemoryException.
    SourceRenderer(const RenderStages& stages, std::uint32_t spatialChannels);

    Basis Listen(const RenderSnapshot& snapshot) override;
    void Render(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) override;
    void Finish(const RenderSnapshot& snapshot, RenderOutput& output) override;

private:
    void RenderMono(Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                    hcml::ac::Bus& spatial);
    void RenderMultiChannel(Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                            hcml::ac::Bus& spatial);
    void AddMono(SourceRendererState& state, const SourceGeometry& geometry, float scale,
                 hcml::ac::Bus& spatial);
    void Rotate(const Source& source, Arrangement key, ArrayBus& bus) const;
    void Pan(const Source& source, const ArrayBus& bus, hcml::ac::Bus& spatial);

    const RenderStages stages;
    const std::uint32_t spatialChannels;
    SendStage sends;
    GainRamp spatialGain;
    GainRamp lowFrequencyGain;
    GainRamp dialogueGain;
};

}  // namespace goal
