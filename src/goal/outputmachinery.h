#pragma once

// The real machinery of a run: the format library on disk, the output of the machine as its settings choose
// it, and the renderer. One for the process; used by the server on its thread.

#include <memory>
#include <string>

#include "goal/machinery.h"

namespace goal {

class OutputMachinery : public Machinery {
public:
    std::unique_ptr<FormatLibrary> OpenFormatLibrary(const std::string& path, slib::Log* log) override;
    OutputSetUp SetUp(const SetUpRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                      orb3::Configuration& configuration, FormatLibrary& library) override;
    std::unique_ptr<BlockRenderer> CreateRenderer(double sampleRate, const orb3::Configuration& configuration,
                                                  int filterOrder, std::uint32_t blockFrames,
                                                  slib::Log* log) override;
};

}  // namespace goal
