#include "tools/support/completion.h"

#include <cstddef>
#include <map>
#include <vector>

#include "tools/support/commandtree.h"

namespace tool {
namespace {

// Something to offer, with what it is for.
struct Value {
    std::string text, description;
};

// What stands at a place of the command line: "|0" is the first word of the program, " set|1" the second one
// of `set`, " set|-" are its options, " select|--method" is the value of one. With `before`, only behind one
// of these words.
struct Place {
    std::string command, at;
    std::vector<std::string> before;
    std::vector<Value> values;
};

// What the shells' scripts are made from.
struct Grammar {
    std::vector<std::string> commands;  // as places: " speakers set"
    std::vector<std::string> takers;    // options that take a value: " select --method"
    std::vector<Place> places;
    bool takesProgram = false;
};

std::vector<Value> Plain(const std::vector<std::string>& texts) {
    std::vector<Value> values;
    values.reserve(texts.size());
    for (const std::string& text : texts)
        values.push_back({text, ""});
    return values;
}

void AddOffer(const Offer& offer, const std::string& command, const std::string& at, Grammar& grammar) {
    if (!offer.values.empty()) grammar.places.push_back({command, at, {}, Plain(offer.values)});
    std::map<std::vector<std::string>, std::vector<std::string>> wordsBefore;  // by what they let in
    for (const auto& [before, values] : offer.valuesAfter)
        wordsBefore[values].push_back(before);
    for (const auto& [values, before] : wordsBefore)
        grammar.places.push_back({command, at, before, Plain(values)});
    grammar.takesProgram = grammar.takesProgram || offer.isProgram;
}

void AddOptions(const Command& command, Grammar& grammar) {
    Place options{command.place, "-", {}, {}};
    for (const Argument& option : command.options)
        for (const std::string& name : option.names) {
            options.values.push_back({name, option.description});
            if (!option.TakesValue()) continue;
            grammar.takers.push_back(command.place + " " + name);
            AddOffer(option.offer, command.place, name, grammar);
        }
    grammar.places.push_back(options);
}

Grammar GrammarOf(const Command& program) {
    Grammar grammar;
    for (const Command* command : AllOf(program)) {
        if (command != &program) grammar.commands.push_back(command->place);
        Place commands{command->place, "0", {}, {}};
        for (const Command& below : command->commands)
            commands.values.push_back({below.name, below.description});
        if (!commands.values.empty()) grammar.places.push_back(commands);
        for (std::size_t i = 0; i < command->words.size(); ++i)
            AddOffer(command->words[i].offer, command->place, std::to_string(i), grammar);
        AddOptions(*command, grammar);
    }
    return grammar;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// As one word of bash and zsh.
std::string Quoted(const std::string& text) {
    return "'" + Replaced(text, "'", "'\\''") + "'";
}

std::string QuotedForFish(const std::string& text) {
    return "'" + Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

using Quote = std::string (*)(const std::string&);

std::string Joined(const std::vector<std::string>& words, const std::string& separator, Quote quote) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + quote(word);
    return text;
}

// An arm of a `case` in bash and zsh; none without words, for it would match the empty one.
std::string Arm(const std::vector<std::string>& words, const std::string& action) {
    return words.empty() ? "" : "            " + Joined(words, " | ", Quoted) + ") " + action + " ;;\n";
}

std::string BashList(const std::vector<Value>& values) {
    std::string lines;
    for (const Value& value : values)
        lines += (lines.empty() ? "" : "\n") + value.text;
    return Quoted(lines);
}

std::string ZshList(const std::vector<Value>& values) {
    std::string words;
    for (const Value& value : values)
        words +=
            (words.empty() ? "" : " ") + Quoted(Replaced(value.text, ":", "\\:") +
                                                (value.description.empty() ? "" : ":" + value.description));
    return "(" + words + ")";
}

std::string PlaceArms(const Grammar& grammar, std::string (*list)(const std::vector<Value>&)) {
    std::string arms;
    for (const Place& place : grammar.places) {
        const std::string key = Quoted(place.command + "|" + place.at + "|");
        std::string patterns = place.before.empty() ? key + "*" : "";
        for (const std::string& before : place.before)
            patterns += (patterns.empty() ? "" : " | ") + key + Quoted(before);
        arms += "        " + patterns + ") values=" + list(place.values) + " ;;\n";
    }
    return arms;
}

// Puts a part, whole lines, in the place of the line that stands for it in a script.
std::string With(const std::string& script, const std::string& line, const std::string& part) {
    return Replaced(script, line + "\n", part);
}

// The parts that bash and zsh have in the same words; `program` and `nothing` are for a command line that
// takes another program's.
std::string WithWords(const char* shell, const Grammar& grammar, const char* program, const char* nothing) {
    std::string script = With(shell, "@COMMANDS@", Arm(grammar.commands, "place+=\" $word\" position=0"));
    script = With(script, "@TAKERS@", Arm(grammar.takers, "option=$word"));
    script = With(script, "@PROGRAM@", grammar.takesProgram ? program : "");
    return With(script, "@NOTHING@", grammar.takesProgram ? nothing : "");
}

std::string WithNames(const std::string& script, const Program& program) {
    return Replaced(Replaced(script, "@NAME@", program.name), "@FUNCTION@", Identifier(program.name));
}

constexpr const char* bash = R"(# Completion of @NAME@ for bash; printed by '@NAME@ --make bash'.
_@FUNCTION@() {
    local current=${COMP_WORDS[COMP_CWORD]} place='' option='' before='' position=0 values='' quote='' word i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [ "$word" = = ]; then continue; fi
        if [ -n "$option" ]; then option=''; continue; fi
        case "$place $word" in
@COMMANDS@
@TAKERS@
            *' -'*) ;;
            *) before=${word,,} position=$((position + 1)) ;;
        esac
@PROGRAM@
    done
    if [ "$current" = = ]; then current=''; fi
    if [ -n "$option" ]; then position=$option; elif [[ $current == -* ]]; then position=-; fi
    case "$place|$position|$before" in
@PLACES@
    esac
    case $current in
        [\"\']*) quote=${current:0:1} current=${current:1} ;;
        *) current=${current//\\/} ;;
    esac
    while IFS= read -r word; do
        if [[ -z $word || ${word,,} != "${current,,}"* ]]; then continue; fi
        if [ -z "$quote" ]; then printf -v word %q "$word"; fi
        COMPREPLY+=("$word")
    done <<<"$values"
@NOTHING@
}
complete -o bashdefault -o default -F _@FUNCTION@ @NAME@
)";

// The game completes its own words where bash-completion is loaded.
constexpr const char* bashProgram = R"(        if [ "$position" = 1 ]; then
            if declare -F _command_offset >/dev/null; then _command_offset "$i"; fi
            return
        fi
)";
constexpr const char* bashNothing =
    R"(    if [ -z "$values" ]; then mapfile -t COMPREPLY < <(compgen -c -- "$current"); fi
)";

