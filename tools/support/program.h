#pragma once

// What the programs for people have in common: a command line as a tree of commands and options, exit
// statuses,
// `--version`, and the pages that are made from that tree (`--make`: the man page, completion for shells).
// For the mains and for the files that add commands; on the main thread.

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/support/version.h"
#include "tools/support/wronguse.h"

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

/// Footers are paragraphs, in the help as in the man page: one that begins with "Example:" or "Examples:" is
/// that, one that begins with "Exit status:" too, and lines that begin with blanks stand as they are.
class Program : public CLI::App {
public:
    /// `description` begins with the verb, "Shows and changes ...", whose first sentence is the program's
    /// line in lists.
    Program(const std::string& name, const std::string& description);

    /// Parses the command line, which runs commands' callbacks, then does `work`, whose result is the exit
    /// status. Returns that; what is thrown meanwhile is explained on standard error.
    int Run(int count, const char* const* arguments, const std::function<int()>& work = {});

    void OfferFor(const CLI::Option* option, Offer offer) { offers[option] = std::move(offer); }
    /// Takes these values and no others, and offers them.
    void TakeOneOf(CLI::Option* option, const std::vector<std::string>& values);
    /// An empty offer where there is none.
    Offer OfferOf(const CLI::Option* option) const;

    std::vector<KnownFile> files = StoreFiles();

private:
    std::string Fault(const CLI::ParseError& error, bool isEmpty) const;
    int Explain(const std::string& sentence, int status) const;

    std::map<const CLI::Option*, Offer> offers;
};

/// Keeps the library from saying on standard error that it was refused a priority, which is nothing to the
/// person before this program. Not for what it starts. Before a context is made.
void HideRefusedPriority();

}  // namespace tool
