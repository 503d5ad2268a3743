#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "slib/standardformats.h"
#include "tools/config/commands.h"
#include "tools/config/machine.h"
#include "tools/config/table.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config devices
  tessarune-config select "Surround 5.1" --device 2       by number
  tessarune-config speakers connect PrimarySoundDriver    by id)";

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::vector<std::string> Row(audiopipe::Device& device) {
    std::vector<std::string> row{std::to_string(device.index + 1), device.id, device.name};
    try {
        row.push_back(slib::GetStandardFormatName(device.GetStandardFormat()));
        row.push_back(Joined(orb3::PlaybackChannelNames(device)));
    } catch (const std::exception& failure) {
        row.push_back(std::string("can't be opened: ") + failure.what());
    }
    return row;
}

void Show() {
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    std::vector<std::vector<std::string>> rows{{"", "ID", "NAME", "SPEAKERS", "OUTPUTS"}};
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        for (std::uint32_t i = 0; i < framework->GetDeviceCount(); ++i)
            rows.push_back(Row(*framework->GetDevice(i)));
    PrintTable(rows, "");
    std::cout << "Device 1 is the default. Where a device doesn't report its speakers, name them with "
                 "'tessarune-config set SpeakerSetting'.\n";
}

}  // namespace

void AddDevicesCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand("devices", "List the output devices.");
    command->footer(examples);
    command->callback(Show);
}

}  // namespace tool
