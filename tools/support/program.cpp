#include "tools/support/program.h"

#include <stdlib.h>

#include <CLI/CLI.hpp>
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

// What is wrong with the command line, and where to look it up.
std::string FaultOf(const CLI::App& program, const CLI::ParseError& error, bool isEmpty) {
    const CLI::App& command = Deepest(program);
    const std::string place = PlaceOf(command);
    const std::string help = !HasCommands(command) ? " '" + place + " --help' lists the options."
                                                   : " '" + place + " --help' lists the commands, '" + place +
                                                         " COMMAND --help' describes one.";
    if (isEmpty && HasCommands(program)) return "Name a command." + help;
    const std::vector<std::string> unknown = command.remaining();
    if (unknown.empty()) return Sentence(error.what()) + help;
    const std::string& word = unknown.front();
    if (word.starts_with('-'))
        return "There is no option '" + word + "'." + DidYouMean(OptionsOf(command), word) + help;
    if (HasCommands(command))
        return "There is no command '" + word + "'." + DidYouMean(CommandsOf(command), word) + help;
    return "Nothing can stand where '" + word + "' stands." + help;
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

// ---- Options ----

Option* Option::Require() {
    inner.required();
    return this;
}

Option* Option::Exclude(Option* other) {
    inner.excludes(&other->inner);
    return this;
}

Option* Option::Need(Option* other) {
    inner.needs(&other->inner);
    return this;
}

Option* Option::TakeExistingFile() {
    inner.check(CLI::ExistingFile);
    return this;
}

Option* Option::TakeExistingFolder() {
    inner.check(CLI::ExistingDirectory);
    return this;
}

Option* Option::TakeRange(int least, int greatest) {
    inner.check(CLI::Range(least, greatest));
    return this;
}

Option* Option::TakeRange(double least, double greatest) {
    inner.check(CLI::Range(least, greatest));
    return this;
}

Option* Option::TakeGroupsOf(int count) {
    inner.type_size(count)->expected(-1);
    return this;
}

Option* Option::TakeAll() {
    inner.take_all();
    return this;
}

Option* Option::LetValueBeLeftOut() {
    inner.expected(0, 1);
    return this;
}

Option* Option::ReadBy(const std::function<std::string(std::string)>& read) {
    inner.transform(read, "", "");
    return this;
}

Option* Option::ShowDefault(const std::string& value) {
    inner.default_str(value);
    return this;
}

Option* Option::ShowDefault() {
    inner.capture_default_str();
    return this;
}

Option* Option::Hide() {
    inner.group("");
    return this;
}

bool Option::IsGiven() const {
    return inner.count() > 0;
}

// ---- Commands ----

CommandLine::CommandLine(std::shared_ptr<CLI::App> app) : app(std::move(app)) {}

CommandLine* CommandLine::AddCommand(const std::string& name, const std::string& description) {
    return &commands.emplace_back(std::shared_ptr<CLI::App>(app, app->add_subcommand(name, description)));
}

template <typename Value>
Option* CommandLine::AddOption(const std::string& names, Value& value, const std::string& description) {
    return &options.emplace_back(*app->add_option(names, value, description));
}

using Text = std::string;
using Texts = std::vector<std::string>;
template Option* CommandLine::AddOption(const Text&, Text&, const Text&);
template Option* CommandLine::AddOption(const Text&, Texts&, const Text&);
template Option* CommandLine::AddOption(const Text&, int&, const Text&);
template Option* CommandLine::AddOption(const Text&, unsigned int&, const Text&);
template Option* CommandLine::AddOption(const Text&, unsigned long&, const Text&);
template Option* CommandLine::AddOption(const Text&, unsigned long long&, const Text&);
template Option* CommandLine::AddOption(const Text&, double&, const Text&);
template Option* CommandLine::AddOption(const Text&, std::vector<int>&, const Text&);

Option* CommandLine::AddFlag(const std::string& names, bool& isGiven, const std::string& description) {
    return &options.emplace_back(*app->add_flag(names, isGiven, description));
}

void CommandLine::SetFooter(const std::string& text) {
    app->footer(text);
}

void CommandLine::OnUse(std::function<void()> work) {
    app->callback(std::move(work));
}

void CommandLine::RequireCommand() {
    app->require_subcommand(1);
}

void CommandLine::AllowOneCommand() {
    app->require_subcommand(0, 1);
}

bool CommandLine::IsLast() const {
    return app->get_subcommands().empty();
}

bool ReadNumber(const std::string& text, double& number) {
    return CLI::detail::lexical_cast(text, number);
}

// ---- The program ----

Program::Program(const std::string& name, const std::string& description)
    : CommandLine(std::make_shared<CLI::App>(description, name)), name(name) {
    app->set_version_flag("--version", name + " " + Version(), "Print the version and exit");
    app->add_option_function<std::string>("--make",
                                          [this](const std::string& page) {
                                              PrintPage(*this, page);
                                              throw CLI::Success();
                                          })
        ->check(CLI::IsMember(PageNames()))
        ->group("");
}

int Program::Run(int count, const char* const* arguments, const std::function<int()>& work) {
    try {
        app->parse(count, arguments);
        return work ? work() : 0;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app->exit(error);
        return Explain(FaultOf(*app, error, count <= 1), wrongUse);
    } catch (const WrongUse& failure) {
        return Explain(failure.what(), wrongUse);
    } catch (const std::exception& failure) {
        return Explain(failure.what(), failed);
    }
}

void Program::TakeOneOf(Option* option, const std::vector<std::string>& values) {
    const std::string description = "{" + Joined(values, ",") + "}";
    const auto fault = [values](const std::string& value) {
        if (std::ranges::find(values, value) != values.end()) return std::string();
        return "must be " + Alternatives(values) + ", not '" + value + "'." + DidYouMean(values, value);
    };
    option->inner.check(CLI::Validator(fault, description));
    OfferFor(option, {values, {}, false});
}

Offer Program::OfferOf(const CLI::Option& option) const {
    const auto found = offers.find(&option);
    return found == offers.end() ? Offer() : found->second;
}

bool Program::NeedsValue(const std::string& option) const {
    const CLI::Option* const found = app->get_option_no_throw(option);
    return found != nullptr && found->get_expected_min() > 0;
}

int Program::Explain(const std::string& sentence, int status) const {
    Progress::Hide();
    std::cerr << name << ": " << sentence << "\n";
    return status;
}

void HideRefusedPriority() {
    setenv("TESSARUNE_QUIET", "1", 1);  // slib/priority.h
}

std::string Version() {
    return TESSARUNE_VERSION;
}

}  // namespace tool
