#include "tools/support/commandtree.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace tool {
namespace {

// "TEXT" of "TEXT:FILE" and the like, which add what is checked.
std::string LabelOf(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) return {};
    if (option.get_positional()) return option.get_name(true, false);
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

Argument ArgumentOf(const CLI::Option& option, const Program& program) {
    Argument argument{{},
                      LabelOf(option),
                      option.get_description(),
                      option.get_required(),
                      option.get_items_expected_max() > 1,
                      program.OfferOf(option)};
    if (option.get_positional()) return argument;
    for (const std::string& name : option.get_snames())
        argument.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        argument.names.push_back("--" + name);
    if (!option.get_default_str().empty())
        argument.description += " (default " + option.get_default_str() + ")";
    return argument;
}

Command CommandOf(const CLI::App& app, const Program& program, const std::string& place) {
    Command command{app.get_name(),
                    place,
                    app.get_description(),
                    app.get_footer(),
                    {},
                    {},
                    {},
                    app.get_require_subcommand_min() > 0};
    for (const CLI::Option* option :
         app.get_options([](const CLI::Option* o) { return !o->get_group().empty(); }))
        (option->get_positional() ? command.words : command.options).push_back(ArgumentOf(*option, program));
    for (const CLI::App* below : app.get_subcommands([](const CLI::App*) { return true; }))
        command.commands.push_back(CommandOf(*below, program, place + " " + below->get_name()));
    return command;
}

}  // namespace

Command TreeOf(const Program& program) {
    return CommandOf(*program.app, program, "");
}

std::vector<const Command*> AllOf(const Command& command) {
    std::vector<const Command*> all{&command};
    for (const Command& below : command.commands)
        for (const Command* one : AllOf(below))
            all.push_back(one);
    return all;
}

std::string Identifier(const std::string& name) {
    std::string identifier = name;
    std::replace(identifier.begin(), identifier.end(), '-', '_');
    return identifier;
}

}  // namespace tool
