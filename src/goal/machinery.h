#pragma once

// What the server builds a run from: the format library, the output and the renderer. The server drives them
// through these interfaces only, on its own thread; so a test can drive the server.

#include <cstdint>
#include <memory>
#include <string>

#include "goal/render/blockrenderer.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "orb3core/setup/outputsetup.h"
#include "slib/log.h"

namespace goal {

using orb3::DedicatedOutput;
using orb3::OutputRequest;
using orb3::OutputSetUp;

/// An open format library, with what its acoustics are made by.
using FormatLibrary = std::shared_ptr<const orb3::fl::FormatLibrarian>;

/// Makes the parts of a run. Lives as long as the process; everything it makes is destroyed before the run
/// ends.
class Machinery {
public:
    virtual ~Machinery() = default;

    /// Throws when there is no usable library at `path`.
    virtual FormatLibrary OpenFormatLibrary(const std::string& path, slib::Log* log) = 0;

    /// Chooses the layout and opens the output. May change `configuration`. Informational lines go to
    /// `activeLog`, those that are always wanted to `fullLog`. Throws when there is no output.
    virtual OutputSetUp SetUp(const OutputRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                              orb3::Configuration& configuration, const FormatLibrary& library) = 0;

    [[nodiscard]] virtual std::unique_ptr<BlockRenderer> CreateRenderer(
        double sampleRate, const orb3::Configuration& configuration, int filterOrder,
        std::uint32_t blockFrames, slib::Log* log) = 0;
};

}  // namespace goal
