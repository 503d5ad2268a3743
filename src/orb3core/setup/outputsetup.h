#pragma once

// From the stored configuration to a running output: the layout in force, the transform that decodes for it,
// and an open pipe. Called by the server, on its thread, at the start of each run, and by programs that show
// what a start would do.
//
//     configuration -> layout -> device channels in use -> pipe, at the nearest rate that it takes
//                            `-> conversion -> transform at that rate -> gains, columns in the pipe's order
//
// The pipe carries the device channels that the layout uses and no others; output c of the transform is
// channel c of the pipe.

#include <cstdint>
#include <string>
#include <vector>

#include "orb3core/library/conversion.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/settings/goalconfig.h"
#include "orb3core/setup/devicelookup.h"
#include "orb3core/transform/timedomaintransform.h"
#include "pipe/pipe.h"
#include "slib/log.h"

namespace orb3 {

/// What the output is to be. Rate and buffers are requests, which the device may change.
struct OutputRequest {
    std::uint32_t order = 1;         ///< of the spatial bus, 1 to 4
    std::uint32_t sampleRate = 0;    ///< Hz, above 0
    std::uint32_t bufferLength = 0;  ///< frames
    std::uint32_t bufferCount = 0;
    double gain = 1;  ///< linear
};

/// What a start asks for by these settings when the game asks for `gameRate` Hz; 0 or less when it asks for
/// none. Throws slib::BadDataException for a configured rate that isn't above 0.
OutputRequest RequestFor(const GoalConfig& settings, double gameRate);

/// A channel of the pipe that takes a signal past the decoder.
struct DedicatedOutput {
    std::uint32_t channel = 0;
    float gain = 1;  ///< linear
};

/// An output that is set up.
struct OutputSetUp {
    Frameworks frameworks;  ///< what the pipe is of; outlives it
    audiopipe::PipePtr pipe;
    fl::Conversion conversion;
    std::string formatName;                           ///< the layout's format
    std::string methodName;                           ///< for display
    strans::TimeDomainTransform<float, 1> transform;  ///< the conversion's inputs by the pipe's channels
    std::vector<DedicatedOutput> centreOutputs;       ///< for dialogue
    std::vector<DedicatedOutput> bassOutputs;         ///< for low-frequency effects
    /// Frames by which the decoder delays each of the pipe's channels, for speakers that are nearer than the
    /// furthest.
    std::vector<std::uint32_t> feedDelays;
    bool isConfigurationChanged = false;  ///< the configuration was changed on the way and is to be stored
};

/// Selects a layout where need be, and tries once more with the system's default device when the layout in
/// force can't be used; either may change `configuration`. What happens to the selection goes to `fullLog`,
/// what happens to the output to `activeLog`; the pipe keeps `activeLog`. Throws slib::BadDataException with
/// all findings when no layout can be used, what the library throws when it can't provide the transform, and
/// audiopipe::PipeException when the device doesn't open.
[[nodiscard]] OutputSetUp SetUp(slib::Log* activeLog, slib::Log* fullLog, Configuration& configuration,
                                Frameworks frameworks, const fl::FormatLibrarian& librarian,
                                const OutputRequest& request);

/// The order of the bus for a decoder transform of `inputs` channels when `order` is configured: never above
/// what the transform can take. Throws slib::BadDataException when the inputs fit no order.
int ResolveOrder(std::uint32_t inputs, int order);

/// Makes the inputs of a set-up's transform those of the bus: as many as the resolved order has, in the bus's
/// basis. Returns the order. Throws as ResolveOrder.
[[nodiscard]] int FitToBus(strans::TimeDomainTransform<float, 1>& transform, int order);

}  // namespace orb3
