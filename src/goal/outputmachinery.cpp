#include "goal/outputmachinery.h"

#include <utility>

#include "goal/render/renderer.h"
#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/formatlibraries.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/setup/outputsetup.h"
#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/multichannelframework.h"
#include "platform/privileges.h"

namespace goal {
namespace {

struct OpenLibrary {
    OpenLibrary(const std::string& path, slib::Log* log, bool isReadOnly)
        : librarian(orb3::fl::OpenLayeredLibrary(path, orb3::fl::OwnLibraryPath(), factory, log, isReadOnly,
                                                 !isReadOnly)) {}

    const orb3::aspace::BasicAcousticFactory factory;
    const slib::SmartPtr<orb3::fl::ProcessingFormatLibrarian, slib::ThreadsafeCounter> librarian;
};

}  // namespace

OutputMachinery::OutputMachinery(SoundSystemMaker makeSoundSystem)
    : makeSoundSystem(std::move(makeSoundSystem)) {}

FormatLibrary OutputMachinery::OpenFormatLibrary(const std::string& path, slib::Log* log) {
    const auto open = std::make_shared<const OpenLibrary>(path, log, platform::HasMoreRightsThanItsCaller());
    return {open, open->librarian.Get()};
}

OutputSetUp OutputMachinery::SetUp(const OutputRequest& request, slib::Log* activeLog, slib::Log* fullLog,
                                   orb3::Configuration& configuration, const FormatLibrary& library) {
    using audiopipe::directsound::AdaptiveDirectSoundFramework;
    using enum AdaptiveDirectSoundFramework::Instances;
    const auto system = makeSoundSystem(orb3::ReadPlatformSettings(*fullLog), activeLog);
    orb3::Frameworks frameworks;
    frameworks.emplace_back(
        new AdaptiveDirectSoundFramework(activeLog, system, takesSeveralOutputs ? Several : One));
    frameworks.emplace_back(new audiopipe::MultichannelFramework(system));
    return orb3::SetUp(activeLog, fullLog, configuration, std::move(frameworks), *library, request);
}

std::unique_ptr<BlockRenderer> OutputMachinery::CreateRenderer(double sampleRate,
                                                               const orb3::Configuration& configuration,
                                                               int filterOrder, std::uint32_t blockFrames,
                                                               slib::Log*) {
    return std::make_unique<Renderer>(sampleRate, configuration, filterOrder, blockFrames);
}

}  // namespace goal
