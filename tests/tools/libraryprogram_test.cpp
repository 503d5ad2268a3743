// tessarune-library on a copy of the build tree's library, which its command `build` has made.

#include <regex>

#include "tests/tools/tools.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing_support::Outcome;
using testing_support::ReadFile;
using testing_support::Words;

const char* const library = "lib/Tessarune.afl";
constexpr int failed = 1;
constexpr int wrongUse = 2;

class LibraryProgram : public testing_support::Tools {
protected:
    LibraryProgram() { fs::copy(files.FormatLibrary().parent_path(), folder.path / "lib"); }

    Outcome Library(const Words& words) const { return Run("tessarune-library", words); }
    void ExpectDone(const Words& words, const std::string& text) const {
        const Outcome outcome = Library(words);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        EXPECT_THAT(outcome.out, HasSubstr(text));
    }
    // What `check` says of a library without a fault.
    std::string Counts(const std::string& path) const {
        const Outcome check = Library({"check", path});
        EXPECT_EQ(check.status, 0) << check.error;
        return check.out.substr(0, check.out.find(", 0 faults"));
    }
};

// Each run of blanks as one, which is what a table is without its layout.
std::string WithoutLayout(const std::string& table) {
    return std::regex_replace(table, std::regex("  +"), " ");
}

TEST_F(LibraryProgram, Show_ListsFormatsMethodsAndConversions) {
    const std::string out = WithoutLayout(Library({"show", library}).out);
    for (const char* row : {"lib/Tessarune.afl is the library 'Tessarune', ",
                            "| surround51 | Surround 5.1 | standard layout | 6 |",
                            "| fsa3 | FSA Order 3 | sound field of order 3 | 16 |",
                            "| basic | Basic | Reproduces pressure and velocity",
                            "| quad | basic | low | fsa1 fsa2 fsa3 fsa4 | | 44100 48000 | 1 | 1.7 kB |",
                            "| virtualspeakers | low | fsa4 | surround71 | made on demand | | |"})
        EXPECT_THAT(out, HasSubstr(row));
}

TEST_F(LibraryProgram, Check_OfADamagedTransform_NamesItAndFails) {
    EXPECT_EQ(Counts(library), "24 formats, 8 methods, 282 conversions, 564 transforms read");
    ASSERT_EQ(Library({"pack", library, "plain/a.dfl"}).status, 0);
    fs::resize_file(folder.path / "plain" / "fsa2_quad_basic_48000.gtrn", 100);
    const Outcome check = Library({"check", "plain/a.dfl"});
    ExpectOutcome(check, failed, " at 48000 Hz: ");
    EXPECT_THAT(check.error, HasSubstr("'tessarune-library build plain/a.dfl' makes it anew."));
    EXPECT_THAT(check.out, HasSubstr(", 1 faults"));
}

TEST_F(LibraryProgram, CheckWithAcoustics_HasARowForEachDecoderOfSpeakersAndHeads) {
    const std::string out = WithoutLayout(Library({"check", library, "--acoustics"}).out);
    for (const char* row : {"| Quad | dualband | 1 | 1.000 | 0.0° | 0.707 | 0.707 | 0.707 | 100.0% | 0.0° |",
                            "| Surround 7.1 (Wide) | allround | 4 | ", "| spherehead | 4 | 0.",
                            "| measuredhead | 4 | 4."})  // microseconds
        EXPECT_THAT(out, HasSubstr(row));
}

TEST_F(LibraryProgram, Pack_GivesTheSameLibraryInAnyForm) {
    const std::string counts = Counts(library);
    for (const Words& target : {Words{"plain/a.dfl"}, {"whole.pfl"}, {"short.pfl", "--bits", "12"}}) {
        Words words{"pack", library};
        words.insert(words.end(), target.begin(), target.end());
        ExpectDone(words, target[0] + ": ");
        EXPECT_EQ(Counts(target[0]), counts);
    }
    EXPECT_LT(fs::file_size(folder.path / "short.pfl"), fs::file_size(folder.path / "whole.pfl") / 2);
    std::ofstream(folder.path / "room.txt") << "name: Attic\nA: azimuth 1\n";
    ExpectOutcome(Library({"layout", "short.pfl", "room.txt"}), failed,
                  "'tessarune-library pack short.pfl FOLDER/NAME.afl' makes one.");
}

TEST_F(LibraryProgram, Layout_AddsARoomThatCanBeDrawnAndABadOneChangesNothing) {
    const fs::path room = folder.path / "room.txt";
    std::ofstream(room) << "name: Attic\nLeft: azimuth 40, distance 2.5\nRight: azimuth -35 distance 2\n";
    const std::string before = Counts(library);
    ExpectOutcome(Library({"layout", library, "room.txt"}), failed, "room.txt, line 3: ");
    EXPECT_EQ(Counts(library), before);
    std::ofstream(room) << "name: Attic\nLeft: azimuth 40, distance 2.5\nRight: azimuth -35, distance 2\n";
    ExpectDone({"layout", library, "room.txt"}, "'Attic' with 2 speakers, by ");
    EXPECT_THAT(Counts(library), HasSubstr("25 formats, "));
    ExpectDone({"plot", library, "--out", "new/plots", "--layout", "Attic"}, "attic-");
}

TEST_F(LibraryProgram, Plot_DrawsTheBestOfWhatIsAskedFor) {
    ExpectDone({"plot", library, "--out", "plots", "--layout", "quad", "--order", "2"},
               "quad-dualband-2.impulses.svg\nquad-dualband-2.level.svg\nquad-dualband-2.energy.svg\n");
    ExpectDone({"plot", library, "--out", "plots", "--layout", "Headphone Stereo", "--method", "spherehead"},
               "headphonestereo-spherehead-4.impulses.svg\nheadphonestereo-spherehead-4.delay.svg\n"
               "headphonestereo-spherehead-4.difference.svg\n");
    for (const auto& file : fs::directory_iterator(folder.path / "plots"))
        EXPECT_THAT(ReadFile(file.path()), AllOf(HasSubstr("<svg"), HasSubstr("</svg>")));
}

struct Mistake {
    Words words;
    int status;
    std::string text;
};

TEST_F(LibraryProgram, AMistake_IsExplainedAndTouchesNothing) {
    const std::vector<Mistake> mistakes{
        {{}, wrongUse, "Name a command."},
        {{"sow"}, wrongUse, "There is no command 'sow'."},
        {{"build", "new/a.pfl"}, failed, "ends in .afl or .dfl, unlike 'a.pfl'"},
        {{"build", "lib/other.afl"}, failed, "The library 'Tessarune.afl' lives in that folder already."},
        {{"show", "no.afl"}, failed, "There is no library 'no.afl'. 'tessarune-library build no.afl'"},
        {{"pack", library, library}, failed, "OUT must be another file than PATH."},
        {{"plot", library, "--out", "new", "--layout", "Cinema"}, failed, "The library has no such decoder."},
        {{"plot", library, "--out", "new", "--order", "5"}, wrongUse, "--order"}};
    const std::string before = Counts(library);
    for (const Mistake& mistake : mistakes)
        ExpectOutcome(Library(mistake.words), mistake.status, mistake.text);
    EXPECT_EQ(Counts(library), before);
    EXPECT_FALSE(fs::exists(folder.path / "new"));
}

}  // namespace
