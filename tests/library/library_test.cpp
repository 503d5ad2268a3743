// A whole library on the disc: made, opened as the renderer opens it, and judged; and the plots of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>

#include "library/formatlayout.h"
#include "library/layoutreader.h"
#include "library/libraryassembly.h"
#include "library/librarycheck.h"
#include "library/libraryplots.h"
#include "library/librarywriter.h"
#include "library/speakerdecoder.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/formatlibraries.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "slib/sxml.h"

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

// Quad, the layout of the virtual speakers, and headphones, at one rate; made once.
class Library : public testing::Test {
protected:
    static inline fs::path folder;

    static void SetUpTestSuite() {
        std::string name = testing::TempDir() + "library_XXXXXX";  // tests run side by side
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
        LibraryPlan plan = DefaultPlan("/usr/share/libmysofa/default.sofa");
        std::erase_if(plan.layouts, [](const SpeakerLayout& layout) {
            return layout.name != "Quad" && layout.name != "Surround 7.1" &&
                   layout.kind != LayoutKind::Headphones;
        });
        plan.rates = {testRate};
        WriteLibrary(Path("first"), [&](FormatRegistrar& library) { AssembleLibrary(plan, library); });
    }
    static void TearDownTestSuite() { fs::remove_all(folder); }

    static std::string Path(const std::string& name) { return (folder / name / "small.dfl").string(); }

    static auto Open(const std::string& name) {
        return orb3::fl::openFormatLibrary(Path(name), acoustics, nullptr, true, false);
    }

    // A copy to be changed.
    static std::unique_ptr<FormatRegistrar> Copy(const std::string& name) {
        fs::copy(folder / "first", folder / name);
        return orb3::fl::createLibrarian(Path(name), acoustics, nullptr, false);
    }
};

TEST_F(Library, EveryTransform_IsThereAndAsLoudAsAllOthers) {
    const auto library = Open("first");
    EXPECT_EQ(library->getFormatCount(), 4u + 3);
    EXPECT_EQ(library->getConversionCount(), 4u * (4 + 4 + 2) + 2);
    const auto findings = CheckTransforms(*library);
    EXPECT_EQ(findings.size(), library->getConversionCount());
    for (const TransformFinding& finding : findings)
        EXPECT_EQ(finding.fault, "") << describe(finding.conversion);
    const auto isChain = [](const TransformFinding& f) { return f.conversion.method == virtualSpeakers; };
    const auto chain = std::ranges::find_if(findings, isChain);
    ASSERT_NE(chain, findings.end());
    EXPECT_TRUE(chain->hasLevel);
    EXPECT_NEAR(chain->level, 0, 0.5);
}

TEST_F(Library, Selection_TakesTheBestMethodOfALayout) {
    const auto library = Open("first");
    for (const auto& [name, method] : {std::pair{"Quad", "dualband"}, {"Headphone Stereo", measuredHead}}) {
        orb3::spk::Layout layout;
        orb3::ConfigureLayout(*library, layout, nullptr, nullptr, name);
        EXPECT_EQ(layout.method, method);
    }
}

TEST_F(Library, Heads_ComeOutOfTheLibraryAsTheyWereDesigned) {
    const auto library = Open("first");
    const auto heads = MakeReferenceHeads("/usr/share/libmysofa/default.sofa", testRate);
    const auto all = CheckHeads(*library, heads, testRate);
    ASSERT_EQ(all.size(), 9u);
    for (const HeadFigures& head : all) {
        if (head.order != 4 || head.method == virtualSpeakers) continue;
        EXPECT_LT(head.errors.delay.median, 5e-6) << head.method;
        EXPECT_LT(head.errors.whole.median, 1) << head.method;
    }
}

TEST_F(Library, ARoomOfUnequalDistances_IsAddedWithAllMethodsAndReplaced) {
    const auto library = Copy("room");
    for (int time : {1, 2}) {
        AddSpeakerLayout(ReadRoom(roomFile), {testRate}, *library);
        library->commit();
        EXPECT_EQ(library->getFormatCount(), 8u) << time;
    }
    for (const TransformFinding& finding : CheckTransforms(*Open("room")))
        EXPECT_EQ(finding.fault, "") << describe(finding.conversion);
    EXPECT_EQ(orb3::FindDecoders(*Open("room"), "attic").size(), 4u * MethodsFor(ReadRoom(roomFile)).size());
    orb3::fl::Format format;
    library->getFormat(library->findFormat("attic"), format);
    EXPECT_NEAR(LayoutOfFormat(format).speakers[2].distance, 0.6, 1e-9);
    EXPECT_TRUE(HasUnequalDistances(LayoutOfFormat(format)));
}

TEST_F(Library, ARoomWithTheNameOfWhatOthersNeed_IsRefusedAndNothingChanges) {
    const auto library = Copy("refusal");
    for (const char* name : {"FSA1", "Surround 7.1", "Headphone Stereo"}) {
        SpeakerLayout room = ReadRoom(roomFile);
        room.name = name;
        EXPECT_THROW(AddSpeakerLayout(room, {testRate}, *library), slib::BadDataException) << name;
    }
    EXPECT_FALSE(library->hasPendingData());
}

