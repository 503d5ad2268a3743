// What reaches the snapshot at a copy, and what comes back at a merge, step by step.

#include "goal/enginestate.h"

#include <gtest/gtest.h>

#include "goal/fx/echoparameters.h"

namespace goal {
namespace {

class EngineState : public testing::Test {
protected:
    // A source that the snapshot has as Playing in its third buffer.
    EngineState() {
        application.sources.append(Source());
        Copy();
        source().state = SourceState::Playing;
        source().queueIndex = 2;
        source().stateChanged = true;
        Touch();
        Copy();
    }

    void Copy() { CopyToSnapshot(snapshot, application); }
    void Merge() { MergeProgress(snapshot, application); }
    void Touch() { application.touched.Insert(0); }
    Source& source() { return application.sources[0]; }
    Source& rendered() { return snapshot.sources[0]; }
    SourceRendererState& memory() { return snapshot.sourceStates[0]; }

    ApplicationState application;
    RenderSnapshot snapshot;
};

TEST_F(EngineState, Copy_OfAnUntouchedSource_LeavesTheSnapshotAlone) {
    rendered().position = 77;
    memory().direct.gain = 0.25F;
    Copy();
    EXPECT_EQ(rendered().position, 77U);
    EXPECT_EQ(memory().direct.gain, 0.25F);
}

TEST_F(EngineState, Copy_RestartsMemoryForAPlayAndNotForAPauseOrAParameter) {
    struct Case {
        SourceState state;
        bool stateChanged;
        bool isReset;
    };
    for (const auto& [state, stateChanged, isReset] :
         {Case{SourceState::Playing, true, true}, Case{SourceState::Paused, false, false},
          Case{SourceState::Stopped, true, false}, Case{SourceState::Playing, false, false}}) {
        memory().direct.gain = 0.25F;
        source().state = state;
        source().stateChanged = stateChanged;
        source().parametersDirty = true;
        source().gain = 0.5F;
        Touch();
        Copy();
        EXPECT_EQ(memory().direct.gain, isReset ? 1 : 0.25F);
        EXPECT_EQ(rendered().gain, 0.5F);
        EXPECT_EQ(rendered().state, state);
        EXPECT_FALSE(source().stateChanged || source().parametersDirty);
    }
}

TEST_F(EngineState, Copy_OfANameDeletedAndTakenAnewBetweenTwoBlocks_IsANewSource) {
    memory().direct.gain = 0.25F;
    rendered().position = 77;
    source() = Source();
    Touch();
    Copy();
    EXPECT_EQ(rendered().position, 0U);
    EXPECT_EQ(rendered().state, SourceState::Initial);
    source().deleted = true;
    Touch();
    Copy();
    source() = Source();
    source().state = SourceState::Playing;
    Touch();
    Copy();
    EXPECT_FALSE(rendered().deleted);
    EXPECT_EQ(memory().direct.gain, 1);
    EXPECT_TRUE(snapshot.playing.Contains(0));
}

TEST_F(EngineState, Copy_KeepsOneMemoryForEachSend) {
    source().sends.resizePreserving(2, {});
    source().parametersDirty = true;
    Touch();
    Copy();
    memory().sends[0].gain = 0.5F;
    source().sends.resizePreserving(1, {});
    source().parametersDirty = true;
    Touch();
    Copy();
    ASSERT_EQ(memory().sends.size, 1U);
    EXPECT_EQ(memory().sends[0].gain, 0.5F);
}

struct MergeCase {
    SourceState rendered;
    std::uint32_t renderedIndex;
    std::uint32_t unqueued;
    bool stateChanged;
    SourceState state;
    std::uint32_t index;
};

class MergeTest : public EngineState, public testing::WithParamInterface<MergeCase> {};

TEST_P(MergeTest, Merge_BringsBackWhatTheRendererMovedUnlessTheGameHasSpoken) {
    rendered().state = GetParam().rendered;
    rendered().queueIndex = GetParam().renderedIndex;
    rendered().position = 5 << 16;
    source().unqueuedCount = GetParam().unqueued;
    source().queueIndex = 2 - GetParam().unqueued;
    source().stateChanged = GetParam().stateChanged;
    source().gain = 0.5F;
    Merge();
    EXPECT_EQ(source().state, GetParam().state);
    EXPECT_EQ(source().queueIndex, GetParam().index);
    EXPECT_EQ(source().position, GetParam().stateChanged ? 0U : 5U << 16);
    EXPECT_EQ(source().gain, 0.5F);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, MergeTest,
    testing::Values(MergeCase{SourceState::Playing, 4, 0, false, SourceState::Playing, 4},
                    MergeCase{SourceState::Playing, 4, 2, false, SourceState::Playing, 2},
                    MergeCase{SourceState::Stopped, 0, 0, false, SourceState::Stopped, 0},
                    MergeCase{SourceState::Stopped, 0, 2, false, SourceState::Stopped, 0},
                    MergeCase{SourceState::Stopped, 0, 0, true, SourceState::Playing, 2}));

TEST_F(EngineState, Slots_HaveTheirOwnEffectInEachRecord) {
    application.slots.append({});
    application.slots[0].effect = EffectParametersPtr(new fx::EchoParameters);
    application.slots[0].dirty = true;
    Copy();
    const EffectProcessorParameters* const first = snapshot.slots[0].effect.Get();
    EXPECT_NE(first, application.slots[0].effect.Get());
    application.slots[0].gain = 0.5F;
    Copy();
    EXPECT_EQ(snapshot.slots[0].gain, 1);
    application.slots[0].dirty = true;
    Copy();
    EXPECT_EQ(snapshot.slots[0].gain, 0.5F);
    EXPECT_EQ(snapshot.slots[0].effect.Get(), first);  // assigned in place: the running effect keeps its state
}

TEST_F(EngineState, EndSuspend_BringsOverWhatChangedAndKeepsWhatTheRendererMoved) {
    SuspendedState suspended;
    BeginSuspend(suspended, application);
    EXPECT_FALSE(suspended.sources[0].stateChanged);
    suspended.sources[0].gain = 0.5F;
    suspended.sources[0].parametersDirty = true;
    suspended.sources.append(Source());
    suspended.listenerGain = 0.25F;
    rendered().position = 9 << 16;
    Merge();
    EndSuspend(suspended, application);
    EXPECT_EQ(source().gain, 0.5F);
    EXPECT_EQ(source().position, 9U << 16);
    EXPECT_EQ(application.listenerGain, 0.25F);
    Copy();
    EXPECT_EQ(snapshot.sources.size, 2U);
    EXPECT_EQ(rendered().gain, 0.5F);
    EXPECT_EQ(snapshot.listenerGain, 0.25F);
}

}  // namespace
}  // namespace goal
