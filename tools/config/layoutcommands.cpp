#include <algorithm>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "tools/config/commands.h"
#include "tools/config/connection.h"
#include "tools/config/machine.h"
#include "tools/config/selecting.h"
#include "tools/config/storedvalues.h"
#include "tools/support/layoutnames.h"
#include "tools/support/nearest.h"
#include "tools/support/table.h"

namespace tool {
namespace {

using LayoutPtr = orb3::Configuration::LayoutPtr;

constexpr const char* layoutsExamples = R"(Examples:
  tessarune-config layouts)";
constexpr const char* selectExamples = R"(Examples:
  tessarune-config select Stereo
  tessarune-config select "Headphone Stereo" --method spherehead
  tessarune-config select Quad --device 2
  tessarune-config select "Surround 7.1.4" --device Interface16outputs
  tessarune-config select --auto         follow the system's speakers again)";

struct Choice : LayoutChoice {
    bool isAutomatic = false;
};

// Names for people, the way that decodes best first.
std::vector<std::string> MethodsFor(const orb3::fl::FormatLibrarian& librarian, const std::string& format) {
    std::vector<std::string> methods;
    for (const orb3::Decoder& decoder : orb3::FindDecoders(librarian, orb3::MakeFormatTag(format)))
        if (std::find(methods.begin(), methods.end(), decoder.conversion.method) == methods.end())
            methods.push_back(decoder.conversion.method);
    return methods;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

LayoutPtr FindStored(const orb3::Configuration& configuration, const std::string& name) {
    LayoutPtr found;
    for (const LayoutPtr& layout : configuration.layouts)
        if (layout->format == name) found = layout;
    return found;
}

// The last two columns are for programs alone.
std::vector<Cell> Row(const orb3::Configuration& configuration, const std::string& name, std::size_t speakers,
                      const Cell& methods) {
    const LayoutPtr stored = FindStored(configuration, name);
    const bool isSelected = stored && configuration.selectedName == name;
    return {{isSelected ? "*" : "", isSelected},
            name,
            speakers,
            methods,
            stored ? stored->pipeDevice + " by " + stored->method : "",
            {"", stored ? Json(stored->pipeDevice) : Json(nullptr)},
            {"", stored ? Json(stored->method) : Json(nullptr)}};
}

std::vector<orb3::fl::Format> LibraryLayouts(const orb3::fl::FormatLibrarian& librarian) {
    std::vector<orb3::fl::Format> layouts;
    for (std::uint32_t i = 0; i < librarian.getFormatCount(); ++i) {
        orb3::fl::Format format;
        librarian.getFormat(i, format);
        if (format.isLayout) layouts.push_back(format);
    }
    return layouts;
}

Table Layouts(const FormatLibrary& library, const orb3::Configuration& configuration) {
    Table table({{"", "is_selected"},
                 {"LAYOUT", "layout"},
                 {"CHANNELS", "channels"},
                 {"METHODS", "methods"},
                 {"CONNECTED TO", ""},
                 {"", "device"},
                 {"", "method"}});
    std::set<std::string> listed;
    for (const orb3::fl::Format& format : LibraryLayouts(library.Librarian())) {
        const std::vector<std::string> methods = MethodsFor(library.Librarian(), format.name);
        table.AddRow(Row(configuration, format.name, format.channelCount, {Joined(methods), methods}));
        listed.insert(format.name);
    }
    for (const LayoutPtr& layout : configuration.layouts)
        if (listed.insert(layout->format).second)
            table.AddRow(Row(configuration, layout->format, layout->speakers.size(),
                             {"(not in the format library)", Json::array()}));
    return table;
}

void List(bool isJson) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const orb3::Configuration configuration = ReadDocument();
    const Table table = Layouts(library, configuration);
    if (isJson)
        return PrintJson({{"library", library.path},
                          {"follows_system", configuration.useDirectSoundAutoselect},
                          {"layouts", table.ToJson()}});
    table.PrintAligned(std::cout);
    std::cout << "* marks the layout in force, which "
              << (configuration.useDirectSoundAutoselect ? "follows the system's speakers"
                                                         : "doesn't follow the system's speakers")
              << ". The library is '" << library.path << "'.\n";
}

// The name as the library spells it.
std::string FindName(const orb3::fl::FormatLibrarian& librarian, const std::string& name) {
    std::vector<std::string> names;
    for (const orb3::fl::Format& format : LibraryLayouts(librarian))
        names.push_back(format.name);
    if (const auto found = FindMeant(names, name)) return names[*found];
    throw WrongUse("The format library has no layout '" + name + "'." + DidYouMean(names, name) +
                   " 'tessarune-config layouts' lists what it has, and 'tessarune-library layout' adds "
                   "another one.");
}

std::string CheckMethod(const orb3::fl::FormatLibrarian& librarian, const LayoutChoice& choice) {
    const std::vector<std::string> methods = MethodsFor(librarian, choice.name);
    if (std::find(methods.begin(), methods.end(), choice.method) != methods.end()) return choice.method;
    throw WrongUse("The method for '" + choice.name + "' must be one of " + Joined(methods) + ", not '" +
                   choice.method + "'." + DidYouMean(methods, choice.method));
}

void CheckChannels(const std::string& name, std::size_t needed, audiopipe::Device& device) {
    const std::uint32_t available = device.GetPlaybackChannelCount();
    if (needed <= available) return;
    throw WrongUse("'" + name + "' needs " + std::to_string(needed) + " outputs, but '" + device.id +
                   "' has " + std::to_string(available) +
                   ". Choose another device with --device ('tessarune-config devices' lists them), or name "
                   "your speakers with 'tessarune-config set SpeakerSetting'.");
}

std::size_t ChannelsOf(const orb3::fl::FormatLibrarian& librarian, const std::string& name) {
    orb3::fl::Format format;
    librarian.getFormat(librarian.findFormat(orb3::MakeFormatTag(name)), format);
    return format.channelCount;
}

// What a person connected and set stays; places of speakers come from the library, which decodes for them.
void KeepConnections(const orb3::spk::Layout& stored, orb3::spk::Layout& fresh) {
    if (stored.channels.size() != fresh.channels.size()) return;
    fresh.channels = stored.channels;
    fresh.pipeFramework = stored.pipeFramework;
    fresh.pipeDevice = stored.pipeDevice;
    fresh.gain = stored.gain;
}

orb3::spk::Layout MakeLayout(const orb3::fl::FormatLibrarian& librarian, const LayoutChoice& choice,
                             const LayoutPtr& stored, const orb3::Frameworks& frameworks) {
    const bool isKept = stored && choice.device.empty();
    const Output output = isKept ? Output() : FindOutput(frameworks, choice.device);
    if (output.device) CheckChannels(choice.name, ChannelsOf(librarian, choice.name), *output.device);
    orb3::spk::Layout fresh;
    orb3::ConfigureLayout(librarian, fresh, output.framework.Get(), output.device.Get(), choice.name);
    if (isKept) KeepConnections(*stored, fresh);
    if (output.device) ConnectTo(*output.device, fresh);
    const std::vector<std::string> methods = MethodsFor(librarian, choice.name);
    if (stored && std::find(methods.begin(), methods.end(), stored->method) != methods.end())
        fresh.method = stored->method;
    if (!choice.method.empty()) fresh.method = CheckMethod(librarian, choice);
    return fresh;
}

void SelectAutomatically() {
    ChangeDocument([](orb3::Configuration& c) { c.useDirectSoundAutoselect = true; });
    std::cout
        << "The layout now follows the system's speakers. 'tessarune-config check' shows which it is.\n";
}

void Choose(const Choice& choice) {
    if (choice.isAutomatic) return SelectAutomatically();
    if (!choice.name.empty()) return SelectLayout(choice);
    throw WrongUse("Name a layout ('tessarune-config layouts' lists them), or give --auto.");
}

}  // namespace

