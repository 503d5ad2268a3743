#include "tools/manage/machine.h"

#include <cstdint>
#include <string>
#include <vector>

#include "orb3core/library/formatlibraries.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/store/configstore.h"
#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/multichannelframework.h"
#include "platform/soundsystem.h"
#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/support/nearest.h"
#include "tools/support/terminal.h"
#include "tools/support/wronguse.h"

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

std::vector<Output> AllOutputs(const orb3::Frameworks& frameworks) {
    std::vector<Output> outputs;
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        for (std::uint32_t i = 0; i < framework->GetDeviceCount(); ++i)
            outputs.push_back({framework, framework->GetDevice(i)});
    return outputs;
}

bool IsNamed(const audiopipe::Device& device, const std::string& name) {
    return device.id == name || device.name == name;
}

// As what is stored of it may name it.
bool IsStoredAs(const audiopipe::Device& device, const std::string& name) {
    return device.fullId == name || device.plainId == name;
}

}  // namespace

// Several at a time, since the page answers while a job of it runs.
orb3::Frameworks MakeFrameworks(slib::Log& log) {
    using Framework = audiopipe::directsound::AdaptiveDirectSoundFramework;
    const std::shared_ptr<platform::SoundSystem> system =
        platform::MakeSoundSystem(orb3::ReadPlatformSettings(log), &log);
    return {audiopipe::FrameworkPtr(new Framework(&log, system, Framework::Instances::Several)),
            audiopipe::FrameworkPtr(new audiopipe::MultichannelFramework(system))};
}

Output FindOutput(const orb3::Frameworks& frameworks, const std::string& name) {
    const std::vector<Output> outputs = AllOutputs(frameworks);
    if (outputs.empty()) throw WrongUse("There is no output device.");
    if (name.empty()) return outputs.front();
    std::vector<std::string> names;
    std::string known;
    for (const Output& output : outputs) {
        if (IsNamed(*output.device, name)) return output;
        names.push_back(output.device->name);
        if (std::to_string(names.size()) == name) return output;
        known += (known.empty() ? "" : ", ") + output.device->id;
    }
    for (const Output& output : outputs)
        if (IsStoredAs(*output.device, name)) return output;
    if (const auto meant = FindMeant(names, name)) return outputs[*meant];
    throw WrongUse("The device must be one of " + known + ", not '" + name + "'." + DidYouMean(names, name) +
                   " 'tessarune-config devices' describes them.");
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
    if (isError) Complain(text);
}

}  // namespace tool
