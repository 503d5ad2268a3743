#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "orb3core/acoustics/fsascheme.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/setup/layoutselection.h"
#include "orb3core/setup/layoutvalidation.h"
#include "orb3core/setup/outputsetup.h"
#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/pipeexception.h"
#include "tests/support/failure.h"
#include "tests/support/scripteddevice.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace orb3;
using namespace platform;
using slib::StandardFormat;
using spk::Role;
using Roles = std::vector<Role>;
using testing_support::Failure;

const aspace::BasicAcousticFactory factory;

// An empty library, a device with a speaker setting and no layouts. As a log it joins the lines.
struct World : slib::Log {
    explicit World(std::uint32_t setting) { system->speakerConfig = setting; }
    void Write(const std::string& text, bool isError) override { lines += text + (isError ? "!" : "|"); }

    // Speaker i is i + 1 metres away.
    void AddFormat(const std::string& name, StandardFormat family, const Roles& roles, bool discard = false) {
        fl::Format format{MakeFormatTag(name), name, family, 7, {}, {}, 0, true, true};
        format.speakers = decltype(format.speakers)(new spk::SpeakerSet{{}, discard});
        format.speakers->distance = 3.464;  // 10 ms to the furthest
        for (const Role role : roles) {
            const double third = ++format.channelCount / 3.0;
            const auto type = role == Role::BassLFE ? spk::SpeakerType::SubWoofer : spk::SpeakerType::Normal;
            format.speakers->speakers.push_back({"L", {third, -2 * third, 2 * third}, type, role});
        }
        library.storeFormat(format);
    }
    void AddDecoder(const std::string& to, const std::string& method, std::uint32_t order,
                    fl::Priority priority = fl::Priority::High) {
        fl::Format field{"fsa" + std::to_string(order), "", {}, 0, {}, {}, (order + 1) * (order + 1)};
        field.acoustic = decltype(field.acoustic)(new FSAScheme(order));
        library.storeFormat(field);
        library.storeConversion({{field.tag, to, method}, priority, false, {}, 1, ""});
    }
    // The one sample of response e is e + 1.
    void AddTransform(const char* to, std::uint32_t outputs, std::uint32_t order,
                      fl::TransformStatus status) {
        strans::TimeDomainTransform<double, 1> transform{48000, 0, 1, {(order + 1) * (order + 1), outputs}};
        for (std::uint32_t e = 0; e < transform.impulses.size; ++e)
            transform.impulses[e] = {e + 1.0};
        library.storeTransform({"fsa" + std::to_string(order), to, "basic"}, status, transform);
    }
    spk::Layout& AddLayout(const std::string& format) {
        auto& layout = *document.layouts.emplace_back(new spk::Layout);
        ConfigureLayout(library, layout, frameworks[0].Get(), Device().Get(), document.selectedName = format);
        return layout;
    }
    audiopipe::DevicePtr Device() { return frameworks[0]->GetDevice(0); }
    bool Select(bool force) { return SelectLayout(frameworks, library, document, this, force); }
    bool Run(std::uint32_t rate = 48000) {
        results = SetUp(this, this, document, frameworks, library, {3, rate, 256, 3, 0.5});
        return results.isConfigurationChanged;
    }

    const testing_support::TemporaryFolder folder;
    const std::string path = folder.path / "library.dfl";
    fl::DirectoryBasedFormatLibrarian library{(fl::CreateDirectoryLibrary(path, "", false), path), "",
                                              factory, false, false};
    const std::shared_ptr<testing_support::ScriptedSystem> system{new testing_support::ScriptedSystem};
    const Frameworks frameworks{
        audiopipe::FrameworkPtr(new audiopipe::directsound::AdaptiveDirectSoundFramework(this, system))};
    Configuration document;
    OutputSetUp results;
    std::string lines;
};

struct Selection {
    std::vector<std::string> stored{};  // formats of layouts; the last one's is the selected name
    std::uint32_t setting = DSSPEAKER_QUAD;
    bool force = false;
    std::vector<std::string> layouts{};  // afterwards, with their methods; those that were stored have none
    std::string lines{};                 // or the failure
};

