#pragma once

// How the sources of a block get into the mix: the part of the renderer that the two sounds have each in a
// form of their own. SourceRenderer follows the plain formulas, SourceRenderer_v2 is refined.

#include <cstdint>

#include "goal/dsp/filtergaintables.h"
#include "goal/render/arraybuses.h"
#include "goal/render/mixbatch.h"
#include "goal/render/renderoutput.h"
#include "goal/render/sourcegeometry.h"
#include "goal/render/sourceradiustable.h"
#include "goal/render/sourcereader.h"
#include "goal/state/basis.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

/// What both forms work with; all of it the renderer's, which outlives them.
struct RenderStages {
    SourceReader& reader;
    const SourceRadiusTable& radiusTable;
    const FilterGainTables& tables;
    ArrayBuses& arrays;
    MixBatch& batch;        ///< of the spatial bus
    const Basis& listener;  ///< of the current block
    double sampleRate;      ///< Hz
    unsigned order;
    std::uint32_t blockFrames;
    int defaultFilterOrder;
};

class VoiceRenderer {
public:
    virtual ~VoiceRenderer() = default;

    /// The listener of the coming block.
    virtual Basis Listen(const RenderSnapshot& snapshot) SLIB_NONBLOCKING = 0;

    /// Adds the voice, whose queue holds a buffer, to the mix and to its slots, and moves its position on.
    virtual void Render(Voice& voice, const RenderSnapshot& snapshot,
                        hcml::ac::Bus& spatial) SLIB_NONBLOCKING = 0;

    /// Applies the listener's gain to the block.
    virtual void Finish(const RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING = 0;

    /// How many blocks what ends takes to fade out.
    virtual std::uint32_t FadeBlocks() const { return 0; }
};

/// Reads a block of a source of several channels at its pitch into the input of its arrangement's bus.
/// Returns the factor that brings it to full scale 1.
float ReadChannels(const RenderStages& stages, Source& source, SourceRendererState& state,
                   ArrayBus& bus) SLIB_NONBLOCKING;

/// What a source of several channels without angles, `source`, adds to the bus of its arrangement. A source
/// with a sample that isn't finite is left out, since no later stage would get rid of it.
void AddToArray(const hcml::ac::Bus& source, ArrayBus& bus) SLIB_NONBLOCKING;

/// The weights of one side of a stereo source at `angle`, one for each channel of the spatial bus.
std::array<float, hcml::mostBusChannels> StereoWeights(float angle, unsigned order) SLIB_NONBLOCKING;

/// Notes in `meter` where a source of one channel is heard and, in one block of four, how loud: by the
/// samples before their shelves, which are multiplied by `gain` (linear) on the way to the mix.
void Measure(const RenderStages& stages, const SourceGeometry& geometry, const hcml::FloatTupleVector& row,
             float gain, SourceMeter& meter) SLIB_NONBLOCKING;
/// The same of one of several channels, which is heard all around; its channels are added up.
void Measure(const RenderStages& stages, const hcml::ac::Bus& channels, float gain,
             SourceMeter& meter) SLIB_NONBLOCKING;

inline bool IsBFormat(Arrangement key) {
    return key == Arrangement::BFormat2D || key == Arrangement::BFormat3D;
}

}  // namespace goal
