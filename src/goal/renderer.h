#pragma once

// Renders one block of a snapshot: what all sources of the scene sound like at the listener.
//
//     one-channel source ── reader ── filter ──> weights of its direction ──┐
//     stereo source with angles ── reader ── filter ──> weights of sides ───┼──> spatial bus ──> listener
//     gain other sources ── reader ── filter ──> bus of their arrangement ── encode matrix ──┘
//
// The server builds one for each run and calls it once a block, on its own thread; nothing else may. A block
// allocates nothing and locks nothing.

#include <cstdint>
#include <map>
#include <memory>

#include "goal/fx/filtergaintables.h"
#include "goal/fx/gainramp.h"
#include "goal/machinery.h"
#include "goal/mixbatch.h"
#include "goal/sendstage.h"
#include "goal/sourcegeometry.h"
#include "goal/sourceradiustable.h"
#include "goal/sourcereader.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "numeric/genericmatrix.h"
#include "orb3core/configuration.h"

namespace goal {

class Renderer : public BlockRenderer {
public:
    /// `sampleRate` in Hz. Of the configuration the settings and the channel arrays are read, and copied.
    /// `defaultFilterOrder` is 1 or 2. Throws slib::IntegrityFailureException for an order outside 1 to 4,
    /// slib::BadDataException for an array that is missing, slib::OutOfMemoryException.
    Renderer(double sampleRate, const orb3::Configuration& configuration, int defaultFilterOrder,
             std::uint32_t blockFrames);

    /// Fills `output`, whose spatial bus has (order+1)² channels of the block's frames. Moves the play
    /// positions of the snapshot's sources on and stops those that run out of data.
    void renderBlock(RenderSnapshot& snapshot, RenderOutput& output) override;

private:
    // The sources of one channel arrangement, on their way to the spatial bus.
    struct ArrayBus {
        hcml::ac::Bus input;     ///< raw samples of the source in hand
        hcml::ac::Bus filtered;  ///< those after rotation and filter
        hcml::ac::Bus mix;       ///< the sum of all sources of the arrangement in this block
        hcml::GenericMatrix<float, 1>
            encode;  ///< a row for each channel of `mix`, a column for each of the bus
        bool hasContent = false;
    };

    void AddArrayBus(int key, std::uint32_t inputs, hcml::GenericMatrix<float, 1> encode);
    void AddArrays(orb3::array::ArraySet arrays);
    void AddBFormats();

    void StartBlock(const RenderSnapshot& snapshot, RenderOutput& output);
    void RenderSources(RenderSnapshot& snapshot, RenderOutput& output);
    void FinishBlock(const RenderSnapshot& snapshot, RenderOutput& output);

    void RenderMonoSource(Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                          hcml::ac::Bus& spatial);
    void RenderMultiChannelSource(Source& source, SourceRendererState& state, hcml::ac::Bus& spatial);
    void AddMono(SourceRendererState& state, const SourceGeometry& geometry, float scale,
                 hcml::ac::Bus& spatial);
    void Rotate(const Source& source, int key, ArrayBus& bus) const;
    void Pan(const Source& source, const ArrayBus& bus, hcml::ac::Bus& spatial);
    void MixArrays(hcml::ac::Bus& spatial);

    const double sampleRate;  // Hz
    const std::uint32_t blockFrames;
    const unsigned order;
    const std::uint32_t spatialChannels;  // (order+1)²
    const int defaultFilterOrder;

    SourceReader reader;
    SourceRadiusTable radiusTable;
    std::unique_ptr<FilterGainTables> filterTables;
    std::map<int, ArrayBus> arrayBuses;  // by the key of the arrangement
    SendStage sends;
    MixBatch batch;
    Basis listener;
    GainRamp spatialGain;
    GainRamp lowFrequencyGain;
    GainRamp dialogueGain;
};

}  // namespace goal
