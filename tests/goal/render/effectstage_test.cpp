// The slots' effects inside whole blocks: where their sound goes, how long their memory lives, and what a
// source gives them.

#include "goal/render/effectstage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>

#include "goal/fx/effecttypes.h"
#include "goal/state/parametertable.h"
#include "tests/support/scene.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

constexpr ParameterTable noParameters{};

// An effect of any shape. Channel c of its output is (c + 1) times the sum of the block's input, of `echo`
// times the last sample of the block before, and of `air` times what a reverb is told of the scene; the first
// `through` channels are those of the input as they are.
struct Probe : EffectProcessorParameters {
    EffectInput input = EffectInput::Mono;
    EffectOutput output = EffectOutput::Mono;
    std::uint32_t through = 0;
    float level = 1, echo = 0, air = 0;

    explicit Probe(std::int32_t type = 1) : EffectProcessorParameters(type, noParameters) {}
    void getName(std::string& name) const override { name = "Probe"; }
    std::unique_ptr<EffectProcessorParameters> clone() const override {
        return std::make_unique<Probe>(*this);
    }
    void assign(const EffectProcessorParameters& other) override { AssignSameClass(*this, other); }
    std::unique_ptr<EffectProcessorState> createState(const RenderContext& context) const override;
};

struct ProbeState : EffectProcessorState {
    float last = 0;

    explicit ProbeState(const Probe& probe)
        : EffectProcessorState(probe.effectType, probe.input, probe.output) {}
    void process(const EffectProcessArgs& args) override {
        constexpr std::uint32_t channels[] = {1, 2, 4, 6, 8, 25, 1, 1};
        const auto& probe = static_cast<const Probe&>(*args.parameters);
        for (std::uint32_t c = 0; c < channels[static_cast<int>(outputKind)]; ++c)
            for (std::uint32_t i = 0; i < args.frames; ++i)
                args.output[c][i] += static_cast<float>(c + 1) * args.slotGain *
                                     (probe.level * args.input[0][i] + probe.echo * last +
                                      probe.air * args.speedOfSound * args.metresPerUnit);
        for (std::uint32_t c = 0; c < probe.through; ++c)
            std::copy_n(args.input[c], args.frames, args.output[c]);
        last = probe.level * args.input[0][args.frames - 1];
    }
};

std::unique_ptr<EffectProcessorState> Probe::createState(const RenderContext&) const {
    return std::make_unique<ProbeState>(*this);
}

// A source of the constant 1 that is heard through one slot only.
class EffectStageTest : public testing::Test {
protected:
    // The reader of the linear quality leaves a part of the scale to the mix.
    explicit EffectStageTest(orb3::SampleRateConversion conversion = orb3::SampleRateConversion::Linear)
        : scene(128, conversion, 4, true, orb3::Sound::Classic) {
        scene.application.slots.append({});
        Source& source = scene.Add({1, 1});
        source.directFilter.gain = 0;
        source.sends.append({1, 0, {}});
    }

    void Set(const Probe& probe) {
        Slot().effect = EffectParametersPtr(new Probe(probe));
        Slot().dirty = true;
    }

    slib::WithDirtyTag<AuxSlotParameters>& Slot() { return scene.application.slots[0]; }

    testing_support::Scene scene;
};

class UnscaledReader : public EffectStageTest {
protected:
    UnscaledReader() : EffectStageTest(orb3::SampleRateConversion::Off) {}
};

TEST_F(EffectStageTest, EachKindOfInput_HasTheChannelsItTakes) {
    const float x = 2 / 3.0F, y = 1 / 3.0F, z = 2 / 3.0F;
    const struct {
        EffectInput kind;
        testing_support::Signal channels;
    } cases[] = {{EffectInput::Mono, {1}},
                 {EffectInput::Reverb, {1, x, y, z}},
                 {EffectInput::Field, {1, x, y, z, x * y}}};
    testing_support::Place(scene.Change(), {-1, 2, -2});  // left, above and ahead
    std::int32_t type = 0;
    for (const auto& c : cases) {
        Probe probe(++type);
        probe.input = c.kind;
        probe.output = EffectOutput::Field;
        probe.level = 0;
        probe.through = static_cast<std::uint32_t>(c.channels.size());
        Set(probe);
        scene.Render();
        EXPECT_THAT(scene.LastOf(probe.through), testing_support::IsNear(1e-6F, c.channels));
    }
}

