#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "slib/standardformats.h"
#include "tools/config/commands.h"
#include "tools/manage/machine.h"
#include "tools/support/progress.h"
#include "tools/support/table.h"

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

// The last column is for programs alone.
std::vector<Cell> Row(std::uint32_t number, audiopipe::Device& device) {
    std::vector<Cell> row{number, device.id, device.name};
    try {
        const slib::StandardFormat format = device.GetStandardFormat();
        const std::string speakers =
            format == slib::StandardFormat::Unknown ? "any" : slib::GetStandardFormatName(format);
        const std::vector<std::string> outputs = orb3::PlaybackChannelNames(device);
        row.insert(row.end(), {speakers, {Joined(outputs), outputs}, {"", nullptr}});
    } catch (const std::exception& failure) {
        row.insert(row.end(), {{std::string("can't be opened: ") + failure.what(), nullptr},
                               {"", Json::array()},
                               {"", failure.what()}});
    }
    return row;
}

Table Devices() {
    const Progress progress("Asking for the devices");
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    Table table({{"", "number"},
                 {"ID", "id"},
                 {"NAME", "name"},
                 {"SPEAKERS", "speakers"},
                 {"OUTPUTS", "outputs"},
                 {"", "error"}});
    std::uint32_t number = 0;
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        for (std::uint32_t i = 0; i < framework->GetDeviceCount(); ++i)
            table.AddRow(Row(++number, *framework->GetDevice(i)));
    return table;
}

void Show(bool isJson) {
    const Table table = Devices();
    if (isJson) return PrintJson(table.ToJson());
    table.PrintAligned(std::cout);
    std::cout << "Device 1 is the default. Where a device doesn't report its speakers, name them with "
                 "'tessarune-config set SpeakerSetting', those of one device with '--device'.\n";
}

}  // namespace

void AddDevicesCommand(Program& program) {
    CommandLine* command = program.AddCommand("devices", "List the output devices.");
    command->SetFooter(examples);
    const auto isJson = std::make_shared<bool>(false);
    AddJsonFlag(*command, *isJson);
    command->OnUse([isJson] { Show(*isJson); });
}

}  // namespace tool
