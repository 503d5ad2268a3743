#include "goal/outputmachinery.h"

#include <utility>

#include "goal/renderer.h"
#include "orb3core/acousticfactory.h"
#include "orb3core/formatlibraries.h"
#include "orb3core/outputsetup.h"
#include "orb3core/platformsettings.h"
#include "pipe/adaptivedirectsoundframework.h"

namespace goal {
namespace {

class OpenLibrary : public FormatLibrary {
public:
    OpenLibrary(const std::string& path, slib::Log* log)
        : librarian(orb3::fl::openFormatLibrary(path, factory, log, false, true)) {}

private:
    const orb3::aspace::BasicAcousticFactory factory;

public:
    const slib::SmartPtr<orb3::fl::ProcessingFormatLibrarian, slib::ThreadsafeCounter> librarian;
};

orb3::OutputRequest RequestTo(const SetUpRequest& request) {
    return {.order = static_cast<std::uint32_t>(request.order),
            .sampleRate = request.sampleRate,
            .bufferLength = static_cast<std::uint32_t>(request.bufferLength),
            .bufferCount = static_cast<std::uint32_t>(request.bufferCount),
            .gain = request.gain};
}

}  // namespace

OutputMachinery::OutputMachinery(SoundSystemMaker makeSoundSystem)
    : makeSoundSystem(std::move(makeSoundSystem)) {}

std::unique_ptr<FormatLibrary> OutputMachinery::OpenFormatLibrary(const std::string& path, slib::Log* log) {
    return std::make_unique<OpenLibrary>(path, log);
}

OutputSetUp OutputMachinery::SetUp(const SetUpRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                                   orb3::Configuration& configuration, FormatLibrary& library) {
    using audiopipe::directsound::AdaptiveDirectSoundFramework;
    OutputSetUp result;
    result.frameworks.emplace_back(new AdaptiveDirectSoundFramework(
        activeLog, makeSoundSystem(orb3::ReadPlatformSettings(*fullLog), activeLog)));
    orb3::OutputSetUp output;
    result.isConfigurationChanged =
        orb3::SetUp(activeLog, fullLog, configuration, result.frameworks,
                    *static_cast<OpenLibrary&>(library).librarian, RequestTo(request), output);
    result.pipe = std::move(output.pipe);
    result.transform = std::move(output.transforms);
    result.formatName = std::move(output.formatName);
    result.methodName = std::move(output.methodName);
    result.bassOutputs = std::move(output.bassOutputs);
    result.centreOutputs = std::move(output.centreOutputs);
    return result;
}

std::unique_ptr<BlockRenderer> OutputMachinery::CreateRenderer(double sampleRate,
                                                               const orb3::Configuration& configuration,
                                                               int filterOrder, std::uint32_t blockFrames,
                                                               slib::Log*) {
    return std::make_unique<Renderer>(sampleRate, configuration, filterOrder, blockFrames);
}

}  // namespace goal
