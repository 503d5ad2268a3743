// Whether the commands that the documents print work as they are printed.
//
// Taken are the lines of code blocks, fenced or indented, that call a program of ours (or, as `./game`, a
// game for which tessarune-info stands in), with variables before it and in whatever folder; they run
// in the order of the document. A command that plays, follows or
// builds for long has taken its options when it still does so after two seconds.

#include <unistd.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "tests/tools/tools.h"

namespace {

namespace fs = std::filesystem;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::ReadFile;

const fs::path sourceTree = TESSARUNE_SOURCE_TREE;

std::vector<std::string> CommandsOf(const fs::path& document) {
    static const std::regex command(R"(([A-Z_]+=\S+ )*(\./game|(\S*/)?tessarune-[a-z]+)( .*)?)");
    std::vector<std::string> commands;
    std::istringstream lines(ReadFile(sourceTree / document));
    bool isFenced = false;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
        const std::string text = line.substr(indent);
        if (text.starts_with("```"))
            isFenced = !isFenced;
        else if ((isFenced || indent >= 4) && std::regex_match(text, command))
            commands.push_back(text);
    }
    return commands;
}

std::vector<fs::path> Documents() {
    std::vector<fs::path> documents{"README.md"};
    for (const auto& file : fs::directory_iterator(sourceTree / "docs"))
        if (file.path().extension() == ".md") documents.push_back("docs" / file.path().filename());
    std::erase_if(documents, [](const fs::path& document) { return CommandsOf(document).empty(); });
    std::ranges::sort(documents);
    return documents;
}

// A checkout that is built, and an installed tree in the user's home.
class DocumentedCommands : public testing_support::Tools, public testing::WithParamInterface<fs::path> {
protected:
    DocumentedCommands() {
        const fs::path build = BuildTree(), library = files.FormatLibrary();
        for (const char* part : {"bin", "lib"})
            Link(build / part, folder.path / "tessarune" / part);
        Link(build, folder.path / "build" / "release");
        std::ofstream(folder.path / "game") << "#!/bin/sh\nexec tessarune-info\n";
        fs::permissions(folder.path / "game", fs::perms::owner_all);
        fs::create_directories(folder.path / "voices");
        std::ofstream(folder.path / "attic.txt")
            << "name: Attic\nA: azimuth 40\nB: azimuth -30, distance 2\n";
        std::ofstream(folder.path / "hd600.txt") << "Filter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0.70\n";
        fs::create_directories(folder.path / "tessarune" / "share");
        fs::copy(library.parent_path(), folder.path / "tessarune" / "share" / "tessarune");
        fs::copy(library.parent_path(), folder.path / "lib");
        fs::rename(folder.path / "lib" / library.filename(), folder.path / "lib" / "default.afl");
        std::ofstream(files.MachineFile())
            << "[Formats]\nAFL=" << (folder.path / "tessarune/share/tessarune" / library.filename()).string()
            << "\n";
        Set({{"WaveFile", folder.path / "sound.wav"}, {"Output", "WaveFile"}});
    }
    static void Link(const fs::path& target, const fs::path& link) {
        fs::create_directories(link.parent_path());
        fs::create_symlink(target, link);
    }

    void ExpectWorks(const std::string& command) const {
        static const std::regex isLong("tessarune-demo|tessarune-library build|speaker-test|--follow");
        static const std::regex isServer("tessarune-(config )?page");
        const bool isServing = std::regex_search(command, isServer);
        const bool mayGoOn = isServing || std::regex_search(command, isLong);
        const std::string bin = BuildTree() / "bin", limit = mayGoOn ? "timeout 2 " : "",
                          root = isServing && geteuid() == 0 ? " --as-root" : "";
        const Outcome outcome = Shell("export HOME=$PWD PATH=" + bin + ":$PATH; " + limit + command + root);
        EXPECT_TRUE(outcome.status == 0 || (mayGoOn && outcome.status == 124))
            << command << "\nstatus " << outcome.status << ": " << outcome.error;
    }
};

TEST_P(DocumentedCommands, WorkAsTheyArePrinted) {
    for (const std::string& command : CommandsOf(GetParam()))
        ExpectWorks(command);
}

INSTANTIATE_TEST_SUITE_P(Documents, DocumentedCommands, testing::ValuesIn(Documents()));

TEST(Documents, ReadmeAndGuide_HaveCommands) {
    EXPECT_THAT(Documents(), testing::IsSupersetOf({fs::path("README.md"), fs::path("docs/user-guide.md")}));
}

}  // namespace