constexpr const char* zsh = R"(#compdef @NAME@
# Completion of @NAME@ for zsh; printed by '@NAME@ --make zsh'.
_@FUNCTION@() {
    local current=$words[CURRENT] place='' option='' before='' position=0 word i
    local -a values
    for ((i = 2; i < CURRENT; ++i)); do
        word=${(Q)words[i]}
        if [[ -n $option ]]; then option=''; continue; fi
        case "$place $word" in
@COMMANDS@
@TAKERS@
            *' -'*) ;;
            *) before=${(L)word} position=$((position + 1)) ;;
        esac
@PROGRAM@
    done
    if [[ $current == --*=* ]]; then option=${current%%=*}; compset -P '*='; fi
    if [[ -n $option ]]; then position=$option; elif [[ $current == -* ]]; then position=-; fi
    case "$place|$position|$before" in
@PLACES@
    esac
    if (( $#values )); then
        _describe 'value' values -M 'm:{[:lower:][:upper:]}={[:upper:][:lower:]}'
@NOTHING@
    else
        _files
    fi
}
_@FUNCTION@ "$@"
)";

constexpr const char* zshProgram = R"(        if (( position == 1 )); then
            shift $((i - 1)) words
            CURRENT=$((CURRENT - i + 1))
            _normal
            return
        fi
)";
constexpr const char* zshNothing = R"(    elif (( position == 0 )); then
        _command_names -e || _files
)";

