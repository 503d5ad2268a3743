// A whole library on the disc: made, opened as the renderer opens it, and judged; and the plots of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "library/check/librarycheck.h"
#include "library/check/libraryplots.h"
#include "library/formatlayout.h"
#include "library/layoutreader.h"
#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "library/speakerdecoder.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/formatlibraries.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace design {
namespace {

namespace fs = std::filesystem;
using orb3::fl::FormatRegistrar;

const orb3::aspace::BasicAcousticFactory acoustics;
constexpr int testRate = 48000;

const char* const roomFile =
    "name: Attic\n"
    "Left: azimuth 40, distance 2.5, role FrontLeft\n"
    "Right: azimuth -35, distance 2\n"
    "Back: azimuth 170, elevation 10, distance 1.5\n"
    "Top: elevation 80, distance 1.2\n"
    "Sub: x 1, type Sub-Woofer, role BassLFE\n";

SpeakerLayout ReadRoom(const std::string& text) {
    std::istringstream stream(text);
    return ReadLayout(stream, "room.txt");
}

// A copy of the build tree's library, which each test may change.
class Library : public testing::Test {
protected:
    Library() {
        fs::copy(testing_support::TemporaryStore::FormatLibrary().parent_path(), folder.path / "lib");
        fs::remove(folder.path / "lib" / "games.conf");
    }

    std::string Path(const std::string& name) const { return folder.path / name / "Tessarune.afl"; }
    auto Open(const std::string& name = "lib") const {
        return orb3::fl::openFormatLibrary(Path(name), acoustics, nullptr, true, false);
    }
    std::unique_ptr<FormatRegistrar> Change() const {
        return orb3::fl::createLibrarian(Path("lib"), acoustics, nullptr, false);
    }

    const testing_support::TemporaryFolder folder;
};

TEST_F(Library, ARoomOfUnequalDistances_IsAddedWithAllMethodsAndReplaced) {
    const auto library = Change();
    const std::uint32_t before = library->getFormatCount();
    for (int time : {1, 2}) {
        AddSpeakerLayout(ReadRoom(roomFile), {testRate}, *library);
        library->commit();
        EXPECT_EQ(library->getFormatCount(), before + 1) << time;
    }
    const auto changed = Open();
    EXPECT_EQ(orb3::FindDecoders(*changed, "attic").size(), 4u * MethodsFor(ReadRoom(roomFile)).size());
    orb3::fl::Format format;
    changed->getFormat(changed->findFormat("attic"), format);
    EXPECT_NEAR(LayoutOfFormat(format).speakers[2].distance, 1.5, 1e-6);
    EXPECT_FALSE(HasUnknownDelays(LayoutOfFormat(format)));
}

// Selection asks for the system's speakers by exactly their name.
TEST_F(Library, ARoomNamedNearlyAsTheSystemsSpeakers_IsFoundAtADefaultStart) {
    const auto library = Change();
    AddSpeakerLayout(ReadRoom("name: -stereo-\nL: azimuth 40\nR: azimuth -35\n"), {testRate}, *library);
    orb3::spk::Layout layout;
    orb3::ConfigureLayout(*library, layout, nullptr, nullptr, "Stereo");
    ASSERT_EQ(layout.speakers.size(), 2u);
    EXPECT_EQ(layout.speakers[0].label, "L");
}

// Plain mode matching under the name of the method with limits: 6 dB too loud at the side.
TEST_F(Library, ADecoderBeyondItsLimits_IsNamedByTheCheck) {
    const auto library = Change();
    const orb3::fl::ConversionTag tag{"fsa4", "surround71wide", "dualband"};
    for (const SpeakerLayout& layout : StandardLayouts())
        if (layout.family == slib::StandardFormat::Surround71Wide)
            library->storeTransform(
                tag, {.possible = true},
                DesignSpeakerDecoder(layout, 4, SpeakerMethod::Basic, testRate).transform);
    const std::string fault = testing_support::Failure([&] { CheckLimits(*library, testRate); });
    EXPECT_EQ(fault.find("'Surround 7.1 (Wide)' by 'dualband' at order 4 is off in level by +"), 0u) << fault;
}

TEST_F(Library, ARoomWithTheNameOfWhatOthersNeed_IsRefusedAndNothingChanges) {
    const auto library = Change();
    for (const char* name : {"FSA1", "Surround 7.1", "Headphone Stereo"}) {
        SpeakerLayout room = ReadRoom(roomFile);
        room.name = name;
        EXPECT_THROW(AddSpeakerLayout(room, {testRate}, *library), slib::BadDataException) << name;
    }
    EXPECT_FALSE(library->hasPendingData());
}

TEST_F(Library, MadeByAnyNumberOfThreads_IsTheSameByteForByte) {
    for (const unsigned threads : {1U, 5U}) {
        fs::copy(folder.path / "lib", folder.path / std::to_string(threads));
        const auto library =
            orb3::fl::createLibrarian(Path(std::to_string(threads)), acoustics, nullptr, false);
        AddSpeakerLayout(ReadRoom(roomFile), {testRate}, *library, threads);
        library->commit();
    }
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(folder.path / "1")) {
        const fs::path other = folder.path / "5" / entry.path().filename();
        EXPECT_EQ(testing_support::ReadFile(entry.path()), testing_support::ReadFile(other)) << other;
        ++files;
    }
    EXPECT_GT(files, 20u);
}

