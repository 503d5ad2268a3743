#pragma once

// Moves sources on without a sound, for the time in which there is no output to render for. Used by the
// server on its own thread, between two runs.

#include <array>
#include <cstdint>

#include "goal/render/sourcereader.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"

namespace goal {

class SilentRenderer {
public:
    /// Throws slib::OutOfMemoryException.
    SilentRenderer();

    /// Moves each source of the snapshot that plays on by `seconds`, at most one, at its own pitch, and stops
    /// it at its end of data. Nothing is lost of a time that is too short to show.
    void Advance(RenderSnapshot& snapshot, double seconds);

private:
    SourceReader reader;
    double rest = 0;                         // frames that no call has played yet
    std::array<hcml::ac::Bus, 9> unheard{};  // by channel count
};

}  // namespace goal
