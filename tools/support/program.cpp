#include "tools/support/program.h"

#include <stdlib.h>

#include <exception>
#include <iostream>
#include <utility>

#include "orb3core/store/configstore.h"
#include "tools/support/completion.h"
#include "tools/support/manpage.h"

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
        return Explain(Fault(error, count > 1 ? arguments[1] : nullptr), wrongUse);
    } catch (const WrongUse& failure) {
        return Explain(failure.what(), wrongUse);
    } catch (const std::exception& failure) {
        return Explain(failure.what(), failed);
    }
}

void Program::TakeOneOf(CLI::Option* option, const std::vector<std::string>& values) {
    option->check(CLI::IsMember(values));
    OfferFor(option, {values, {}, false});
}

Offer Program::OfferOf(const CLI::Option* option) const {
    const auto found = offers.find(option);
    return found == offers.end() ? Offer() : found->second;
}

// What is wrong with the command line, and where to look it up.
std::string Program::Fault(const CLI::ParseError& error, const char* command) const {
    const std::string help = "'" + get_name() + " --help' lists the ";
    if (!HasCommands(*this)) return error.what() + (". " + help) + "options.";
    const bool isUnknown = command != nullptr && command[0] != '-' && get_subcommands().empty();
    const std::string fault = command == nullptr ? "Name a command"
                              : isUnknown        ? std::string("There is no command '") + command + "'"
                                                 : error.what();
    return fault + ". " + help + "commands, '" + get_name() + " COMMAND --help' describes one.";
}

int Program::Explain(const std::string& sentence, int status) const {
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
