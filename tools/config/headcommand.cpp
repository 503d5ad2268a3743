#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>

#include "library/sofachild.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/headphonemethod.h"
#include "tools/config/machine.h"
#include "tools/config/storedvalues.h"
#include "tools/support/nearest.h"
#include "tools/support/progress.h"

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

constexpr double leastCircumference = 0.35, greatestCircumference = 0.8;  // metres

struct Options {
    std::string file, name, circumference;
    bool isJson = false;
};

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// In metres.
double Length(const std::string& given) {
    const std::string text = WithDecimalPoint(given);
    const std::size_t end = text.find_last_of("0123456789.") + 1;
    const std::string unit = text.substr(std::min(text.find_first_not_of(' ', end), text.size()));
    const double scale = unit == "cm" ? 0.01 : unit == "mm" ? 0.001 : unit == "in" ? 0.0254 : 0;
    double number = 0;
    const bool isNumber = ReadNumber(text.substr(0, end), number);
    const double metres = number * scale;
    if (isNumber && metres >= leastCircumference && metres <= greatestCircumference) return metres;
    throw WrongUse(
        "--circumference must be that of a head with its unit, such as 57cm, 570mm or 22.4in, not '" + text +
        "'.");
}

void Add(const Options& options) {
    const Clock::time_point begin = Clock::now();
    design::AddedHead head;
    if (!options.circumference.empty()) head.circumference = Length(options.circumference);
    {
        Progress progress("Designing decoders");
        ChangeOwnLibrary([&](orb3::fl::FormatRegistrar& library) {
            design::NewHeadTag(options.name, library);
            head.impulses = design::ReadSofaInChild(options.file);
            head.report = [&](unsigned order) {
                progress.Step(order, design::greatestOrder, "order " + std::to_string(order));
            };
            design::AddOwnHead(head, options.name, library);
        });
    }
    std::cout << "The head '" << options.name << "' is in your library, made from "
              << head.impulses.directions.size() << " directions in "
              << slib::FormatNumber(std::round(Seconds(begin) * 10) / 10)
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
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto heads = design::ListHeads(library.Librarian());
    const design::OwnEntry& head = FindEntry(heads, options.name, "head");
    ChangeChoice(
        library.Librarian(), [&](design::HeadChoice& choice) { choice.head = head.tag; }, true);
    std::cout << "Headphones now play by the head '" << head.name << "'.\n";
}

void Remove(const Options& options) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto heads = design::ListHeads(library.Librarian());
    const design::OwnEntry& head = FindEntry(heads, options.name, "head");
    if (!head.isOwn)
        throw WrongUse("'" + head.name + "' is a head of the system's library, and can't be removed.");
    if (StoredChoice(ReadDocument()).head == head.tag)
        ChangeChoice(
            library.Librarian(),
            [&](design::HeadChoice& choice) {
                if (choice.head == head.tag) choice.head = SystemsHead(library.Librarian());
            },
            false);
    ChangeOwnLibrary([&](orb3::fl::FormatRegistrar& own) { design::RemoveOwn(head.tag, own); });
    std::cout << "The head '" << head.name << "' is removed.\n";
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
