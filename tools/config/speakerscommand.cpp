#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "library/roompreview.h"
#include "slib/files.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/selection.h"
#include "tools/config/steps.h"
#include "tools/config/warnings.h"
#include "tools/manage/connection.h"
#include "tools/manage/room.h"
#include "tools/manage/roomstore.h"
#include "tools/manage/speakers.h"
#include "tools/manage/storedvalues.h"
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
  tessarune-config speakers room attic.txt --preview
  tessarune-config speakers room attic.txt --apply
  tessarune-config speakers remove Attic

Outputs and gains change at once. Places and distances need a decoder of their own: 'room' writes them to
a file, from which 'room FILE --apply' makes the decoder in your own format library and puts it in force.)";

struct Options {
    std::string layout, speaker, output, device, file, name;
    std::string gain;
    bool isForced = false, isApplied = false, isPreviewed = false;
    std::vector<std::string> places;  // four for each speaker
    double distance = 1;
    bool isJson = false;
};

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
    PrintWarnings(BassWarnings(layout));
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
    ChangeSpeaker({options.layout, options.speaker, options.output, gain},
                  options.isForced ? Force::Yes : Force::No);
    Show(options);
}

void ConnectAll(const Options& options) {
    ConnectAllSpeakers(options.layout, options.device);
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
    const design::SpeakerLayout room = ReadRoom(file);
    {
        Progress progress("Designing the decoders of '" + room.name + "'");
        StoreRoom(room, StepsOf(progress));
    }
    std::cout << "'" << room.name << "' with " << room.speakers.size()
              << " speakers is in your library. 'tessarune-config select' puts it in force:\n"
                 "  tessarune-config select '"
              << room.name << "'\n";
}

void Remove(const std::string& name) {
    RemoveRoom(name);
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

void Apply(const Options& options) {
    RoomInUse use{ReadRoom(options.file), options.device, {}};
    if (!options.name.empty()) use.room.name = options.name;
    Layout layout;
    {
        Progress progress("Designing the decoders of '" + use.room.name + "'");
        layout = ApplyRoom(use, StepsOf(progress));
    }
    PrintSelection(layout);
}

void AddPreview(const std::string& plane, const std::vector<design::PreviewPoint>& points, Table& table) {
    for (const design::PreviewPoint& point : points)
        table.AddRow({plane, Figure(point.angle), Number(point.level, 1), Number(point.sharpness, 2),
                      Number(point.error, 1)});
}

// What a decoder does that isn't fitted yet.
void Preview(const Options& options) {
    constexpr unsigned step = 15;  // degrees
    const auto order = static_cast<unsigned>(PeekDocument().goalConfig.order);
    const design::RoomPreview preview = design::PreviewRoom(ReadRoom(options.file), order, step);
    Table table({{"PLANE", "plane"},
                 {"ANGLE", "angle", true},
                 {"LEVEL", "level", true},
                 {"SHARPNESS", "sharpness", true},
                 {"ERROR", "error", true}});
    AddPreview("horizontal", preview.horizontal, table);
    AddPreview("vertical", preview.vertical, table);
    if (options.isJson) return PrintJson({{"order", order}, {"preview", table.ToJson()}});
    table.PrintAligned(std::cout);
    std::cout << "Of order " << order
              << ", before the decoder is fitted, so the design is better than this. Angles are to the left "
                 "on the horizon, and upwards from ahead. The level is in dB; the sharpness is 1 for a "
                 "source that plays by one speaker, and 0 for one from all around; the error is how far off "
                 "it sounds, in degrees.\n";
}

// A file that was measured elsewhere, or edited, stays as it is.
void MakeRoom(const Options& options) {
    if (options.isPreviewed) return Preview(options);
    const bool isThere = std::filesystem::exists(options.file);
    if (!options.isApplied || !isThere || !options.places.empty()) WriteRoom(options);
    if (options.isApplied) Apply(options);
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
    Option* apply = room->AddFlag("--apply", options->isApplied,
                                  "Make the decoder of the room in FILE, and put it in force");
    room->AddFlag("--preview", options->isPreviewed,
                  "Print how the room in FILE would sound in each direction; nothing is made")
        ->Exclude(apply);
    AddJsonFlag(*room, options->isJson);
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
    remove->OnUse([options] { Remove(options->name); });
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
