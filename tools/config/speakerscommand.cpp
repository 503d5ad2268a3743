#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "library/layoutreader.h"
#include "library/ownlibrary.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/files.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/connection.h"
#include "tools/config/machine.h"
#include "tools/config/room.h"
#include "tools/config/roomstore.h"
#include "tools/config/selecting.h"
#include "tools/config/storedvalues.h"
#include "tools/support/nearest.h"
#include "tools/support/table.h"

namespace tool {
namespace {

using orb3::spk::Layout;

constexpr const char* examples = R"(Examples:
  tessarune-config speakers
  tessarune-config speakers set "Front Left" --output "Back Left"     swaps the two
  tessarune-config speakers set 2 --gain 0.8
  tessarune-config speakers connect 2
  tessarune-config speakers room attic.txt --name Attic --place 1 28 0 2.4 --place 2 -31 0 2.1
  tessarune-config speakers room attic.txt --apply
  tessarune-config speakers remove Attic

Outputs and gains change at once. Places and distances need a decoder of their own: 'room' writes them to
a file, from which 'room FILE --apply' makes the decoder in your own format library and puts it in force.)";

struct Options {
    std::string layout, speaker, output, device, file, name;
    std::string gain;
    bool isForced = false, isApplied = false;
    std::vector<std::string> places;  // four for each speaker
    double distance = 1;
    bool isJson = false;
};

const Layout& FindLayout(const orb3::Configuration& configuration, const std::string& name) {
    const orb3::Configuration::LayoutPtr selected = orb3::FindSelectedLayout(configuration);
    if (name.empty() && selected) return *selected;
    for (auto layout = configuration.layouts.rbegin(); layout != configuration.layouts.rend(); ++layout)
        if (!name.empty() && orb3::MakeFormatTag((*layout)->format) == orb3::MakeFormatTag(name))
            return **layout;
    throw WrongUse(
        (name.empty() ? "No layout is in force yet." : "There is no stored layout '" + name + "'.") +
        " 'tessarune-config select LAYOUT' makes one.");
}

// The layout as an object to change; `configuration` isn't const.
Layout& FindLayoutToChange(orb3::Configuration& configuration, const std::string& name) {
    const Layout& found = FindLayout(configuration, name);
    for (const auto& layout : configuration.layouts)
        if (layout.Get() == &found) return *layout;
    slib::ThrowUnreachable();
}

void CheckIsWhole(const Layout& layout) {
    if (layout.channels.size() == layout.speakers.size()) return;
    throw slib::BadDataException("The stored layout '" + layout.format +
                                 "' has different numbers of speakers and outputs. 'tessarune-config select "
                                 "LAYOUT' makes it anew.");
}

Cell Figure(double value, int digits = 6) {
    return {slib::FormatNumber(value, digits), value};
}

Table Speakers(const Layout& layout) {
    Table table({{"", "number"},
                 {"SPEAKER", "speaker"},
                 {"AZIMUTH", "azimuth"},
                 {"ELEVATION", "elevation"},
                 {"DISTANCE", "distance"},
                 {"TYPE", "type"},
                 {"ROLE", "role"},
                 {"OUTPUT", "output"},
                 {"GAIN", "gain"}});
    for (std::size_t i = 0; i < layout.speakers.size(); ++i) {
        const orb3::spk::Speaker& speaker = layout.speakers[i];
        const Place place = PlaceOf(speaker.location);
        table.AddRow({i + 1, speaker.label, Figure(place.azimuth, 4), Figure(place.elevation, 4),
                      Figure(place.distance, 4), orb3::spk::GetSpeakerTypeText(speaker.type),
                      orb3::spk::GetRoleText(speaker.role), layout.channels[i].pipePlaybackChannel,
                      Figure(layout.channels[i].gain)});
    }
    return table;
}

void Show(const Options& options) {
    const orb3::Configuration configuration = ReadDocument();
    const Layout& layout = FindLayout(configuration, options.layout);
    CheckIsWhole(layout);
    const Table table = Speakers(layout);
    if (options.isJson)
        return PrintJson({{"layout", layout.format},
                          {"device", layout.pipeDevice},
                          {"gain", layout.gain},
                          {"speakers", table.ToJson()}});
    std::cout << layout.format << " on '" << layout.pipeDevice << "', gain "
              << slib::FormatNumber(layout.gain) << "\n";
    table.PrintAligned(std::cout, "  ");
    std::cout << "Angles are in degrees, positive to the left and upwards. Only the ratios of the distances "
                 "count.\n";
    WarnOfBassOutputs(layout);
}

// The outputs of the layout's device, where that is there.
std::vector<std::string> OutputsOf(const Layout& layout, const orb3::Frameworks& frameworks) {
    if (layout.pipeDevice.empty())
        throw WrongUse(
            "'" + layout.format +
            "' isn't connected to a device yet. Connect it: tessarune-config speakers connect DEVICE.");
    const Output output = FindOutput(frameworks, layout.pipeDevice);
    return orb3::PlaybackChannelNames(*output.device);
}

std::string FindOutputName(const std::vector<std::string>& outputs, const std::string& name) {
    if (const auto found = orb3::FindChannel(outputs, name)) return outputs[*found];
    if (const auto found = FindMeant(outputs, name)) return outputs[*found];
    std::string known;
    for (const std::string& output : outputs)
        known += (known.empty() ? "" : ", ") + output;
    throw WrongUse("The output must be one of " + known + ", not '" + name + "'." +
                   DidYouMean(outputs, name));
}

// The speaker that had the output gets the one that is given up, for one output can't play two speakers.
void Connect(Layout& layout, std::size_t speaker, const std::string& output) {
    std::string& own = layout.channels[speaker].pipePlaybackChannel;
    for (orb3::spk::Channel& channel : layout.channels)
        if (channel.pipePlaybackChannel == output) channel.pipePlaybackChannel = own;
    own = output;
}

void Set(const Options& options) {
    if (options.output.empty() && options.gain.empty())
        throw WrongUse(
            "Name what to change, with --output or --gain. For places and distances see "
            "'tessarune-config speakers room --help'.");
    const std::optional<double> gain = ParseGain(options.gain);
    if (!options.gain.empty() && (!gain || *gain < 0))
        throw WrongUse("--gain must be a number of 0 or more, or of decibels as -6dB, not '" + options.gain +
                       "'.");
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    ChangeDocument(
        [&](orb3::Configuration& configuration) {
            Layout& layout = FindLayoutToChange(configuration, options.layout);
            CheckIsWhole(layout);
            const std::size_t speaker = FindSpeaker(layout, options.speaker);
            if (gain) layout.channels[speaker].gain = *gain;
            if (!options.output.empty())
                Connect(layout, speaker, FindOutputName(OutputsOf(layout, frameworks), options.output));
        },
        options.isForced ? Force::Yes : Force::No);
    Show(options);
}

void ConnectAll(const Options& options) {
    ErrorsToTerminal log;
    const Output output = FindOutput(MakeFrameworks(log), options.device);
    const std::uint32_t available = output.device->GetPlaybackChannelCount();
    ChangeDocument([&](orb3::Configuration& configuration) {
        Layout& layout = FindLayoutToChange(configuration, options.layout);
        if (layout.channels.size() > available)
            throw WrongUse("'" + layout.format + "' needs " + std::to_string(layout.channels.size()) +
                           " outputs, but '" + output.device->id + "' has " + std::to_string(available) +
                           ". 'tessarune-config devices' lists the devices.");
        layout.pipeFramework = output.framework->GetId();
        layout.pipeDevice = output.device->id;
        CheckIsWhole(layout);
        ConnectTo(*output.device, layout);
    });
    Show(options);
}

// In the ranges of the file that the place goes into.
double NumberWithin(const std::string& text, double least, double greatest) {
    double number = 0;
    if (ReadNumber(WithDecimalPoint(text), number) && number >= least && number <= greatest) return number;
    throw WrongUse(
        "A place must be SPEAKER AZIMUTH ELEVATION DISTANCE, with numbers in degrees (azimuth -360 to 360, "
        "elevation -90 to 90) and metres (0.1 to 100), not '" +
        text + "'.");
}

std::vector<MeasuredSpeaker> Measured(const Layout& layout, const std::vector<std::string>& words) {
    std::vector<MeasuredSpeaker> measured;
    for (std::size_t i = 0; i + 3 < words.size(); i += 4)
        measured.push_back({FindSpeaker(layout, words[i]),
                            {NumberWithin(words[i + 1], -360, 360), NumberWithin(words[i + 2], -90, 90),
                             NumberWithin(words[i + 3], 0.1, 100)}});
    return measured;
}

void AddRoom(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) throw slib::OperatingSystemErrnoException("Unable to open '" + file + "'.");
    const design::SpeakerLayout room = design::ReadLayout(stream, file);
    StoreRoom(room);
    std::cout << "'" << room.name << "' with " << room.speakers.size()
              << " speakers is in your library. 'tessarune-config select' puts it in force:\n"
                 "  tessarune-config select '"
              << room.name << "'\n";
}

