#pragma once

// From the stored configuration to a running output: the layout in force, the transform that decodes for it,
// and an open pipe. Called by the server, on its thread, at the start of each run.
//
//     configuration -> layout -> device channels in use -> pipe
//                            `-> conversion -> transform -> gains, columns in the pipe's order
//
// The pipe carries the device channels that the layout uses and no others; output c of the transform is
// channel c of the pipe.

#include <cstdint>
#include <string>
#include <vector>

#include "orb3core/configuration.h"
#include "orb3core/conversion.h"
#include "orb3core/devicelookup.h"
#include "orb3core/formatlibrarian.h"
#include "orb3core/timedomaintransform.h"
#include "pipe/pipe.h"
#include "slib/log.h"

namespace orb3 {

/// What the set-up of the output is asked for. Rate and buffers are wishes to the device.
struct OutputRequest {
    std::uint32_t order = 1;         ///< of the sound field, 1 or more
    std::uint32_t sampleRate = 0;    ///< Hz, above 0
    std::uint32_t bufferLength = 0;  ///< frames
    std::uint32_t bufferCount = 0;
    double gain = 1;  ///< linear
};

/// A channel of the pipe that takes a signal past the decoder.
struct DedicatedOutput {
    std::uint32_t channel = 0;
    float gain = 1;  ///< linear
};

/// An output that is set up.
struct OutputSetUp {
    audiopipe::PipePtr pipe;
    fl::Conversion conversion;
    std::string formatName;                            ///< the layout's format
    std::string methodName;                            ///< for display
    strans::TimeDomainTransform<float, 1> transforms;  ///< the conversion's inputs by the pipe's channels
    std::vector<DedicatedOutput> centreOutputs;        ///< for dialogue
    std::vector<DedicatedOutput> bassOutputs;          ///< for low-frequency effects
};

/// Fills `results`. Selects a layout where need be, and tries once more with the system's default device when
/// the layout in force can't be used; true when that changed `configuration` and it should be stored. What
/// happens to the selection goes to `fullLog`, what happens to the output to `activeLog`; the pipe keeps
/// `activeLog`. Throws slib::BadDataException with all findings when no layout can be used, what the library
/// throws when it can't provide the transform, and audiopipe::PipeException when the device doesn't open;
/// `results` then stay as they were.
bool SetUp(slib::Log* activeLog, slib::Log* fullLog, Configuration& configuration,
           const Frameworks& frameworks, const fl::FormatLibrarian& librarian, const OutputRequest& request,
           OutputSetUp& results);

}  // namespace orb3