TEST_F(UnscaledReader, ASendIntoAField_MovesItsWeightsFromBlockToBlock) {
    Probe probe;
    probe.input = EffectInput::Field;
    probe.output = EffectOutput::Field;
    probe.through = 3;
    Set(probe);
    for (const float left : {0.0F, 0.001F, 1.0F}) {  // at once, in one step, and then in 200
        testing_support::Place(scene.Change(), {-left, 0, left - 1});
        const testing_support::Signal heard = scene.Play(256, 2);
        for (std::size_t i = 0; i < heard.size(); ++i)
            ASSERT_NEAR(heard[i], std::min(left, 0.001F + 0.005F * float(i + 1)), 1e-4) << i;
    }
}

TEST_F(EffectStageTest, SeveralChannels_SendTheirMeanAndBFormatItsFirst) {
    Set(Probe());
    scene.Change().sends[0].slotName = 0;
    for (const auto& [format, heard] :
         {std::pair(AL_FORMAT_QUAD32, 4 / 4.0F), std::pair(AL_FORMAT_BFORMAT3D_FLOAT32, 1 / 4.0F)}) {
        Source& source = scene.Add({1, 3, 0, 0, 1, 3, 0, 0}, format);
        source.directFilter.gain = 0;
        source.sends.append({1, 0, {}});
        scene.Render();
        EXPECT_NEAR(scene.Last(0), heard, 1e-6);
        source.state = SourceState::Stopped;
        source.stateChanged = true;
        scene.application.touched.Insert(scene.application.sources.size - 1);
    }
}

TEST_F(EffectStageTest, ASendToNobody_WaitsWithCleanMemory) {
    Set(Probe());
    for (const std::uint32_t nobody : {0U, 2U, 0xFFFFFFFFU}) {
        scene.Change().sends[0] = {1, 0, {.gain = 0.25F}};
        scene.Play(1280, 0);
        scene.Change().sends[0] = {nobody, 0, {}};
        if (nobody == 2) scene.Change().sends[0] = {1, 0, {}, 1};  // of a slot that has the name no more
        scene.Render();
        EXPECT_NEAR(scene.Last(0), 0, 1e-6);
        scene.Change().sends[0] = {1, 0, {}};
        scene.Render();
        EXPECT_NEAR(scene.output.spatial.channels[0][0], 1, 1e-6);
    }
}

TEST_F(EffectStageTest, EachKindOfOutput_GoesToItsBusOrTheOutputsOwnChannel) {
    const RenderOutput& output = scene.output;
    const struct {
        EffectOutput kind;
        bool hasDedicated;
        float omni, front, lowFrequency, dialogue;  // -1: not written
    } cases[] = {
        {EffectOutput::Mono, true, 1, 0, -1, -1},
        {EffectOutput::Stereo, true, 3, 3 * 0.8660254F, -1, -1},
        {EffectOutput::Quad, true, 10, (1 + 2 - 3 - 4) * 0.7071068F, -1, -1},
        {EffectOutput::Surround51, true, 21, (1 + 2) * 0.8660254F + 3 - (5 + 6) * 0.3420201F, -1, -1},
        {EffectOutput::Surround71, true, 36, (1 + 2) * 0.8660254F + 3 - (5 + 6) * 0.8660254F, -1, -1},
        {EffectOutput::Field, true, 1, 2, -1, -1},
        {EffectOutput::LowFrequency, true, 0, 0, 1, -1},
        {EffectOutput::LowFrequency, false, 0, 0, -1, -1},
        {EffectOutput::Dialogue, true, 0, 0, -1, 1},
        {EffectOutput::Dialogue, false, 1, 1, -1, -1}};
    scene.application.listenerGain = 0.5F;
    std::int32_t type = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        Probe probe(++type);
        probe.output = c.kind;
        Set(probe);
        scene.output.hasLowFrequency = scene.output.hasDialogue = c.hasDedicated;
        for (int block = 0; block < 2; ++block) {
            scene.Render();
            EXPECT_NEAR(scene.Last(0), 0.5 * c.omni, 1e-5);
            EXPECT_NEAR(scene.Last(1), 0.5 * c.front, 1e-5);
            EXPECT_NEAR(output.lowFrequencyWritten ? output.lowFrequency.data[127] * 2 : -1, c.lowFrequency,
                        1e-6);
            EXPECT_NEAR(output.dialogueWritten ? output.dialogue.data[127] * 2 : -1, c.dialogue, 1e-6);
        }
    }
}

