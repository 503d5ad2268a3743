#pragma once

// The real machinery of a run: the format library on disk, the output of the machine as its settings choose
// it, and the renderer. One for the process; used by the server on its thread.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "goal/machinery.h"
#include "platform/soundsystem.h"

namespace goal {

class OutputMachinery : public Machinery {
public:
    /// Makes the sound system of a run, once for each set-up of the output.
    using SoundSystemMaker = std::function<std::shared_ptr<platform::SoundSystem>(
        const platform::PlatformSettings& settings, slib::Log* log)>;

    /// The outputs are those of this machine, or of another one that `makeSoundSystem` makes.
    explicit OutputMachinery(SoundSystemMaker makeSoundSystem = platform::MakeSoundSystem);

    FormatLibrary OpenFormatLibrary(const std::string& path, slib::Log* log) override;
    OutputSetUp SetUp(const OutputRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                      orb3::Configuration& configuration, const FormatLibrary& library) override;
    std::unique_ptr<BlockRenderer> CreateRenderer(double sampleRate, const orb3::Configuration& configuration,
                                                  int filterOrder, std::uint32_t blockFrames,
                                                  slib::Log* log) override;

    /// Set where the device takes several contexts, each of which has an output of its own. Any thread.
    std::atomic<bool> takesSeveralOutputs{false};

private:
    const SoundSystemMaker makeSoundSystem;
};

}  // namespace goal
