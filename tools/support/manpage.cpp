#include "tools/support/manpage.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "slib/text.h"
#include "tools/support/commandtree.h"

namespace tool {
namespace {

constexpr const char* programs[] = {"tessarune-config",  "tessarune-demo", "tessarune-info",
                                    "tessarune-library", "tessarune-page", "tessarune-replay",
                                    "tessarune-run"};

constexpr std::string_view paragraphStart = ".PP\n";

// The paragraphs of all footers, by what they say.
struct Notes {
    std::string text, examples, statuses;
};

// Plain characters, which the formatter would take for something else.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text)
        switch (c) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += "\\-";
                break;
            case '\'':
                escaped += "\\(aq";
                break;
            case '"':
                escaped += "\\(dq";
                break;
            case '~':
                escaped += "\\(ti";
                break;
            case '^':
                escaped += "\\(ha";
                break;
            case '`':
                escaped += "\\(ga";
                break;
            default:
                escaped += c;
        }
    return escaped;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

// A line that begins with a dot is none of the formatter's.
std::string Line(const std::string& text) {
    return (text.starts_with('.') ? "\\&" : "") + Escaped(text) + "\n";
}

std::string Verbatim(const std::string& lines) {
    return ".PP\n.EX\n" + lines + ".EE\n";
}

// Lines that begin with blanks stand as they are.
std::string Paragraph(const std::string& paragraph) {
    std::string page(paragraphStart), verbatim;
    std::istringstream lines(paragraph);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("  "))
            verbatim += Line(line);
        else {
            if (!verbatim.empty()) page += Verbatim(std::exchange(verbatim, "")) + ".PP\n";
            page += Line(line);
        }
    }
    return verbatim.empty() ? page : page + Verbatim(verbatim);
}

std::string Verbatims(const std::string& lines) {
    std::string page;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        page += Line(line);
    return page;
}

void Take(const std::string& paragraph, Notes& notes) {
    constexpr std::string_view status = "Exit status: ";
    if (paragraph.starts_with("Example:\n") || paragraph.starts_with("Examples:\n"))
        notes.examples += Verbatims(paragraph.substr(paragraph.find('\n') + 1));
    else if (paragraph.starts_with(status))
        notes.statuses += Paragraph(paragraph.substr(status.size()));
    else if (!paragraph.empty())
        notes.text += Paragraph(paragraph);
}

Notes NotesOf(const Command& command) {
    Notes notes;
    std::string paragraph;
    std::istringstream lines(command.footer);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty())
            Take(std::exchange(paragraph, ""), notes);
        else if (line.starts_with("Exit status: ")) {
            Take(std::exchange(paragraph, line + "\n"), notes);
        } else
            paragraph += line + "\n";
    }
    Take(paragraph, notes);
    return notes;
}

std::string Usage(const Command& command) {
    std::string line = Bold(command.name);
    if (!command.options.empty()) line += " [" + Italic("OPTIONS") + "]";
    for (const Argument& word : command.words) {
        const std::string label = Italic(word.label) + (word.isRepeated ? " ..." : "");
        line += " " + (word.isRequired ? label : "[" + label + "]");
    }
    if (command.commands.empty()) return line;
    return line + (command.needsCommand ? " " + Italic("COMMAND") : " [" + Italic("COMMAND") + "]");
}

std::string Item(const Argument& argument) {
    std::string names;
    for (const std::string& name : argument.names)
        names += (names.empty() ? "" : ", ") + Bold(name);
    if (argument.TakesValue())
        names += (names.empty() ? "" : " ") + Italic(argument.label) + (argument.isRepeated ? " ..." : "");
    return ".TP\n" + names + "\n" + Line(argument.description);
}

bool IsHelp(const Argument& argument) {
    return std::ranges::find(argument.names, "--help") != argument.names.end();
}

// Each command has the help; the page tells it once, of the program.
std::string Items(const Command& command, bool isBelow) {
    std::string page;
    for (const std::vector<Argument>* arguments : {&command.words, &command.options})
        for (const Argument& argument : *arguments)
            if (!isBelow || !IsHelp(argument)) page += Item(argument);
    return page;
}

void AddNewLines(const std::string& lines, std::string& text) {
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        if (("\n" + text).find("\n" + line + "\n") == std::string::npos) text += line + "\n";
}

// All commands but the program itself; their examples go to those of the program. Commands inherit footers,
// and share parts of them, which the page has once.
std::string Commands(const Command& program, std::string& examples) {
    std::string page;
    std::set<std::string> shown;
    for (const Command* command : AllOf(program)) {
        if (command == &program) continue;
        Command named = *command;
        named.name = command->place.substr(1);
        const Notes notes = NotesOf(named);
        page += ".SS \"" + Usage(named) + "\"\n" + Line(named.description) + Items(named, true);
        if (shown.insert(notes.text).second) page += notes.text;
        AddNewLines(notes.examples, examples);
    }
    return page;
}

// "config \- shows and changes the settings"
std::string Name(const Command& program) {
    std::string sentence = program.description.substr(0, program.description.find(". "));
    if (sentence.ends_with('.')) sentence.pop_back();
    return Escaped(program.name) + " \\- " + slib::toLower(sentence.substr(0, 1)) +
           Escaped(sentence.substr(1)) + "\n";
}

std::string Files(const Program& program) {
    std::string page;
    for (const KnownFile& file : program.files)
        page += ".TP\n" + Italic(file.path) + "\n" + Line(file.meaning);
    return page;
}

std::string SeeAlso(const std::string& name) {
    std::string page;
    for (const char* other : programs)
        if (other != name) page += (page.empty() ? "" : ",\n") + (".BR " + Escaped(other)) + " (1)";
    return page + "\n";
}

std::string Section(const std::string& title, std::string text) {
    if (text.starts_with(paragraphStart)) text.erase(0, paragraphStart.size());
    return text.empty() ? "" : ".SH " + title + "\n" + text;
}

}  // namespace

std::string ManPage(const Program& program) {
    const Command tree = TreeOf(program);
    const Notes notes = NotesOf(tree);
    std::string examples = notes.examples;
    const std::string commands = Commands(tree, examples);
    return ".TH " + Escaped(slib::toUpper(tree.name)) + " 1 \"\" \"Tessarune " + Version() +
           "\" \"User Commands\"\n" + Section("NAME", Name(tree)) + Section("SYNOPSIS", Usage(tree) + "\n") +
           Section("DESCRIPTION", Line(tree.description) + notes.text) +
           Section("OPTIONS", Items(tree, false)) + Section("COMMANDS", commands) +
           Section("\"EXIT STATUS\"", notes.statuses) + Section("EXAMPLES", ".EX\n" + examples + ".EE\n") +
           Section("FILES", Files(program)) + Section("\"SEE ALSO\"", SeeAlso(tree.name));
}

}  // namespace tool
