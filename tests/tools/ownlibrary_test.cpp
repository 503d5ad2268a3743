// A newcomer's road to his own head, headphones and room, by tessarune-config.

#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/formatlibraries.h"
#include "tests/tools/tools.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing_support::Outcome;
using testing_support::Tools;
using testing_support::Words;

const orb3::aspace::BasicAcousticFactory acoustics;
constexpr const char* measuredHead = "/usr/share/libmysofa/default.sofa";

// The system has the decoders of the measured head at one rate, so that those of another take half the time.
class OwnLibrary : public Tools {
protected:
    OwnLibrary() {
        using namespace orb3::fl;
        CreateDirectoryLibrary(systemPath, "Small", false);
        DirectoryBasedFormatLibrarian small(systemPath, "", acoustics, true, false);
        const auto whole = createLibrarian(files.FormatLibrary(), acoustics, nullptr, false);
        for (std::uint32_t i = 0; i < whole->getFormatCount(); ++i) {
            Format format;
            whole->getFormat(i, format);
            if (format.isLayout && format.tag != "headphonestereo") continue;
            small.storeFormat(format);
        }
        small.storeMethod({"measuredhead", "Measured Head", ""});
        for (const orb3::Decoder& decoder : orb3::FindDecoders(*whole, "headphonestereo")) {
            if (decoder.conversion.method != "measuredhead") continue;
            orb3::strans::TimeDomainTransform<double, 1> transform;
            whole->getTransform(decoder.index, 48000, transform);
            small.storeConversion(decoder.conversion);
            small.storeTransform(decoder.conversion, {.possible = true}, transform);
        }
        std::ofstream(files.MachineFile()) << "[Formats]\nAFL=" << systemPath << "\n";
        std::ofstream(folder.path / "hd.txt")
            << "Preamp: -6.2 dB\nFilter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0.70\n";
    }

    std::string SystemFiles() const {
        std::string all;
        for (const auto& file : fs::directory_iterator(fs::path(systemPath).parent_path()))
            if (file.path().extension() != ".lock") all += testing_support::ReadFile(file.path());
        return all;
    }
    Outcome Works(const Words& words) const {
        const Outcome outcome = Config(words);
        EXPECT_EQ(outcome.status, 0) << words[0] << " " << words[1] << ": " << outcome.error;
        return outcome;
    }
    std::string Method() const { return Works({"check", "--json"}).out; }

    const std::string systemPath = folder.path / "system" / "lib.dfl";
};

TEST_F(OwnLibrary, ANewcomersRoad_EndsInSoundByHisOwnHeadAndHeadphones) {
    Config({"reset"});
    Set({{"SpeakerSetting", "Headphone Stereo"}});
    const std::string before = SystemFiles();
    Works({"headphones", "add", "hd.txt", "--name", "HD600"});  // before the head, and it goes with that too
    const Outcome added = Works({"head", "add", measuredHead, "--name", "Me", "--circumference", "59cm"});
    EXPECT_EQ(added.error, "");  // no progress, which is for a terminal
    ExpectOutcome(Config({"head", "add", measuredHead, "--name", "me"}), 1, "There is a head 'Me' already.");
    Works({"head", "use", "Me"});
    EXPECT_THAT(Method(), HasSubstr("\"method\": \"Me\""));
    Works({"headphones", "use", "HD600"});
    const Outcome check = Works({"check", "--rate", "44100"});
    EXPECT_THAT(check.out, AllOf(HasSubstr("Me + HD600"), HasSubstr("A start would work."),
                                 HasSubstr("\nLayout   Headphone Stereo "), Not(HasSubstr("\n  E "))));
    EXPECT_THAT(Works({"head", "list", "--json"}).out, HasSubstr("\"name\": \"Me\""));
    Works({"headphones", "off"});
    Works({"head", "remove", "Me"});
    EXPECT_THAT(Method(), HasSubstr("\"method\": \"Measured Head\""));
    EXPECT_EQ(SystemFiles(), before);
}

TEST_F(OwnLibrary, WhatIsBad_IsRefusedBeforeAnyWork) {
    std::ofstream(folder.path / "bad.sofa") << "no head";
    std::ofstream(folder.path / "bad.txt") << "Preamp: 0 dB\nFilter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0\n";
    ExpectOutcome(Config({"head", "add", "bad.sofa", "--name", "Me"}), 1, "isn't a SOFA file");
    ExpectOutcome(Config({"head", "add", measuredHead, "--name", "Me", "--circumference", "57"}), 2, "57cm");
    ExpectOutcome(Config({"head", "use", "Me"}), 2, "There is no head 'Me'. There is Measured Head.");
    ExpectOutcome(Config({"head", "remove", "measured"}), 2, "can't be removed");
    ExpectOutcome(Config({"headphones", "add", "bad.txt", "--name", "HD"}), 1,
                  "bad.txt, line 2: the Q must be");
    ExpectOutcome(Config({"headphones", "use", "HD"}), 2, "There is no pair of headphones yet.");
    EXPECT_THAT(Works({"head", "list"}).out, Not(HasSubstr("  you\n")));
}

TEST_F(OwnLibrary, ARoom_GoesIntoTheUsersLibraryAndOutOfIt) {
    std::ofstream(folder.path / "attic.txt") << "name: Attic\nL: azimuth 40\nR: azimuth -35, distance 2\n";
    const std::string before = SystemFiles();
    Works({"speakers", "add", "attic.txt"});
    Works({"select", "Attic"});
    EXPECT_THAT(Works({"check", "--json"}).out, HasSubstr("\"layout\": \"Attic\""));
    Works({"speakers", "remove", "attic"});
    ExpectOutcome(Config({"speakers", "remove", "Attic"}), 2, "Your library has no room 'Attic'.");
    EXPECT_EQ(SystemFiles(), before);
}

}  // namespace
