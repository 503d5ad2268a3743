#include <iostream>
#include <string>

#include "tools/config/commands.h"
#include "tools/config/steps.h"
#include "tools/config/warnings.h"
#include "tools/manage/history.h"
#include "tools/manage/undo.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config set Order 4
  tessarune-config undo              Order is what it was
  tessarune-config redo              and is 4 again

The last 20 changes can be taken back, those of the page in the browser too. What a game or somebody else has
changed since stays as it is. What you have added to your own library, or removed from it, isn't part of it.)";

void Say(const TakenBack& taken, const char* how) {
    std::cout << how << ": " << taken.what << ".\n";
    PrintWarnings(taken.warnings);
}

TakenBack Run(TakenBack (*work)(const StepReport&)) {
    Progress progress("Designing decoders");
    return work(StepsOf(progress));
}

}  // namespace

void AddUndoCommands(Program& program) {
    CommandLine* undo = program.AddCommand("undo", "Take back the last change of the settings.");
    undo->OnUse([] { Say(Run(Undo), "Taken back"); });
    CommandLine* redo = program.AddCommand("redo", "Make the change again that was taken back last.");
    redo->OnUse([] { Say(Run(Redo), "Made again"); });
    for (CommandLine* command : {undo, redo})
        command->SetFooter(examples);
}

}  // namespace tool
