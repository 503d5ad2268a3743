#pragma once

// A run without an output: the scene is rendered at the rate asked for, at the pace of the monotonic clock,
// and nobody hears it. A game runs on it as it would with sound, block by block.

#include <memory>
#include <string>

#include "goal/machinery.h"

namespace goal {

class SilentMachinery : public Machinery {
public:
    /// Throws slib::BadDataException when nothing exists at `path`.
    std::unique_ptr<FormatLibrary> OpenFormatLibrary(const std::string& path, slib::Log* log) override;
    OutputSetUp SetUp(const SetUpRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                      orb3::Configuration& configuration, FormatLibrary& library) override;
    std::unique_ptr<BlockRenderer> CreateRenderer(double sampleRate, const orb3::Configuration& configuration,
                                                  int filterOrder, std::uint32_t blockFrames,
                                                  slib::Log* log) override;
};

}  // namespace goal