void SelectLayout(LayoutChoice choice) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    choice.name = FindName(library.Librarian(), choice.name);
    orb3::spk::Layout fresh;
    ChangeDocument([&](orb3::Configuration& configuration) {
        LayoutPtr layout = FindStored(configuration, choice.name);
        fresh = MakeLayout(library.Librarian(), choice, layout, frameworks);
        if (!layout) layout = configuration.layouts.emplace_back(new orb3::spk::Layout);
        *layout = fresh;
        configuration.selectedName = choice.name;
        configuration.useDirectSoundAutoselect = false;
    });
    std::cout << "'" << fresh.format << "' on '" << fresh.pipeDevice << "' by the method '" << fresh.method
              << "' is now in force, whatever the system's speakers are. 'tessarune-config select --auto' "
                 "follows them again.\n";
    WarnOfBassOutputs(fresh);
}

void CheckOutputs(const LayoutChoice& choice, std::size_t speakers) {
    const orb3::Configuration configuration = ReadDocument();
    for (const LayoutPtr& layout : configuration.layouts)
        if (orb3::MakeFormatTag(layout->format) == orb3::MakeFormatTag(choice.name) &&
            layout->channels.size() == speakers && choice.device.empty())
            return;
    ErrorsToTerminal log;
    CheckChannels(choice.name, speakers, *FindOutput(MakeFrameworks(log), choice.device).device);
}

void AddLayoutCommands(Program& program) {
    CommandLine* list = program.AddCommand("layouts", "List the speaker layouts of the format library.");
    list->SetFooter(layoutsExamples);
    const auto isJson = std::make_shared<bool>(false);
    AddJsonFlag(*list, *isJson);
    list->OnUse([isJson] { List(*isJson); });

    const auto choice = std::make_shared<Choice>();
    CommandLine* select = program.AddCommand("select", "Put a layout in force.");
    select->SetFooter(selectExamples);
    Option* name = select->AddOption("LAYOUT", choice->name, "Its name");
    program.OfferFor(name, {StandardLayoutNames(), {}, false});
    select->AddOption("--device", choice->device, "Connect it to this device: its id, name or number");
    select->AddOption("--method", choice->method, "Decode by this method");
    select->AddFlag("--auto", choice->isAutomatic, "Let the system's speakers choose")->Exclude(name);
    select->OnUse([choice] { Choose(*choice); });
}

}  // namespace tool
