#pragma once

// What the programs for people have in common: a command line as a tree of commands and options, exit
// statuses, `--version`, and the pages that are made from that tree: the man page, and completion for shells
// (`--make`).
// For the mains and for the files that add commands; on the main thread.

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/support/version.h"
#include "tools/support/wronguse.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tool {

inline constexpr int failed = 1;
inline constexpr int wrongUse = 2;

/// Of programs that have no other statuses. A paragraph of the help; see Program.
inline constexpr const char* exitStatuses =
    "Exit status: 0 for success, 1 for a failure, 2 for a command line that is wrong.";

/// What completion offers where a value stands.
struct Offer {
    std::vector<std::string> values;
    /// For those that depend on the value before this one, in lower case.
    std::map<std::string, std::vector<std::string>> valuesAfter;
    bool isProgram = false;  ///< any program, and then what that one takes
};

/// A file that the program reads or writes, for its man page.
struct KnownFile {
    std::string path, meaning;
};

/// The user's store and the machine's.
std::vector<KnownFile> StoreFiles();

/// An option of a command, or a word that has its place. Each function returns this object. The parser behind
/// it is seen by the sources of tools/support alone: it takes a compiler seconds.
class Option {
public:
    explicit Option(CLI::Option& inner) : inner(inner) {}

    Option* Require();
    Option* Exclude(Option* other);
    Option* Need(Option* other);
    Option* TakeExistingFile();
    Option* TakeExistingFolder();
    Option* TakeRange(int least, int greatest);
    Option* TakeRange(double least, double greatest);
    /// Is repeated in groups of so many words.
    Option* TakeGroupsOf(int count);
    /// May be given more than once.
    Option* TakeAll();
    Option* LetValueBeLeftOut();
    /// The text that is given goes through this function first.
    Option* ReadBy(const std::function<std::string(std::string)>& read);
    /// Says in the help that this is the default, or what the value is now.
    Option* ShowDefault(const std::string& value);
    Option* ShowDefault();
    /// Leaves it out of all that lists options.
    Option* Hide();

    /// After the parsing.
    bool IsGiven() const;

    CLI::Option& inner;
};

/// A command, or the program itself, with what may stand behind it. Options and commands belong to this
/// object.
class CommandLine {
public:
    explicit CommandLine(std::shared_ptr<CLI::App> app);

    CommandLine* AddCommand(const std::string& name, const std::string& description);
    /// `names` are "--follow,-f", or "FILE" for a word. `value` outlives the parsing, which writes it: a
    /// text, a number, or a list of texts, of numbers or of groups of texts.
    template <typename Value>
    Option* AddOption(const std::string& names, Value& value, const std::string& description);
    Option* AddFlag(const std::string& names, bool& isGiven, const std::string& description);

    /// Footers are paragraphs, in the help as in the man page: one that begins with "Example:" or "Examples:"
    /// is that, one that begins with "Exit status:" too, and lines that begin with blanks stand as they are.
    void SetFooter(const std::string& text);
    /// What is done when the command is used.
    void OnUse(std::function<void()> work);
    void RequireCommand();
    void AllowOneCommand();
    /// Whether no command below this one was given, after the parsing.
    bool IsLast() const;

    const std::shared_ptr<CLI::App> app;

private:
    std::list<Option> options;
    std::list<CommandLine> commands;
};

class Program : public CommandLine {
public:
    /// `description` begins with the verb, "Shows and changes ...", whose first sentence is the program's
    /// line in lists.
    Program(const std::string& name, const std::string& description);

    /// Parses the command line, which runs commands' callbacks, then does `work`, whose result is the exit
    /// status. Returns that; what is thrown meanwhile is explained on standard error.
    int Run(int count, const char* const* arguments, const std::function<int()>& work = {});

    void OfferFor(const Option* option, Offer offer) { offers[&option->inner] = std::move(offer); }
    /// Takes these values and no others, and offers them.
    void TakeOneOf(Option* option, const std::vector<std::string>& values);
    /// An empty offer where there is none.
    Offer OfferOf(const CLI::Option& option) const;
    /// Whether the word is an option that a value has to follow.
    bool NeedsValue(const std::string& option) const;

    const std::string name;
    std::vector<KnownFile> files = StoreFiles();

private:
    int Explain(const std::string& sentence, int status) const;

    std::map<const CLI::Option*, Offer> offers;
};

/// Reads a number as that of an option is read. False when the text is none.
bool ReadNumber(const std::string& text, double& number);

/// Keeps the library from saying on standard error that it was refused a priority, which is nothing to the
/// person before this program. Not for what it starts. Before a context is made.
void HideRefusedPriority();

}  // namespace tool
