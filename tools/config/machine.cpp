#include "tools/config/machine.h"

#include <iostream>

#include "orb3core/library/formatlibraries.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/store/configstore.h"
#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/multichannelframework.h"
#include "platform/soundsystem.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/config/commands.h"

namespace tool {
namespace {

std::string ConfiguredPath() {
    std::string path = orb3::ReadFormatLibraryPath();
    if (path.empty())
        throw slib::BadDataException(
            "No format library is configured. Put the path of the installed "
            "Tessarune.afl as 'AFL' under [Formats] into '" +
            platform::MachineStorePath(orb3::storeRoot).string() + "'.");
    return path;
}

bool IsNamed(const audiopipe::Device& device, std::uint32_t number, const std::string& name) {
    return device.id == name || device.name == name || std::to_string(number) == name;
}

}  // namespace

orb3::Frameworks MakeFrameworks(slib::Log& log) {
    const std::shared_ptr<platform::SoundSystem> system =
        platform::MakeSoundSystem(orb3::ReadPlatformSettings(log), &log);
    return {audiopipe::FrameworkPtr(new audiopipe::directsound::AdaptiveDirectSoundFramework(&log, system)),
            audiopipe::FrameworkPtr(new audiopipe::MultichannelFramework(system))};
}

Output FindOutput(const orb3::Frameworks& frameworks, const std::string& name) {
    std::string known;
    std::uint32_t number = 0;
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        for (std::uint32_t i = 0; i < framework->GetDeviceCount(); ++i) {
            audiopipe::DevicePtr device = framework->GetDevice(i);
            if (name.empty() || IsNamed(*device, ++number, name)) return {framework, device};
            known += (known.empty() ? "" : ", ") + device->id;
        }
    if (known.empty()) throw WrongUse("There is no output device.");
    throw WrongUse("The device must be one of " + known + ", not '" + name +
                   "'. 'tessarune-config devices' describes them.");
}

FormatLibrary::FormatLibrary(slib::Log& log) : path(ConfiguredPath()) {
    try {
        librarian =
            orb3::fl::OpenLayeredLibrary(path, orb3::fl::OwnLibraryPath(), factory, &log, true, false);
    } catch (const std::exception& failure) {
        throw slib::BadDataException(
            std::string("The format library can't be opened: ") + failure.what() + " Correct the path in '" +
            platform::MachineStorePath(orb3::storeRoot).string() + "', or install Tessarune again.");
    }
}

void ChangeOwnLibrary(const std::function<void(orb3::fl::LayeredLibrarian& library)>& change) {
    const orb3::aspace::BasicAcousticFactory factory;
    const auto library =
        orb3::fl::OpenOwnLibraryToChange(ConfiguredPath(), orb3::fl::OwnLibraryPath(), factory);
    change(*library);
    library->commit();
}

void ErrorsToTerminal::Write(const std::string& text, bool isError) {
    if (isError) std::cerr << "tessarune-config: " << text << "\n";
}

}  // namespace tool
