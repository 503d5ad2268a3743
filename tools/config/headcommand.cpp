#include <chrono>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>

#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/entries.h"
#include "tools/config/steps.h"
#include "tools/config/warnings.h"
#include "tools/manage/headphonemethod.h"
#include "tools/manage/heads.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* examples = R"(Examples:
  tessarune-config head add my_ears.sofa --name Me --circumference 57cm
  tessarune-config head use Me
  tessarune-config head list
  tessarune-config head use measured     goes back to the head of the system's library
  tessarune-config head remove Me

A head is the measurement of somebody's ears (HRTF) in a SOFA file (AES69). Its decoders go into your own format
library; no rights over the system's are needed. The circumference is around the forehead, over the ears: with it the
delays between the ears become those of a head of that size.)";

struct Options {
    std::string file, name, circumference;
    bool isJson = false;
};

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

void Add(const Options& options) {
    const Clock::time_point begin = Clock::now();
    HeadFile head{options.file, options.name, 0};
    if (!options.circumference.empty())
        head.circumference = ParseCircumference(options.circumference, "--circumference");
    std::size_t directions = 0;
    {
        Progress progress("Designing decoders");
        directions = AddHead(head, StepsOf(progress));
    }
    std::cout << "The head '" << options.name << "' is in your library, made from " << directions
              << " directions in " << slib::FormatNumber(std::round(Seconds(begin) * 10) / 10)
              << " s. 'tessarune-config head use' puts it in force:\n  tessarune-config head use '"
              << options.name << "'\n";
}

void List(const Options& options) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const design::HeadChoice used = StoredChoice(ReadDocument());
    const Table table = Entries("HEAD", design::ListHeads(library.Librarian()), used.head);
    if (options.isJson) return PrintJson({{"heads", table.ToJson()}});
    table.PrintAligned(std::cout);
    if (used.head.empty())
        std::cout << "No layout for headphones is stored yet; a start chooses the head.\n";
    else
        std::cout << "* marks the head that headphones play by.\n";
}

void Use(const Options& options) {
    const HeadphoneChange change = UseHead(options.name);
    PrintNote(change.note);
    std::cout << "Headphones now play by the head '" << change.name << "'.\n";
}

void Remove(const Options& options) {
    const HeadphoneChange change = RemoveHead(options.name);
    PrintNote(change.note);
    std::cout << "The head '" << change.name << "' is removed.\n";
}

CommandLine* AddNamed(CommandLine& head, Options& options, const char* command, const char* description) {
    CommandLine* added = head.AddCommand(command, description);
    added->AddOption("NAME", options.name, "Its name")->Require();
    return added;
}

}  // namespace

void AddHeadCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* head = program.AddCommand("head", "Add heads, and choose the one that headphones play by.");
    head->SetFooter(examples);
    head->RequireCommand();
    CommandLine* add = head->AddCommand("add", "Make the decoders of a measured head.");
    add->AddOption("FILE", options->file, "The measurement, a SOFA file")->Require()->TakeExistingFile();
    add->AddOption("--name", options->name, "The head's name")->Require();
    add->AddOption("--circumference", options->circumference,
                   "Around your head, such as 57cm or 22.4in; left out, the delays stay as measured");
    add->OnUse([options] { Add(*options); });
    CommandLine* list = head->AddCommand("list", "List all heads.");
    AddJsonFlag(*list, options->isJson);
    list->OnUse([options] { List(*options); });
    AddNamed(*head, *options, "use", "Let headphones play by a head.")->OnUse([options] { Use(*options); });
    AddNamed(*head, *options, "remove", "Remove a head of your own.")->OnUse([options] { Remove(*options); });
}

}  // namespace tool
