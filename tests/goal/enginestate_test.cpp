// What reaches the snapshot at a copy, and what comes back at a merge, step by step.

#include "goal/enginestate.h"

#include <gtest/gtest.h>

#include "goal/fx/echoparameters.h"

namespace goal {
namespace {

using enum SourceState;

class EngineState : public testing::Test {
protected:
    // A source that the snapshot has as Playing in its third buffer.
    EngineState() {
        application.sources.append(Source());
        Copy();
        source().state = Playing;
        source().queueIndex = 2;
        source().stateChanged = true;
        CopyTouched();
    }

    void Copy() { CopyToSnapshot(snapshot, application); }
    void CopyTouched() {
        application.touched.Insert(0);
        Copy();
    }
    Source& source() { return application.sources[0]; }
    Source& rendered() { return snapshot.sources[0]; }
    SourceRendererState& memory() { return snapshot.sourceStates[0]; }

    ApplicationState application;
    RenderSnapshot snapshot;
};

TEST_F(EngineState, Copy_RestartsMemoryForAPlayAndNotForAPauseOrAParameter) {
    struct Case {
        SourceState state;
        bool stateChanged, isReset;
    };
    for (const auto& [state, stateChanged, isReset] : {Case{Playing, true, true},
                                                       {Paused, false, false},
                                                       {Stopped, true, false},
                                                       {Playing, false, false}}) {
        memory().direct.gain = 0.25F;
        source().state = state;
        source().stateChanged = stateChanged;
        source().parametersDirty = true;
        source().gain = 0.5F;
        CopyTouched();
        EXPECT_EQ(memory().direct.gain, isReset ? 1 : 0.25F);
        EXPECT_EQ(rendered().gain, 0.5F);
        EXPECT_EQ(rendered().state, state);
        EXPECT_FALSE(source().stateChanged || source().parametersDirty);
    }
}

TEST_F(EngineState, Copy_LeavesAnUntouchedSourceAndBringsANewOneForANameTakenAnew) {
    memory().direct.gain = 0.25F;
    rendered().position = 77;
    Copy();  // of an untouched source
    EXPECT_EQ(rendered().position, 77U);
    EXPECT_EQ(memory().direct.gain, 0.25F);
    source() = Source();
    CopyTouched();
    EXPECT_EQ(rendered().position, 0U);
    EXPECT_EQ(rendered().state, Initial);
    source().deleted = true;
    CopyTouched();
    source() = Source();
    source().state = Playing;
    CopyTouched();
    EXPECT_FALSE(rendered().deleted);
    EXPECT_EQ(memory().direct.gain, 1);
    EXPECT_TRUE(snapshot.playing.Contains(0));
}

TEST_F(EngineState, Copy_KeepsOneMemoryForEachSend) {
    for (const std::uint32_t count : {2U, 1U}) {
        source().sends.resizePreserving(count, {});
        source().parametersDirty = true;
        CopyTouched();
        ASSERT_EQ(memory().sends.size, count);
        EXPECT_EQ(memory().sends[0].gain, count == 2 ? 1 : 0.5F);
        memory().sends[0].gain = 0.5F;
    }
}

struct MergeCase {
    SourceState rendered;
    std::uint32_t renderedIndex, unqueued;
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
    MergeProgress(snapshot, application);
    EXPECT_EQ(source().state, GetParam().state);
    EXPECT_EQ(source().queueIndex, GetParam().index);
    EXPECT_EQ(source().position, GetParam().stateChanged ? 0U : 5U << 16);
    EXPECT_EQ(source().gain, 0.5F);
}

const MergeCase mergeCases[] = {
    {Playing, 4, 0, false, Playing, 4},
    {Playing, 4, 2, false, Playing, 2},
    {Stopped, 0, 2, false, Stopped, 0},
    {Stopped, 0, 0, true, Playing, 2},
};
INSTANTIATE_TEST_SUITE_P(Blocks, MergeTest, testing::ValuesIn(mergeCases));

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
    // Assigned in place: the running effect keeps its state.
    EXPECT_EQ(snapshot.slots[0].effect.Get(), first);
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
    MergeProgress(snapshot, application);
    EndSuspend(suspended, application);
    EXPECT_EQ(source().position, 9U << 16);
    Copy();
    EXPECT_EQ(snapshot.sources.size, 2U);
    EXPECT_EQ(rendered().gain, 0.5F);
    EXPECT_EQ(snapshot.listenerGain, 0.25F);
}

}  // namespace
}  // namespace goal