// Of the user's own library; the settings keep what they have of it.
void RemoveRoom(const std::string& name) {
    ChangeOwnLibrary([&](orb3::fl::LayeredLibrarian& library) {
        if (!design::RemoveOwnRoom(orb3::MakeFormatTag(name), library))
            throw WrongUse("Your library has no room '" + name + "'. 'tessarune-config layouts' lists all.");
    });
    std::cout << "The room '" << name << "' is removed.\n";
}

void WriteRoom(const Options& options) {
    if (options.name.empty())
        throw WrongUse("Name the new layout with --name NAME, or give --apply with a file that exists.");
    const orb3::Configuration configuration = ReadDocument();
    const Layout& layout = FindLayout(configuration, options.layout);
    slib::writeTextFile(options.file,
                        RoomText(layout, options.name, Measured(layout, options.places), options.distance));
    if (options.isApplied) return;
    std::cout << "The room is stored in '" << options.file
              << "'. Write what you measured into it, then make its decoder and put it in force:\n"
              << "  tessarune-config speakers room '" << options.file << "' --apply\n";
}

// Gains that a file has, which the library doesn't hold.
void SetGains(const std::string& name, const design::SpeakerLayout& room) {
    if (std::ranges::all_of(room.speakers, [](const auto& speaker) { return speaker.gain == 1; })) return;
    ChangeDocument(
        [&](orb3::Configuration& configuration) {
            Layout& layout = FindLayoutToChange(configuration, name);
            for (std::size_t i = 0; i < std::min(layout.channels.size(), room.speakers.size()); ++i)
                layout.channels[i].gain = room.speakers[i].gain;
        },
        Force::Yes);
}