constexpr const char* fish = R"(# Completion of @NAME@ for fish; printed by '@NAME@ --make fish'.
# Whether the cursor is at a place: COMMANDS [POSITION [WORD BEFORE]].
function __@FUNCTION@_at
    set -l place ''
    set -l option ''
    set -l before ''
    set -l position 0
    for word in (commandline -opc)[2..-1]
        if test -n "$option"
            set option ''
            continue
        end
        switch "$place $word"
@COMMANDS@
@TAKERS@
            case '* -*'
            case '*'
                set before (string lower -- $word)
                set position (math $position + 1)
        end
    end
    test "$place" = "$argv[1]"
    and begin
        not set -q argv[2]; or test "$position" = "$argv[2]"
    end
    and begin
        not set -q argv[3]; or contains -- $before $argv[3..-1]
    end
end
@LINES@
)";

std::string FishCase(const std::vector<std::string>& words, const std::string& action) {
    return words.empty() ? "" : "            case " + Joined(words, " ", QuotedForFish) + "\n" + action;
}

// A line for what stands at a place; fish parses the condition again.
std::string FishLine(const Program& program, const std::vector<std::string>& place) {
    return "complete -c " + program.name + " -n " +
           QuotedForFish("__" + Identifier(program.name) + "_at " + Joined(place, " ", QuotedForFish));
}

std::string FishDescription(const std::string& text) {
    return text.empty() ? "\n" : " -d " + QuotedForFish(text) + "\n";
}

// fish itself knows where an option's value stands.
std::string FishOptions(const Program& program, const Command& command, bool isFirstOnly) {
    std::string lines;
    for (const Argument& option : command.options) {
        lines += FishLine(program, isFirstOnly ? std::vector<std::string>{command.place, "0"}
                                               : std::vector<std::string>{command.place});
        for (const std::string& name : option.names)
            lines += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        if (option.TakesValue()) lines += " -r";
        if (!option.offer.values.empty())
            lines += " -f -a " + QuotedForFish(Joined(option.offer.values, " ", QuotedForFish));
        lines += FishDescription(option.description);
    }
    return lines;
}

std::string FishWords(const Program& program, const Grammar& grammar) {
    std::string lines;
    for (const Place& place : grammar.places) {
        if (place.at.starts_with('-')) continue;
        std::vector<std::string> words{place.command, place.at};
        words.insert(words.end(), place.before.begin(), place.before.end());
        for (const Value& value : place.values)
            lines += FishLine(program, words) + " -f -a " + QuotedForFish(QuotedForFish(value.text)) +
                     FishDescription(value.description);
    }
    if (grammar.takesProgram)
        lines += "complete -c " + program.name + " -x -a '(__fish_complete_subcommand)'\n";
    return lines;
}

}  // namespace

std::string BashCompletion(const Program& program) {
    const Grammar grammar = GrammarOf(TreeOf(program));
    const std::string script = WithWords(bash, grammar, bashProgram, bashNothing);
    return WithNames(With(script, "@PLACES@", PlaceArms(grammar, BashList)), program);
}

std::string ZshCompletion(const Program& program) {
    const Grammar grammar = GrammarOf(TreeOf(program));
    const std::string script = WithWords(zsh, grammar, zshProgram, zshNothing);
    return WithNames(With(script, "@PLACES@", PlaceArms(grammar, ZshList)), program);
}

std::string FishCompletion(const Program& program) {
    const Command tree = TreeOf(program);
    const Grammar grammar = GrammarOf(tree);
    std::string lines = FishWords(program, grammar);
    for (const Command* command : AllOf(tree))
        lines += FishOptions(program, *command, grammar.takesProgram);
    std::string script = With(fish, "@COMMANDS@",
                              FishCase(grammar.commands,
                                       "                set place \"$place $word\"\n"
                                       "                set position 0\n"));
    script = With(script, "@TAKERS@", FishCase(grammar.takers, "                set option $word\n"));
    return WithNames(With(script, "@LINES@", lines), program);
}

}  // namespace tool
