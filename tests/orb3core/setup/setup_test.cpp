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
        for (const Role role : roles) {
            const double third = ++format.channelCount / 3.0;
            const auto type = role == Role::BassLFE ? spk::SpeakerType::SubWoofer : spk::SpeakerType::Normal;
            format.speakers->speakers.push_back({"L", {third, -2 * third, 2 * third}, type, role});
        }
        library.storeFormat(format);
    }
    void AddDecoder(const std::string& to, const std::string& method, std::uint32_t order, int priority = 3) {
        fl::Format field{"fsa" + std::to_string(order), "", {}, 0, {}, {}, (order + 1) * (order + 1)};
        field.acoustic = decltype(field.acoustic)(new FSAScheme(order));
        library.storeFormat(field);
        library.storeConversion({{field.tag, to, method}, fl::Priority(priority), false, {}, 1, ""});
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
    bool Run() {
        results = SetUp(this, this, document, frameworks, library, {3, 48000, 256, 3, 0.5});
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

TEST(SelectLayout, FollowsTheSystemSettingWithTheBestMethod) {
    const auto quad = DSSPEAKER_QUAD, mono = DSSPEAKER_MONO;
    const std::string set = "Layout set to 'Quad'.|changed";
    const std::string fit =
        "Our speaker layout does not match the current Windows setting. Updating our layout to correspond.|";
    // Stored, the last in force; setting, force; then the layouts, with a star for those of the selected
    // name, and the lines, or the failure.
    const std::tuple<std::vector<std::string>, std::uint32_t, bool, std::string, std::string> cases[] = {
        {{"Mine", "Quad", "Quad", "Mono"}, quad, false, "Mine@0 *Quad@1 *Quad@2 Mono@3 ", fit + set},
        {{"Mono", "Mine"}, quad, false, "Mono@0 *Mine@1 ", ""},
        {{"Mine", "Ghost"}, quad, false, "*Mine@0 Ghost@1 ", fit + "Layout set to 'Mine'.|changed"},
        {{}, quad, false, "*Quad@d23 ", "No layout is active. Attempting to autoselect.|" + set},
        {{"Mine", "Quad", "Quad"}, quad, true, "Mine@0 *Quad@d23 *Quad@2 ", set},
        {{"Mine", "Mine"}, quad, true, "*Quad@d23 Mine@1 ", set},
        {{"Mono"}, 0, true, "*Mono@0 ", "DirectSound not found.|"},
        {{"Mono"}, 0, false, "*Mono@0 ", "DirectSound not found. Disabling autoselect check.|"},
        {{}, DSSPEAKER_STEREO, true, "", "Unable to find supporting data for format 'Stereo'."},
        {{}, mono, true, "", "Unable to find data to convert to format 'Mono'."},
    };
    for (const auto& [stored, setting, force, expected, lines] : cases) {
        World w(setting);
        w.AddFormat("Mono", StandardFormat::Mono, Roles(1));
        for (const char* name : {"Mine", "Quad"})
            w.AddFormat(name, StandardFormat::Quad, Roles(4));
        w.AddDecoder("mono", "private", 4, 0);
        // A name, an order and a priority.
        for (const std::string m : {"a40", "b31", "c13", "d23", "e23", "f41"})
            w.AddDecoder("quad", m, std::uint32_t(m[1] - '0'), m[2] - '0');
        for (const std::string& format : stored) {
            auto& layout = *w.document.layouts.emplace_back(new spk::Layout);
            layout.format = w.document.selectedName = format;
            layout.method = std::to_string(w.document.layouts.size() - 1);
        }
        w.lines += Failure([&, force = force] { w.lines += w.Select(force) ? "changed" : ""; });
        for (const auto& l : w.document.layouts)
            w.lines += (l->format == w.document.selectedName ? "*" : "") + l->format + "@" + l->method + " ";
        EXPECT_EQ(w.lines, lines + expected);
        EXPECT_EQ(w.document.useDirectSoundAutoselect, force || setting == quad);
    }
}

TEST(ValidateConfiguration, TellsWhatIsWrongAndTakesItOut) {
    const std::string off = " Audio output has not been set up.";
    const std::string bad = " Decoders are not set up for this format.";
    const std::string gains = " The gain of the layout was not a number. The gain of 'L' was not a number.";
    const std::string loose = " Not all audio outputs have been connected up (see 'L').";
    const std::string twice = " Output 'Right' is used more than once.";
    const std::string mute = " No audio channels are present.";
    // An edit of a good configuration, the findings, and those of a second run.
    const std::tuple<void (*)(Configuration&, spk::Layout&), std::string, std::string> cases[] = {
        {[](auto&, auto& l) { l.Read(*l.CreateNode()); }, "", ""},
        {[](auto&, auto& l) { l.channels[0] = {"Right(1)"}; }, twice, twice},
        {[](auto& c, auto&) { c.layouts.clear(); }, " There are no layouts to select from.", "="},
        {[](auto& c, auto&) { c.selectedName.clear(); }, " There was no selected layout.", ""},
        {[](auto& c, auto&) { c.selectedName = "X"; }, " Unable to find selected layout 'X'.", ""},
        {[](auto&, auto& l) { l.speakers = {}, l.channels = {}; }, mute + bad, mute + bad},
        {[](auto&, auto& l) { l.pipeFramework = "X"; }, " Unknown audio framework 'X'.", off},
        {[](auto&, auto& l) { l.pipeDevice = "X"; }, " Unknown audio device 'X'.", off},
        {[](auto&, auto& l) { l.gain = NAN, l.channels[1].gain = INFINITY; }, gains, ""},
        {[](auto& c, auto& l) { c.selectedName = l.format = "Ghost"; }, bad, bad},
        {[](auto&, auto& l) { l.speakers[0].location.x += 1e-6; }, bad, bad},
        {[](auto&, auto& l) { l.channels[0] = {"X"}; }, " Output 'X' was not available.", loose},
        {[](auto&, auto& l) { l.method = "X"; }, " A decoder method has not been selected.", "="},
    };
    for (const auto& [edit, findings, left] : cases) {
        World w(DSSPEAKER_STEREO);
        w.AddFormat("Pair", {}, Roles(2));
        w.AddDecoder("pair", "basic", 1);
        edit(w.document, w.AddLayout("Pair"));
        for (const std::string& expected : {findings, left == "=" ? findings : left})
            EXPECT_EQ(Failure([&] { ValidateConfiguration(w.library, w.document, w.frameworks); }),
                      (expected.empty() ? "" : "The speaker layout is not valid:") + expected);
    }
}

// The layout's channels stand in the reverse order of the device's, whose first one stays out of use. Gains
// are in units of a field's on one speaker.
TEST(SetUp, GivesDecoderAndDedicatedOutputsTheChannelsOfThePipe) {
    using Gains = std::map<std::uint32_t, double>;
    const auto left = Role::FrontLeft, lfe = Role::BassLFE, talk = Role::FrontCentreDialogue;
    const double two = std::pow(2, -0.25);  // a pair in a field of two
    // Roles, discarded distance, orders of decoders, the one for order 3, gains.
    const std::tuple<Roles, bool, std::string, std::uint32_t, Gains, Gains> cases[] = {
        {{lfe, left}, false, "1245", 4, {}, {{1, 1}}},
        {{left, lfe, lfe}, false, "532", 3, {}, {{1, 2 / 2.0}, {0, 3 / 2.0}}},
        {{Role::FrontCentre, left, talk}, true, "121", 2, {{2, two}, {0, two}}, {}},
    };
    for (const auto& [roles, discard, orders, order, centre, bass] : cases) {
        World w(DSSPEAKER_QUAD);
        const auto count = std::uint32_t(roles.size());
        w.AddFormat("All", {}, roles, discard);
        w.AddDecoder("all", "other", 3, 0);
        for (const char c : orders)
            w.AddDecoder("all", "basic", std::uint32_t(c - '0'), c == orders[0] ? 3 : 0);
        w.AddTransform("all", count, order, {true, false, false});
        w.document.useDirectSoundAutoselect = false;
        spk::Layout& layout = w.AddLayout("All");
        for (std::uint32_t i = 0; i < count; ++i)
            layout.channels[i] = {w.Device()->GetPlaybackChannelName(count - i) + "(x)", 3};
        EXPECT_FALSE(w.Run());
        const double scale = 0.5 * 0.45 * 3, level = std::sqrt(4 * std::acos(-1)) * scale;
        for (std::uint32_t i = 0, c = count - 1; i < count; ++i, --c) {
            EXPECT_EQ(w.results.pipe->GetPlaybackChannelName(c), layout.channels[i].pipePlaybackChannel);
            for (std::uint32_t r = 0; r < (order + 1) * (order + 1); ++r)
                EXPECT_EQ(w.results.transform.impulses(r, c)[0], float(scale) * float(r * count + i + 1));
        }
        ASSERT_EQ(w.results.centreOutputs.size() + w.results.bassOutputs.size(), centre.size() + bass.size());
        for (const DedicatedOutput& output : w.results.centreOutputs)
            EXPECT_NEAR(output.gain, centre.at(output.channel) * level, 1e-6);
        for (const DedicatedOutput& output : w.results.bassOutputs)
            EXPECT_NEAR(output.gain, bass.at(output.channel) * level, 1e-6);
        EXPECT_NE(Failure([&] { layout.channels[0].gain = 1e300, w.Run(); }), "");
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

TEST(ResolveOrder, NeverExceedsTheTransform) {
    for (const auto& [inputs, configured, order] : {std::tuple(4U, 4, 1), {17, 4, 3}, {25, 4, 4}, {25, 1, 1}})
        EXPECT_EQ(ResolveOrder(inputs, configured), order);
    EXPECT_EQ(Failure([] { ResolveOrder(2, 3); }), "Invalid transform (less that first order).");
    EXPECT_EQ(Failure([] { ResolveOrder(8, 3); }),
              "Unable to resolve the decoding order because the configured transform had an input channel "
              "count of 8.");
}

}  // namespace