const std::string fit =
    "Our speaker layout does not match the current Windows setting. Updating our layout to correspond.|";
const Selection selections[] = {
    {.stored = {"Mine", "Quad", "Mono"},
     .layouts = {"Mine", "*Quad", "Mono"},
     .lines = fit + "Layout set to 'Quad'.|changed"},
    {.stored = {"Mono", "Mine"}, .layouts = {"Mono", "*Mine"}},
    {.stored = {"Mine", "Ghost"},
     .layouts = {"*Mine", "Ghost"},
     .lines = fit + "Layout set to 'Mine'.|changed"},
    {.layouts = {"*Quad by the best"},
     .lines = "No layout is active. Attempting to autoselect.|Layout set to 'Quad'.|changed"},
    {.stored = {"Mine", "Quad", "Quad"},
     .force = true,
     .layouts = {"Mine", "*Quad by the best", "*Quad"},
     .lines = "Layout set to 'Quad'.|changed"},
    {.stored = {"Mono"},
     .setting = 0,
     .force = true,
     .layouts = {"*Mono"},
     .lines = "DirectSound not found.|"},
    {.stored = {"Mono"},
     .setting = 0,
     .layouts = {"*Mono"},
     .lines = "DirectSound not found. Disabling autoselect check.|"},
    {.setting = DSSPEAKER_STEREO,
     .force = true,
     .lines = "Unable to find supporting data for format 'Stereo'."},
    {.setting = DSSPEAKER_MONO, .force = true, .lines = "Unable to find data to convert to format 'Mono'."},
};

// For "Quad" the highest priority counts first, then the highest order, then the place in the library.
void AddDecodersForSelection(World& world) {
    world.AddFormat("Mono", StandardFormat::Mono, Roles(1));
    for (const char* name : {"Mine", "Quad"})
        world.AddFormat(name, StandardFormat::Quad, Roles(4));
    world.AddDecoder("mono", "private", 4, fl::Priority::Private);
    world.AddDecoder("quad", "private", 4, fl::Priority::Private);
    world.AddDecoder("quad", "low", 3, fl::Priority::Low);
    world.AddDecoder("quad", "low order", 1);
    world.AddDecoder("quad", "by the best", 2);
    world.AddDecoder("quad", "second best", 2);
    world.AddDecoder("quad", "low order 4", 4, fl::Priority::Low);
}

TEST(SelectLayout, FollowsTheSystemSettingWithTheBestMethod) {
    for (const Selection& selection : selections) {
        SCOPED_TRACE(selection.lines);
        World world(selection.setting);
        AddDecodersForSelection(world);
        for (const std::string& format : selection.stored)
            world.document.layouts.emplace_back(new spk::Layout)->format = world.document.selectedName =
                format;
        world.lines += Failure([&] { world.lines += world.Select(selection.force) ? "changed" : ""; });
        std::vector<std::string> layouts;
        for (const auto& layout : world.document.layouts)
            layouts.push_back((layout->format == world.document.selectedName ? "*" : "") + layout->format +
                              (layout->method.empty() ? "" : " ") + layout->method);
        EXPECT_EQ(layouts, selection.layouts);
        EXPECT_EQ(world.lines, selection.lines);
        EXPECT_EQ(world.document.useDirectSoundAutoselect,
                  selection.force || selection.setting == DSSPEAKER_QUAD);
    }
}

// What an edit of a good configuration is found to be, and what is left of that in a second run.
struct Fault {
    void (*edit)(Configuration&, spk::Layout&);
    std::string findings;
    std::string left = findings;
};

