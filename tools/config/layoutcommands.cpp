#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/config/commands.h"
#include "tools/config/selection.h"
#include "tools/manage/layouts.h"
#include "tools/manage/selecting.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/layoutnames.h"
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

// The last two columns are for programs alone.
std::vector<Cell> Row(const LayoutEntry& layout) {
    const LayoutPtr& stored = layout.stored;
    return {{layout.isSelected ? "*" : "", layout.isSelected},
            layout.name,
            layout.channels,
            {layout.isInLibrary ? Listed(layout.methods) : "(not in the format library)", layout.methods},
            stored ? stored->pipeDevice + " by " + stored->method : "",
            {"", stored ? Json(stored->pipeDevice) : Json(nullptr)},
            {"", stored ? Json(stored->method) : Json(nullptr)}};
}

Table Layouts(const FormatLibrary& library, const orb3::Configuration& configuration) {
    Table table({{"", "is_selected"},
                 {"LAYOUT", "layout"},
                 {"CHANNELS", "channels"},
                 {"METHODS", "methods"},
                 {"CONNECTED TO", ""},
                 {"", "device"},
                 {"", "method"}});
    for (const LayoutEntry& layout : ListLayouts(library, configuration))
        table.AddRow(Row(layout));
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

void SelectAutomatically() {
    FollowSystem();
    std::cout
        << "The layout now follows the system's speakers. 'tessarune-config check' shows which it is.\n";
}

void Choose(const Choice& choice) {
    if (choice.isAutomatic) return SelectAutomatically();
    if (!choice.name.empty()) return PrintSelection(SelectLayout(choice));
    throw WrongUse("Name a layout ('tessarune-config layouts' lists them), or give --auto.");
}

}  // namespace

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
