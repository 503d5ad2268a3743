#pragma once

// A program's command line as plain data, from which its pages are made. One thread.

#include <string>
#include <vector>

#include "tools/support/program.h"

namespace tool {

/// An option, or a word that has its place.
struct Argument {
    std::vector<std::string> names;  ///< "--follow", "-f"; none of a word
    std::string label;               ///< of the value: "FILE"; empty for a flag
    std::string description;
    bool isRequired = false;
    bool isRepeated = false;  ///< takes more than one value
    Offer offer;

    bool TakesValue() const { return !label.empty(); }
};

/// A command, or the program itself.
struct Command {
    std::string name;
    std::string place;  ///< the names on the way to it, a blank before each; of the program nothing
    std::string description, footer;
    std::vector<Argument> options, words;
    std::vector<Command> commands;
    bool needsCommand = false;
};

/// What is hidden in the help isn't there.
Command TreeOf(const Program& program);

/// A command and all below it, itself first.
std::vector<const Command*> AllOf(const Command& command);

/// "tessarune-config" as the name of a function: "tessarune_config".
std::string Identifier(const std::string& name);

}  // namespace tool