const std::string off = " Audio output has not been set up.";
const std::string bad = " Decoders are not set up for this format.";
const Fault faults[] = {
    {[](auto&, auto& l) { l.Read(*l.CreateNode()); }, ""},
    {[](auto&, auto& l) { l.channels[0] = {"Right(1)"}; }, " Output 'Right' is used more than once."},
    {[](auto& c, auto&) { c.layouts.clear(); }, " There are no layouts to select from."},
    {[](auto& c, auto&) { c.selectedName.clear(); }, " There was no selected layout.", ""},
    {[](auto& c, auto&) { c.selectedName = "X"; }, " Unable to find selected layout 'X'.", ""},
    {[](auto&, auto& l) { l.speakers = {}, l.channels = {}; }, " No audio channels are present." + bad},
    {[](auto&, auto& l) { l.pipeFramework = "X"; }, " Unknown audio framework 'X'.", off},
    {[](auto&, auto& l) { l.pipeDevice = "X"; }, " Unknown audio device 'X'.", off},
    {[](auto&, auto& l) { l.gain = NAN, l.channels[1].gain = INFINITY; },
     " The gain of the layout was not a number. The gain of 'L' was not a number.", ""},
    {[](auto& c, auto& l) { c.selectedName = l.format = "Ghost"; }, bad},
    {[](auto&, auto& l) { l.speakers[0].location.x += 1e-6; }, bad},
    {[](auto&, auto& l) { l.channels[0] = {"X"}; }, " Output 'X' was not available.",
     " Not all audio outputs have been connected up (see 'L')."},
    {[](auto&, auto& l) { l.method = "X"; }, " A decoder method has not been selected."},
};

TEST(ValidateConfiguration, TellsWhatIsWrongAndTakesItOut) {
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.findings);
        World world(DSSPEAKER_STEREO);
        world.AddFormat("Pair", {}, Roles(2));
        world.AddDecoder("pair", "basic", 1);
        fault.edit(world.document, world.AddLayout("Pair"));
        for (const std::string& expected : {fault.findings, fault.left})
            EXPECT_EQ(
                Failure([&] { ValidateConfiguration(world.library, world.document, world.frameworks); }),
                (expected.empty() ? "" : "The speaker layout is not valid:") + expected);
    }
}

struct Wiring {
    Roles roles;
    bool discardDistance = false;
    std::vector<std::uint32_t> orders;  // of the decoders; the first one's has the best priority
    std::uint32_t order;                // of the one that is taken for order 3
    std::map<std::uint32_t, double> centre{},
        bass{};  // gains of dedicated outputs, by the channel of the pipe
};

// Gains are in units of a field's on one speaker.
const Wiring wirings[] = {
    {.roles = {Role::BassLFE, Role::FrontLeft}, .orders = {1, 2, 4, 5}, .order = 4, .bass = {{1, 1}}},
    {.roles = {Role::FrontLeft, Role::BassLFE, Role::BassLFE},
     .orders = {5, 3, 2},
     .order = 3,
     .bass = {{1, 2 / 2.0}, {0, 3 / 2.0}}},
    {.roles = {Role::FrontCentre, Role::FrontLeft, Role::FrontCentreDialogue},
     .discardDistance = true,
     .orders = {1, 2, 1},
     .order = 2,
     .centre = {{2, std::pow(2, -0.25)}, {0, std::pow(2, -0.25)}}},  // a pair in a field of two
};

void ExpectGains(const std::vector<DedicatedOutput>& outputs, const std::map<std::uint32_t, double>& gains,
                 double unit) {
    ASSERT_EQ(outputs.size(), gains.size());
    for (const DedicatedOutput& output : outputs)
        EXPECT_NEAR(output.gain, gains.at(output.channel) * unit, 1e-6);
}

