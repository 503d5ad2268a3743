#include <iostream>
#include <memory>
#include <string>

#include "tools/config/commands.h"
#include "tools/config/entries.h"
#include "tools/config/warnings.h"
#include "tools/manage/headphonemethod.h"
#include "tools/manage/heads.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config headphones add hd600.txt --name HD600
  tessarune-config headphones use HD600
  tessarune-config headphones list
  tessarune-config headphones off
  tessarune-config headphones remove HD600

The file is a text of parametric filters, a line for each:
  Preamp: -6.2 dB
  Filter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0.70
  Filter 2: ON LSC Fc 80 Hz Gain -3 dB Q 0.71
or an impulse response in a WAV file of one or two channels. Peaks are PK, shelves LS, LSC, HS and HSC, passes LP, LPQ,
HP and HPQ, notches NO. The loudness stays as it is, whatever the preamp. It goes with every head.)";

struct Options {
    std::string file, name;
    bool isJson = false;
};

void Add(const Options& options) {
    AddHeadphones(options.file, options.name);
    std::cout << "The headphones '" << options.name
              << "' are in your library. 'tessarune-config headphones use' puts them in force:\n  "
                 "tessarune-config headphones use '"
              << options.name << "'\n";
}

void List(const Options& options) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const design::HeadChoice used = StoredChoice(ReadDocument());
    const auto headphones = design::ListHeadphones(library.Librarian());
    const Table table = Entries("HEADPHONES", headphones, used.headphones);
    if (options.isJson) return PrintJson({{"headphones", table.ToJson()}});
    if (headphones.empty()) {
        std::cout << "There are no headphones yet. 'tessarune-config headphones add' adds some.\n";
        return;
    }
    table.PrintAligned(std::cout);
    if (used.headphones.empty())
        std::cout << "None of them is in use.\n";
    else
        std::cout << "* marks those that are in use.\n";
}

void Use(const Options& options) {
    const HeadphoneChange change = UseHeadphones(options.name);
    PrintNote(change.note);
    std::cout << "The sound is now evened for the headphones '" << change.name << "'.\n";
}

void TurnOff() {
    PrintNote(SwitchHeadphonesOff());
    std::cout << "The sound is no longer evened for any headphones.\n";
}

void Remove(const Options& options) {
    const HeadphoneChange change = RemoveHeadphones(options.name);
    PrintNote(change.note);
    std::cout << "The headphones '" << change.name << "' are removed.\n";
}

}  // namespace

void AddHeadphonesCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* headphones = program.AddCommand("headphones", "Even the sound of your headphones.");
    headphones->SetFooter(examples);
    headphones->RequireCommand();
    CommandLine* add = headphones->AddCommand("add", "Add a pair of headphones by its correction.");
    add->AddOption("FILE", options->file, "The filters, a text, or an impulse response, .wav")
        ->Require()
        ->TakeExistingFile();
    add->AddOption("--name", options->name, "The name of the headphones")->Require();
    add->OnUse([options] { Add(*options); });
    CommandLine* list = headphones->AddCommand("list", "List all headphones.");
    AddJsonFlag(*list, options->isJson);
    list->OnUse([options] { List(*options); });
    CommandLine* use = headphones->AddCommand("use", "Even the sound for these headphones.");
    use->AddOption("NAME", options->name, "Their name")->Require();
    use->OnUse([options] { Use(*options); });
    headphones->AddCommand("off", "Leave the sound as it is.")->OnUse([] { TurnOff(); });
    CommandLine* remove = headphones->AddCommand("remove", "Remove a pair of headphones.");
    remove->AddOption("NAME", options->name, "Their name")->Require();
    remove->OnUse([options] { Remove(*options); });
}

}  // namespace tool