TEST_F(Library, WriteLibrary_ThatFails_LeavesTheOldLibraryOrNone) {
    const std::uint32_t before = Open()->getConversionCount();
    const auto fail = [](FormatRegistrar& library) {
        library.setTag("Half");
        throw slib::BadDataException("It fails.");
    };
    for (const char* name : {"lib", "none"})
        EXPECT_THROW(WriteLibrary(Path(name), fail), slib::BadDataException);
    EXPECT_EQ(Open()->getConversionCount(), before);
    EXPECT_FALSE(fs::exists(Path("none")));
    EXPECT_FALSE(fs::exists(Path("none") + ".new"));
    std::ofstream(Path("lib")) << "no library";
    EXPECT_THROW(WriteLibrary(Path("lib"), fail), slib::BadDataException);
}

TEST_F(Library, WriteLibrary_OverAnotherOne_LeavesNoFileOfThat) {
    AddSpeakerLayout(ReadRoom(roomFile), {testRate}, *Change());
    const auto filesOfACopy = [&](const std::string& name) {
        WriteLibrary(Path(name), [&](FormatRegistrar& library) {
            const fs::path original = testing_support::TemporaryStore::FormatLibrary();
            CopyLibrary(*orb3::fl::openFormatLibrary(original, acoustics, nullptr, true, false), library);
        });
        const fs::directory_iterator files(folder.path / name);
        return std::count_if(begin(files), end(files),
                             [](const auto& file) { return file.path().extension() != ".lock"; });
    };
    EXPECT_EQ(filesOfACopy("lib"), filesOfACopy("none"));
}

TEST_F(Library, CheckTransforms_FindsAWrongLevel) {
    const auto library = Change();
    const orb3::fl::ConversionTag tag{"fsa1", "quad", "energy"};
    DecoderTransform transform;
    library->getTransform(library->findConversion(tag), testRate, transform);
    for (std::uint32_t i = 0; i < transform.impulses.size; ++i)
        transform.impulses.data[i][0] *= 1.1;
    library->storeTransform(tag, {.possible = true}, transform);
    library->commit();
    for (const TransformFinding& finding : CheckTransforms(*Open())) {
        const orb3::fl::ConversionTag& found = finding.conversion;
        const bool isChanged = finding.rate == testRate && describe(found) == describe(tag);
        EXPECT_EQ(finding.fault.empty(), !isChanged) << finding.fault;
    }
}

TEST(Drawing, AnyPlot_EscapesItsTextsAndDrawsEachSeries) {
    const LinePlot lines{.title = "A < B & \"C\"",
                         .xLabel = "x",
                         .yLabel = "y",
                         .series = {{.label = "<one>", .x = {0, 1, 2}, .y = {0, NAN, 1}, .isDashed = true},
                                    {.label = "two", .x = {0, 1}, .y = {5, 5}}},
                         .xRange = {},
                         .yRange = {}};
    const PolarPlot polar{
        .title = lines.title, .unit = " dB", .series = lines.series, .range = {-12, 6}, .marks = {0, 1}};
    for (const std::string& text : {DrawLines(lines), DrawPolar(polar)}) {
        for (const char* fault : {"A < B", "B & ", "<one>", "nan"})
            EXPECT_EQ(text.find(fault), std::string::npos) << fault;
        const std::regex dashes("stroke-dasharray");
        const std::sregex_iterator found(text.begin(), text.end(), dashes);
        EXPECT_EQ(std::distance(found, {}), 3);  // two pieces, and the legend
    }
    EXPECT_THROW(DrawLines({}), slib::BadParameterException);
}

TEST(LibraryPlots, EnergyVectorsOfARegularRing_LieOnTheLimit) {
    const SpeakerLayout octagon = RegularLayouts()[1];
    const DecoderTransform transform =
        DesignSpeakerDecoder(octagon, 3, SpeakerMethod::Energy, testRate).transform;
    const PolarPlot plot = PlotEnergyVectors(octagon, 3, transform, "Octagon");
    EXPECT_EQ(plot.marks.size(), 8u);
    for (const double length : plot.series[0].y)
        EXPECT_NEAR(length, plot.series[1].y[0], 1e-6);
    const double azimuth = AzimuthOf(octagon.speakers[2].direction);
    const auto impulses = PlotImpulses(octagon, transform, azimuth, "Octagon").series;
    const auto loudest =
        std::ranges::max_element(impulses, {}, [](const PlotSeries& series) { return series.y[0]; });
    EXPECT_EQ(loudest - impulses.begin(), 2);
}

}  // namespace
}  // namespace design