// The layout's channels stand in the reverse order of the device's, whose first one stays out of use.
TEST(SetUp, GivesDecoderAndDedicatedOutputsTheChannelsOfThePipe) {
    for (const Wiring& wiring : wirings) {
        SCOPED_TRACE(wiring.order);
        World world(DSSPEAKER_QUAD);
        const auto count = std::uint32_t(wiring.roles.size());
        world.AddFormat("All", {}, wiring.roles, wiring.discardDistance);
        world.AddDecoder("all", "other", 3, fl::Priority::Private);
        for (const std::uint32_t order : wiring.orders)
            world.AddDecoder("all", "basic", order,
                             order == wiring.orders[0] ? fl::Priority::High : fl::Priority::Private);
        world.AddTransform("all", count, wiring.order, {true, false, false});
        world.document.useDirectSoundAutoselect = false;
        spk::Layout& layout = world.AddLayout("All");
        for (std::uint32_t i = 0; i < count; ++i)
            layout.channels[i] = {world.Device()->GetPlaybackChannelName(count - i) + "(x)", 3};
        EXPECT_FALSE(world.Run());
        const double scale = 0.5 * 0.45 * 3, unit = std::sqrt(4 * std::acos(-1)) * scale;
        for (std::uint32_t i = 0, c = count - 1; i < count; ++i, --c) {
            EXPECT_EQ(world.results.pipe->GetPlaybackChannelName(c), layout.channels[i].pipePlaybackChannel);
            for (std::uint32_t r = 0; r < (wiring.order + 1) * (wiring.order + 1); ++r)
                EXPECT_EQ(world.results.transform.impulses(r, c)[0], float(scale) * float(r * count + i + 1));
        }
        const auto isOfField = [](Role role) {
            return role != Role::BassLFE && role != Role::FrontCentreDialogue;
        };
        const auto last = std::find_if(wiring.roles.rbegin(), wiring.roles.rend(), isOfField);
        const double furthest = double(wiring.roles.rend() - last);  // the speakers stand 1, 2, 3 ... away
        for (std::uint32_t i = 0, c = count - 1; i < count; ++i, --c)
            EXPECT_EQ(world.results.feedDelays[c], std::lround(480 * std::max(0.0, 1 - (i + 1) / furthest)));
        ExpectGains(world.results.centreOutputs, wiring.centre, unit);
        ExpectGains(world.results.bassOutputs, wiring.bass, unit);
        EXPECT_NE(Failure([&] { layout.channels[0].gain = 1e300, world.Run(); }), "");
    }
}

TEST(SetUp, OfADocumentWithoutLayouts_RecoversOnTheDefaultDevice) {
    World w(DSSPEAKER_STEREO);
    w.AddFormat("Stereo", StandardFormat::Stereo, Roles(2));
    w.AddDecoder("stereo", "basic", 1);
    w.AddTransform("stereo", 2, 1, {true, true, true});
    w.document.useDirectSoundAutoselect = false;
    EXPECT_TRUE(w.Run());
    EXPECT_EQ(w.lines,
              "Failed to initialise; attempting to recover using DirectSound. The issue was: The speaker "
              "layout is not valid: There are no layouts to select from.|Layout set to 'Stereo'.|Preparing "
              "decoder for first use.|");
    EXPECT_FALSE(w.Run());
}

// There is a transform at 48 kHz and at no other rate.
TEST(SetUp, AtARateThatTheOutputRefuses_TakesTheNearestBeforeATransformIsFetched) {
    World w(DSSPEAKER_STEREO);
    w.AddFormat("Stereo", StandardFormat::Stereo, Roles(2));
    w.AddDecoder("stereo", "basic", 1);
    w.AddTransform("stereo", 2, 1, {true, false, false});
    w.system->caps.dwMaxSecondarySampleRate = 60000;
    w.Run(4'000'000);
    EXPECT_EQ(w.results.pipe->GetSampleRate(), 48000);
    EXPECT_TRUE(w.lines.ends_with("The output doesn't run at 4000000Hz. Using 48000Hz.|")) << w.lines;
    w.results = {};
    w.system->onlyRate = 48000;
    w.Run(22050);
    EXPECT_EQ(w.results.transform.sampleRate, w.results.pipe->GetSampleRate());
    w.system->failures["CreateSoundBuffer"] = DSERR_ALLOCATED;
    EXPECT_NE(Failure<audiopipe::PipeException>([&] { w.Run(); }), "");
    w.system->onlyRate = 1;
    EXPECT_NE(Failure<audiopipe::PipeException>([&] { w.Run(); }).find("wave format"), std::string::npos);
}

TEST(ResolveOrder, NeverExceedsTheTransform) {
    EXPECT_EQ(ResolveOrder(4, 4), 1);
    EXPECT_EQ(ResolveOrder(25, 1), 1);
    EXPECT_EQ(Failure([] { ResolveOrder(2, 3); }), "Invalid transform (less that first order).");
    EXPECT_EQ(Failure([] { ResolveOrder(8, 3); }),
              "Unable to resolve the decoding order because the configured transform had an input channel "
              "count of 8.");
}

}  // namespace