TEST_F(Library, WriteLibrary_ThatFails_LeavesTheOldLibraryOrNone) {
    Copy("old");
    const auto fail = [](FormatRegistrar& library) {
        library.setTag("Half");
        throw slib::BadDataException("It fails.");
    };
    for (const char* name : {"old", "none"})
        EXPECT_THROW(WriteLibrary(Path(name), fail), slib::BadDataException);
    EXPECT_EQ(Open("old")->getConversionCount(), Open("first")->getConversionCount());
    EXPECT_FALSE(fs::exists(Path("none")));
    EXPECT_FALSE(fs::exists(Path("none") + ".new"));
    std::ofstream(Path("old")) << "no library";
    EXPECT_THROW(WriteLibrary(Path("old"), fail), slib::BadDataException);
    const auto succeed = [](FormatRegistrar&) {};
    EXPECT_THROW(WriteLibrary((folder / "first" / "other.dfl").string(), succeed), slib::BadDataException);
}

TEST_F(Library, CopyOverAnotherLibrary_HoldsTheSameAndNoOtherFiles) {
    const auto old = Copy("target");
    AddSpeakerLayout(ReadRoom(roomFile), {testRate}, *old);
    old->commit();
    WriteLibrary(Path("target"), [](FormatRegistrar& library) { CopyLibrary(*Open("first"), library); });
    const auto files = [](const char* name) {
        return std::distance(fs::directory_iterator(folder / name), fs::directory_iterator());
    };
    EXPECT_EQ(files("target"), files("first"));
    EXPECT_EQ(Open("target")->getFormatCount(), Open("first")->getFormatCount());
    for (const TransformFinding& finding : CheckTransforms(*Open("target")))
        EXPECT_EQ(finding.fault, "") << describe(finding.conversion);
}

TEST_F(Library, CheckTransforms_FindsAWrongLevelAndAFileThatIsGone) {
    const auto library = Copy("faulty");
    const std::uint32_t index = library->findConversion({"fsa1", "quad", "energy"});
    DecoderTransform transform;
    library->getTransform(index, testRate, transform);
    for (std::uint32_t i = 0; i < transform.impulses.size; ++i)
        transform.impulses.data[i][0] *= 1.1;
    library->storeTransform({"fsa1", "quad", "energy"}, {.possible = true}, transform);
    library->commit();
    fs::remove(folder / "faulty" / "fsa2_quad_basic_48000.gtrn");
    std::vector<std::string> methods;
    for (const TransformFinding& finding : CheckTransforms(*Open("faulty")))
        if (!finding.fault.empty()) methods.push_back(finding.conversion.method);
    EXPECT_EQ(methods, (std::vector<std::string>{"energy", "basic"}));
}

TEST(RoundTicks, AreRoundAndInside) {
    EXPECT_EQ(RoundTicks({-12, 6}, 5), (std::vector<double>{-10, -5, 0, 5}));
    EXPECT_EQ(RoundTicks({0, 1}, 5).size(), 6u);
    EXPECT_EQ(RoundTicks({0.031, 0.069}, 4), (std::vector<double>{0.04, 0.05, 0.06}));
}

// Elements with text become empty ones, if the text holds nothing that has to be escaped.
std::string WithoutTexts(std::string svg) {
    for (const std::string end : {"</text>", "</title>"})
        for (std::size_t at = svg.find(end); at != svg.npos; at = svg.find(end)) {
            const std::size_t begin = svg.rfind('>', at);
            EXPECT_GT(begin, svg.rfind('<', at - 1));
            svg.replace(begin, at + end.size() - begin, "/>");
        }
    return svg;
}

TEST(Drawing, AnyPlot_IsWellFormedAndDrawsEachSeries) {
    const LinePlot lines{.title = "A < B & \"C\"",
                         .xLabel = "x",
                         .yLabel = "y",
                         .series = {{.label = "<one>", .x = {0, 1, 2}, .y = {0, NAN, 1}, .isDashed = true},
                                    {.label = "two", .x = {0, 1}, .y = {5, 5}}},
                         .xRange = {},
                         .yRange = {}};
    const PolarPlot polar{
        .title = "&", .unit = " dB", .series = lines.series, .range = {-12, 6}, .marks = {0, 1}};
    for (const std::string& text : {DrawLines(lines), DrawPolar(polar)}) {
        const slib::SXMLNode root(WithoutTexts(text.substr(text.find("<svg"))));
        const auto dashed = std::ranges::count_if(root.children, [](const auto& child) {
            return child->label == "polyline" && child->HasAttribute("stroke-dasharray");
        });
        EXPECT_EQ(dashed, 3);  // two pieces, and the legend
        EXPECT_EQ(text.find("nan"), std::string::npos);
    }
    EXPECT_THROW(DrawLines({}), slib::BadParameterException);
    EXPECT_THROW(DrawPolar({}), slib::BadParameterException);
}

TEST(LibraryPlots, EnergyVectorsOfARegularRing_LieOnTheLimit) {
    const SpeakerLayout octagon = RegularLayouts()[1];
    const DecoderTransform transform =
        DesignSpeakerDecoder(octagon, 3, SpeakerMethod::Energy, testRate).transform;
    const PolarPlot plot = PlotEnergyVectors(octagon, 3, transform, "Octagon");
    EXPECT_EQ(plot.marks.size(), 8u);
    for (const double length : plot.series[0].y)
        EXPECT_NEAR(length, plot.series[1].y[0], 1e-6);
    const LinePlot impulses = PlotImpulses(octagon, transform, std::numbers::pi / 4, "Octagon");
    EXPECT_EQ(impulses.series.size(), 8u);
    const auto loudest =
        std::ranges::max_element(impulses.series, {}, [](const PlotSeries& series) { return series.y[0]; });
    EXPECT_NEAR(
        AzimuthOf(octagon.speakers[static_cast<std::size_t>(loudest - impulses.series.begin())].direction),
        std::numbers::pi / 4, 1e-9);
}

}  // namespace
}  // namespace design