void ApplyRoom(const Options& options) {
    std::ifstream stream(options.file);
    if (!stream) throw slib::OperatingSystemErrnoException("Unable to open '" + options.file + "'.");
    design::SpeakerLayout room = design::ReadLayout(stream, options.file);
    if (!options.name.empty()) room.name = options.name;
    const LayoutChoice choice{room.name, options.device, ""};
    CheckOutputs(choice, room.speakers.size());
    StoreRoom(room);
    SelectLayout(choice);
    SetGains(room.name, room);
}

// A file that was measured elsewhere, or edited, stays as it is.
void MakeRoom(const Options& options) {
    const bool isThere = std::filesystem::exists(options.file);
    if (!options.isApplied || !isThere || !options.places.empty()) WriteRoom(options);
    if (options.isApplied) ApplyRoom(options);
}

void AddSetCommand(CommandLine& speakers, const std::shared_ptr<Options>& options) {
    CommandLine* set = speakers.AddCommand("set", "Change a speaker's output or gain.");
    set->AddOption("SPEAKER", options->speaker, "Its name, or its number in the list")->Require();
    set->AddOption("--output", options->output, "The device's output that plays it");
    set->AddOption("--gain", options->gain, "Linear, or in decibels: 0.5, -6dB");
    set->AddFlag("--force", options->isForced, "Even if it would spoil the sound");
    set->OnUse([options] { Set(*options); });
}

void AddConnectCommand(CommandLine& speakers, const std::shared_ptr<Options>& options) {
    CommandLine* connect = speakers.AddCommand(
        "connect", "Connect all speakers to another device, by their names and roles, the rest in order.");
    connect->AddOption("DEVICE", options->device, "Its id, name or number")->Require();
    connect->OnUse([options] { ConnectAll(*options); });
}

void AddRoomCommand(CommandLine& speakers, const std::shared_ptr<Options>& options) {
    CommandLine* room = speakers.AddCommand(
        "room", "Write the places of the speakers to a file, or make a decoder from one.");
    room->AddOption("FILE", options->file, "The text to edit; with --apply JSON too")->Require();
    room->AddOption("--name", options->name, "The new layout's name");
    room->AddFlag("--apply", options->isApplied, "Make the decoder of the room in FILE, and put it in force");
    room->AddOption("--device", options->device, "With --apply: connect it to this device");
    room->AddOption("--place", options->places, "SPEAKER AZIMUTH ELEVATION DISTANCE, as often as needed")
        ->TakeGroupsOf(4);
    room->AddOption("--distance", options->distance, "Metres to the furthest of the speakers without --place")
        ->ReadBy(WithDecimalPoint)
        ->TakeRange(0.1, 100.0)
        ->ShowDefault();
    room->OnUse([options] { MakeRoom(*options); });
    CommandLine* add = speakers.AddCommand("add", "Make the decoders of a room, in your own library.");
    add->AddOption("FILE", options->file, "The description of its speakers")->Require()->TakeExistingFile();
    add->OnUse([options] { AddRoom(options->file); });
    CommandLine* remove = speakers.AddCommand("remove", "Remove a room from your own library.");
    remove->AddOption("NAME", options->name, "Its name")->Require();
    remove->OnUse([options] { RemoveRoom(options->name); });
}

}  // namespace

void AddSpeakersCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* speakers =
        program.AddCommand("speakers", "Show and change the speakers of a stored layout.");
    speakers->SetFooter(examples);
    speakers->AddOption("--layout", options->layout, "This layout in place of the one in force");
    AddJsonFlag(*speakers, options->isJson);
    speakers->AllowOneCommand();
    AddSetCommand(*speakers, options);
    AddConnectCommand(*speakers, options);
    AddRoomCommand(*speakers, options);
    speakers->OnUse([speakers, options] {
        if (speakers->IsLast()) Show(*options);
    });
}

}  // namespace tool
