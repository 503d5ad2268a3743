#include "goal/render/sendstage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "goal/dsp/filterstage.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

struct SilentEffect : EffectProcessorState {
    explicit SilentEffect(EffectInput kind) : EffectProcessorState(1, kind, EffectOutput::Mono) {}
    void process(const EffectProcessArgs&) override {}
};

// A slot and a source straight ahead that sends the constant 1 to it, in blocks of 128 frames into a bus of
// order 1.
class SendStageTest : public testing::Test {
protected:
    SendStageTest() { buildFilterTables(*tables, 48000, false); }

    SendStage Make(EffectInput kind, bool directional = false) {
        snapshot.slots.append({});
        effects.clear();
        effects.push_back(std::make_unique<SilentEffect>(kind));
        source.sends.append({1, 0, {}});
        state.sends.resizePreserving(1, {});
        samples.resize(128);
        std::fill_n(samples.data, samples.size, 1.0F);
        geometry.innerHalfAngle = geometry.outerHalfAngle = pi;
        geometry.direction = {0.6F, 0.8F, 0};
        geometry.encode = {1, 0.6F, 0.8F, 0};
        SendStage stage(128, 4, directional, *tables, 1);
        stage.Sync(snapshot, effects);
        return stage;
    }

    float Heard(SendStage& stage, std::uint32_t channel) { return stage.Input(0).channels[channel][127]; }

    std::unique_ptr<FilterGainTables> tables = std::make_unique<FilterGainTables>();
    RenderSnapshot snapshot;
    std::vector<std::unique_ptr<EffectProcessorState>> effects;
    Source source;
    SourceRendererState state;
    SourceGeometry geometry;
    hcml::FloatTupleVector samples;
};

TEST_F(SendStageTest, EachKindOfInput_GetsItsChannels) {
    struct Case {
        EffectInput kind;
        bool directional;
        std::vector<float> heard;
    };
    for (const auto& [kind, directional, heard] :
         {Case{EffectInput::Mono, true, {0.5F}}, Case{EffectInput::Reverb, false, {0.5F}},
          Case{EffectInput::Reverb, true, {0.5F, 0.3F, 0.4F, 0}},
          Case{EffectInput::Field, false, {0.5F, 0.3F, 0.4F, 0}}}) {
        snapshot = RenderSnapshot();
        source = Source();
        SendStage stage = Make(kind, directional);
        stage.SendMono(source, state, snapshot, geometry, samples, 0.5F);
        testing_support::Signal last;
        for (std::uint32_t c = 0; c < stage.Input(0).channelCount; ++c)
            last.push_back(Heard(stage, c));
        EXPECT_THAT(last, testing_support::IsNear(1e-6F, heard)) << static_cast<int>(kind);
    }
}

TEST_F(SendStageTest, ASendToNobody_WaitsWithCleanMemory) {
    SendStage stage = Make(EffectInput::Mono);
    for (const std::uint32_t name : {0U, 2U, 0xFFFFFFFFU}) {
        source.sends[0].slotName = name;
        state.sends[0].gain = 0.25F;
        stage.SendMono(source, state, snapshot, geometry, samples, 1);
        EXPECT_EQ(state.sends[0].gain, 1);
        EXPECT_NEAR(Heard(stage, 0), 0, 1e-6);
    }
    effects[0].reset();
    source.sends[0].slotName = 1;
    stage.Sync(snapshot, effects);
    stage.SendMono(source, state, snapshot, geometry, samples, 1);
    EXPECT_EQ(stage.Input(0).channelCount, 0U);
}

TEST_F(SendStageTest, AnUnfitGain_SendsNothingAtOnce) {
    SendStage stage = Make(EffectInput::Mono);
    stage.SendMono(source, state, snapshot, geometry, samples, 1);
    EXPECT_GT(Heard(stage, 0), 0);
    stage.Sync(snapshot, effects);
    source.gain = std::numeric_limits<float>::infinity();
    stage.SendMono(source, state, snapshot, geometry, samples, 1);
    EXPECT_NEAR(Heard(stage, 0), 0, 1e-6);
}

TEST_F(SendStageTest, SeveralChannels_SendTheirMeanAndBFormatItsFirst) {
    SendStage stage = Make(EffectInput::Mono);
    hcml::ac::Bus input(128, 4);
    input.add(0, samples.data, 1);
    input.add(1, samples.data, 3);
    stage.SendMultiChannel(source, state, input, false, 0.5F);
    EXPECT_NEAR(Heard(stage, 0), 0.5 * (1 + 3) / 4, 1e-6);
    stage.Sync(snapshot, effects);
    stage.SendMultiChannel(source, state, input, true, 0.5F);
    EXPECT_NEAR(Heard(stage, 0), 0.5 / 4, 1e-6);
}

// The filters of sends run side by side when the block is mixed, by when their source's samples are gone.
TEST_F(SendStageTest, SeveralSends_AreEachFilteredWithAMemoryOfItsOwn) {
    SendStage stage = Make(EffectInput::Reverb, true);
    SourceRendererState states[] = {state, state, state};
    SourceFilterState references[3];
    hcml::FloatTupleVector filtered;
    for (int block = 0; block < 3; ++block) {
        testing_support::Signal expected(128);
        stage.Sync(snapshot, effects);
        for (std::uint32_t s = 0; s < 3; ++s) {
            source.sends[0].filter.gainHF = 0.9F - 0.3F * float(s);
            for (std::uint32_t i = 0; i < 128; ++i)
                samples.data[i] = float((i * (s + 3) + 50 * unsigned(block)) % 17) / 8 - 1;
            static_cast<void>(
                filterOne(source.sends[0].filter, references[s], samples, filtered, *tables, {}));
            for (std::uint32_t i = 0; i < 128; ++i)
                expected[i] += filtered.data[i];
            stage.SendMono(source, states[s], snapshot, geometry, samples, 1);
        }
        samples.clear();
        const float* heard = stage.Input(0).channels[0];
        EXPECT_THAT(testing_support::Signal(heard, heard + 128), testing_support::IsNear(2e-6F, expected));
    }
}

}  // namespace
}  // namespace goal