TEST_F(EffectStageTest, ATail_OutlivesAChangeOfParametersAndNothingElse) {
    Probe other(1), otherType(2);
    other.echo = otherType.echo = 0.25F;
    const std::pair<float, std::function<void()>> cases[] = {
        {0.5F, [] {}},
        {0.25F, [&] { Set(other); }},
        {0, [&] { Set(otherType); }},
        {0, [&] { Slot().effect = {}, Slot().dirty = true; }},
        {0, [&] { Slot().deleted = Slot().dirty = true; }}};
    for (const auto& [heard, change] : cases) {
        Probe probe;
        probe.echo = 0.5F;
        Slot() = {};
        Set(probe);
        scene.Change().sends[0].slotName = 1;
        scene.Render();
        scene.Change().sends[0].slotName = 0;
        change();
        scene.Render();
        EXPECT_NEAR(scene.Last(0), heard, 1e-6) << "case " << &heard - &cases[0].first;
        Slot() = {{{}, 1, true, true}, true};
        scene.Render();
    }
}

TEST_F(EffectStageTest, ASlotsGain_IsOfTheWetSoundAndItsSendsAreManualOrAutomatic) {
    Set(Probe());
    Slot().gain = 0.5F;
    testing_support::Place(scene.Change(), {0, 0, -4});
    scene.Change().sends.append({1, 0, {.gain = 0.5F}});
    for (const auto& [isAutomatic, heard] : {std::pair(false, 0.1875F), std::pair(true, 0.75F)}) {
        Slot().auxiliarySendAuto = isAutomatic;
        Slot().dirty = true;
        scene.Play(1280, 0);
        EXPECT_NEAR(scene.Last(0), heard, 1e-6);
    }
    scene.Change().gain = std::numeric_limits<float>::infinity();
    scene.Render();
    EXPECT_NEAR(scene.Last(0), 0, 1e-6);
}

TEST_F(EffectStageTest, EveryEffect_GetsTheScenesAir) {
    Probe probe;
    probe.air = 1;
    Set(probe);
    scene.application.speedOfSound = 100;
    scene.application.metersPerUnit = 0.5F;
    scene.Render();
    EXPECT_NEAR(scene.Last(0), 51, 1e-4);
}

TEST_F(EffectStageTest, WhatAnEffectMakesThatIsNotFinite_IsLeftOutAndForgotten) {
    testing_support::Place(scene.Add({0.5F, 0.5F}), {0, 0, -1});
    Probe probe;
    probe.echo = 0.5F;
    for (const EffectOutput kind : {EffectOutput::Mono, EffectOutput::Field})
        for (const float level :
             {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1.0F}) {
            probe.output = kind;
            probe.level = level;
            Set(probe);
            scene.Render();
            EXPECT_NEAR(scene.Last(0), level == 1 ? 1.5 : 0.5, 1e-6) << level;
        }
}

TEST_F(EffectStageTest, AnEffectThatNobodyHears_LeavesItsSendsFiltersRunning) {
    Probe probe;
    probe.output = EffectOutput::LowFrequency;
    Set(probe);
    scene.Change().sends[0].filter.gainHF = 0.5F;
    scene.output.hasLowFrequency = false;
    scene.Play(1280, 0);
    scene.output.hasLowFrequency = true;
    scene.Render();
    EXPECT_NEAR(scene.output.lowFrequency.data[0], 1, 1e-6);
}

}  // namespace
}  // namespace goal
