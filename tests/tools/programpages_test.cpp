// What all programs have: their version, their help, and the pages that are made from their command lines.

#include <sstream>

#include "tests/tools/tools.h"

namespace {

using testing::HasSubstr;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::Tools;
using testing_support::Words;

struct Program {
    std::string name;
    std::size_t commands;  // that its help has to list
};

const std::vector<Program> programs{
    {"tessarune-config", 25}, {"tessarune-library", 6}, {"tessarune-run", 0},  {"tessarune-replay", 0},
    {"tessarune-demo", 0},    {"tessarune-info", 0},    {"tessarune-page", 0},
};

class EveryProgram : public Tools, public testing::WithParamInterface<Program> {
protected:
    std::string Printed(const Words& words) const {
        const Outcome outcome = Run(GetParam().name, words);
        EXPECT_EQ(outcome.status, 0) << words[0];
        EXPECT_EQ(outcome.error, "");
        return outcome.out;
    }
    // The first words of the lines below a title of the help.
    Words Listed(const std::string& title) const {
        const std::string help = Printed({"--help"});
        const std::size_t start = help.find("\n" + title + ":\n");
        if (start == std::string::npos) return {};
        std::istringstream lines(help.substr(start + title.size() + 3));
        Words words;
        for (std::string line; std::getline(lines, line) && line.starts_with("  ");)
            if (line[2] != ' ') words.push_back(line.substr(2, line.find_first_of(" ,", 2) - 2));
        return words;
    }
};

TEST_P(EveryProgram, TellsItsVersionAndExplainsWrongUse) {
    EXPECT_EQ(Printed({"--version"}), GetParam().name + " " TESSARUNE_VERSION "\n");
    ExpectOutcome(Run(GetParam().name, {"--sow"}), 2, "'" + GetParam().name + " --help' lists the ");
}

TEST_P(EveryProgram, HasPagesThatNameAllOfItsHelp) {
    // The pages, and what stands before a command there.
    const std::pair<std::string, std::string> pages[] = {
        {"man", "fB"}, {"bash", "' "}, {"zsh", "' "}, {"fish", " -f -a ''"}};
    const Words commands = Listed("Subcommands");
    EXPECT_EQ(commands.size(), GetParam().commands);
    for (const auto& [page, before] : pages) {
        std::string text = Printed({"--make", page});
        std::erase(text, '\\');
        for (const std::string& name : commands)
            EXPECT_THAT(text, HasSubstr(before + name)) << page;
    }
}

std::string NameOf(const testing::TestParamInfo<Program>& info) {
    return info.param.name.substr(std::string("tessarune-").size());
}

INSTANTIATE_TEST_SUITE_P(Programs, EveryProgram, testing::ValuesIn(programs), NameOf);

struct Completion {
    Words typed;
    std::string offered;  // begins with these lines
};

TEST_F(Tools, BashCompletion_OffersWhatFits) {
    const std::vector<Completion> completions{
        {{"tessarune-config", "sp"}, "speakers\nspeaker-test\n"},
        {{"tessarune-config", "speakers", "--layout", "Quad", "set", "--"},
         "--help\n--output\n--gain\n--force\n"},
        {{"tessarune-config", "set", "EffectsQuality", ""}, "Low\nMedium\nHigh\n"},
        {{"tessarune-config", "set", "SpeakerSetting", "\"Surround 5"}, "Surround 5.1\nSurround 5.1 (ITU)\n"},
        {{"tessarune-demo", "--quick", "--room", "=", "concert"}, "concerthall\n"},
        {{"tessarune-library", "pack", "a.afl", "b.pfl", "--bits", "1"}, "12\n16\n"},
        {{"tessarune-info", "--j"}, "--json\n"}};
    for (const Completion& completion : completions) {
        std::string words;
        for (const std::string& word : completion.typed)
            words += " '" + word + "'";
        const std::string& program = completion.typed[0];
        const Outcome outcome = Shell(
            "bash -c 'source " + (BuildTree() / "share/bash-completion/completions" / program).string() +
            "; function=$(complete -p $1); function=${function% *}; COMP_WORDS=(\"$@\"); "
            "COMP_CWORD=$(($# - 1)); ${function##* }; printf \"%s\\n\" \"${COMPREPLY[@]}\"' bash" +
            words);
        EXPECT_EQ(outcome.out, completion.offered) << words << outcome.error;
    }
}

}  // namespace
