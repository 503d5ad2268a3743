#pragma once

// What the server builds a run from: the format library, the output and the renderer. The server drives them
// through these interfaces only, on its own thread; so a test can drive the server.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "goal/renderoutput.h"
#include "orb3core/configuration.h"
#include "orb3core/outputsetup.h"
#include "orb3core/timedomaintransform.h"
#include "pipe/pipe.h"
#include "slib/log.h"

namespace goal {

struct RenderSnapshot;

using orb3::DedicatedOutput;

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
struct OutputSetUp {
    orb3::Frameworks frameworks;  ///< what the pipe is of; outlives it
    audiopipe::PipePtr pipe;
    orb3::strans::TimeDomainTransform<float, 1> transform;  ///< its inputs on the format library's channels
    std::string formatName;
    std::string methodName;
    std::vector<DedicatedOutput> bassOutputs;
    std::vector<DedicatedOutput> centreOutputs;
    bool isConfigurationChanged = false;  ///< the configuration was changed on the way and is to be stored
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
    virtual OutputSetUp SetUp(const SetUpRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                              orb3::Configuration& configuration, FormatLibrary& library) = 0;

    virtual std::unique_ptr<BlockRenderer> CreateRenderer(double sampleRate,
                                                          const orb3::Configuration& configuration,
                                                          int filterOrder, std::uint32_t blockFrames,
                                                          slib::Log* log) = 0;
};

}  // namespace goal
