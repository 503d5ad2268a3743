#include "tools/support/program.h"

#include <stdlib.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <utility>

#include "orb3core/store/configstore.h"
#include "tools/support/completion.h"
#include "tools/support/manpage.h"
#include "tools/support/nearest.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

using Page = std::string (*)(const Program&);

const std::vector<std::pair<std::string, Page>> pages{
    {"man", ManPage}, {"bash", BashCompletion}, {"zsh", ZshCompletion}, {"fish", FishCompletion}};

void PrintPage(const Program& program, const std::string& name) {
    for (const auto& [known, page] : pages)
        if (known == name) std::cout << page(program);
}

std::vector<std::string> PageNames() {
    std::vector<std::string> names;
    names.reserve(pages.size());
    for (const auto& [name, page] : pages)
        names.push_back(name);
    return names;
}

bool HasCommands(const CLI::App& program) {
    return !program.get_subcommands([](const CLI::App*) { return true; }).empty();
}

// The command that the words lead to.
const CLI::App& Deepest(const CLI::App& app) {
    const std::vector<CLI::App*> below = app.get_subcommands();
    return below.empty() ? app : Deepest(*below.front());
}

// "tessarune-config head add"
std::string PlaceOf(const CLI::App& command) {
    const CLI::App* const above = command.get_parent();
    return (above == nullptr ? "" : PlaceOf(*above) + " ") + command.get_name();
}

std::vector<std::string> CommandsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* below : command.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(below->get_name());
    return names;
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option :
         command.get_options([](const CLI::Option* o) { return !o->get_group().empty(); }))
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

// What a check finds is about the value, "--part: must be ...".
std::string Sentence(std::string text) {
    const std::size_t check = text.find(": must be ");
    if (check != std::string::npos) text.erase(check, 1);
    return text + (text.ends_with('.') || text.ends_with('?') ? "" : ".");
}

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

}  // namespace

std::vector<KnownFile> StoreFiles() {
    const std::string file = std::string(orb3::storeRoot) + "/store.conf";
    return {
        {"$XDG_CONFIG_HOME/" + file, "Your settings, as text. Without the variable in the folder ~/.config."},
        {"$XDG_CONFIG_HOME/" + std::string(orb3::storeRoot) + "/log.conf", "The log of all games, as text."},
        {"/etc/xdg/" + file,
         "The machine's settings: the first such file along $XDG_CONFIG_DIRS, else here, else in the folder "
         "etc/xdg of the installed tree."}};
}

Program::Program(const std::string& name, const std::string& description) : App(description, name) {
    set_version_flag("--version", name + " " + Version(), "Print the version and exit");
    add_option_function<std::string>("--make",
                                     [this](const std::string& page) {
                                         PrintPage(*this, page);
                                         throw CLI::Success();
                                     })
        ->check(CLI::IsMember(PageNames()))
        ->group("");
}

int Program::Run(int count, const char* const* arguments, const std::function<int()>& work) {
    try {
        parse(count, arguments);
        return work ? work() : 0;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return exit(error);
        return Explain(Fault(error, count <= 1), wrongUse);
    } catch (const WrongUse& failure) {
        return Explain(failure.what(), wrongUse);
    } catch (const std::exception& failure) {
        return Explain(failure.what(), failed);
    }
}

void Program::TakeOneOf(CLI::Option* option, const std::vector<std::string>& values) {
    const std::string description = "{" + Joined(values, ",") + "}";
    const auto fault = [values](const std::string& value) {
        if (std::ranges::find(values, value) != values.end()) return std::string();
        return "must be " + Alternatives(values) + ", not '" + value + "'." + DidYouMean(values, value);
    };
    option->check(CLI::Validator(fault, description));
    OfferFor(option, {values, {}, false});
}

Offer Program::OfferOf(const CLI::Option* option) const {
    const auto found = offers.find(option);
    return found == offers.end() ? Offer() : found->second;
}

// What is wrong with the command line, and where to look it up.
std::string Program::Fault(const CLI::ParseError& error, bool isEmpty) const {
    const CLI::App& command = Deepest(*this);
    const std::string place = PlaceOf(command);
    const std::string help = !HasCommands(command) ? " '" + place + " --help' lists the options."
                                                   : " '" + place + " --help' lists the commands, '" + place +
                                                         " COMMAND --help' describes one.";
    if (isEmpty && HasCommands(*this)) return "Name a command." + help;
    const std::vector<std::string> unknown = command.remaining();
    if (unknown.empty()) return Sentence(error.what()) + help;
    const std::string& word = unknown.front();
    if (word.starts_with('-'))
        return "There is no option '" + word + "'." + DidYouMean(OptionsOf(command), word) + help;
    if (HasCommands(command))
        return "There is no command '" + word + "'." + DidYouMean(CommandsOf(command), word) + help;
    return "Nothing can stand where '" + word + "' stands." + help;
}

int Program::Explain(const std::string& sentence, int status) const {
    Progress::Hide();
    std::cerr << get_name() << ": " << sentence << "\n";
    return status;
}

void HideRefusedPriority() {
    setenv("TESSARUNE_QUIET", "1", 1);  // slib/priority.h
}

std::string Version() {
    return TESSARUNE_VERSION;
}

}  // namespace tool
