#pragma once

// What the server builds a run from: the format library, the output with its decoder, and the renderer. The
// server drives them through these interfaces only, on its own thread; so a test can drive the server.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "goal/renderoutput.h"
#include "numeric/bus.h"
#include "orb3core/configuration.h"
#include "slib/log.h"

namespace goal {

struct RenderSnapshot;

/// One output channel that takes a dedicated signal, and its linear gain.
struct DedicatedOutput {
    std::uint32_t channel = 0;
    float gain = 1;
};

/// A signal that goes with a block straight to one output channel: `samples` are the block's frames.
struct DirectFeed {
    std::uint32_t channel = 0;
    const float* samples = nullptr;
    float gain = 1;
};

/// The end of the chain: turns blocks of the spatial bus into sound.
class Decoder {
public:
    virtual ~Decoder() = default;

    /// The frames of one block of the caller.
    virtual std::uint32_t BlockFrames() const = 0;

    /// Takes one block and waits until the output has room for it: this wait is the clock of the system.
    virtual void writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) = 0;

    /// Writes the greatest sample so far to `log`.
    virtual void reportPeak(slib::Log* log) = 0;
};

/// Renders the sources and effects of a snapshot, block by block.
class BlockRenderer {
public:
    virtual ~BlockRenderer() = default;
    virtual void renderBlock(RenderSnapshot& snapshot, RenderOutput& output) = 0;
};

/// An open format library.
class FormatLibrary {
public:
    virtual ~FormatLibrary() = default;
};

/// What the set-up of the output is asked for.
struct SetUpRequest {
    int order = 1;                 ///< of the spatial bus, 1 to 4
    std::uint32_t sampleRate = 0;  ///< Hz, above 0; a wish
    int bufferLength = 0;          ///< frames
    int bufferCount = 0;
    double gain = 1;  ///< linear
};

/// An output that is set up: the open pipe, and the transform that its decoder will run.
class OutputSetUp {
public:
    virtual ~OutputSetUp() = default;

    double sampleRate = 0;              ///< Hz, what the output really runs at
    std::uint32_t transformInputs = 0;  ///< input channels of the transform
    std::string formatName;
    std::string methodName;
    std::vector<DedicatedOutput> bassOutputs;
    std::vector<DedicatedOutput> centreOutputs;
    bool isConfigurationChanged = false;  ///< the configuration was changed on the way and is to be stored

    /// Builds the decoder on the transform's first `inputs` channels. `log` is borrowed and outlives it.
    virtual std::unique_ptr<Decoder> CreateDecoder(std::uint32_t inputs, slib::Log* log,
                                                   bool useParallel) = 0;
};

/// Makes the parts of a run. Lives as long as the process; everything it makes is destroyed before the run
/// ends.
class Machinery {
public:
    virtual ~Machinery() = default;

    /// Throws when there is no usable library at `path`.
    virtual std::unique_ptr<FormatLibrary> OpenFormatLibrary(const std::string& path, slib::Log* log) = 0;

    /// Chooses the layout and opens the output. May change `configuration`. Informational lines go to
    /// `activeLog`, those that are always wanted to `fullLog`. Throws when no output can be had.
    virtual std::unique_ptr<OutputSetUp> SetUp(const SetUpRequest& request, slib::Log* activeLog,
                                               slib::Log* fullLog, orb3::Configuration& configuration,
                                               FormatLibrary& library) = 0;

    virtual std::unique_ptr<BlockRenderer> CreateRenderer(double sampleRate,
                                                          const orb3::Configuration& configuration,
                                                          int filterOrder, std::uint32_t blockFrames,
                                                          slib::Log* log) = 0;
};

}  // namespace goal
