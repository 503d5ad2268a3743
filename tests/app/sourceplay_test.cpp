#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <tuple>

#include "sourcefixture.h"

namespace {

using goal::SourceState;
using testing_support::SourceFixture;

// ---- The state machine ----

constexpr ALint placed = 7;  // frames into the first buffer, where the source stands before the call

struct Transition {
    const char* call;
    void(AL_APIENTRY* make)(ALuint);
    ALenum from;
    ALenum to;
    ALint offset;  // frames
    bool restarts;
};

const Transition transitions[] = {
    {"Play", alSourcePlay, AL_INITIAL, AL_PLAYING, placed, true},
    {"Play", alSourcePlay, AL_PLAYING, AL_PLAYING, 0, true},
    {"Play", alSourcePlay, AL_PAUSED, AL_PLAYING, placed, true},
    {"Play", alSourcePlay, AL_STOPPED, AL_PLAYING, placed, true},
    {"Stop", alSourceStop, AL_INITIAL, AL_INITIAL, placed, false},
    {"Stop", alSourceStop, AL_PLAYING, AL_STOPPED, 0, false},
    {"Stop", alSourceStop, AL_PAUSED, AL_STOPPED, 0, false},
    {"Stop", alSourceStop, AL_STOPPED, AL_STOPPED, placed, false},
    {"Rewind", alSourceRewind, AL_INITIAL, AL_INITIAL, placed, false},
    {"Rewind", alSourceRewind, AL_PLAYING, AL_INITIAL, 0, false},
    {"Rewind", alSourceRewind, AL_PAUSED, AL_INITIAL, 0, false},
    {"Rewind", alSourceRewind, AL_STOPPED, AL_INITIAL, 0, false},
    {"Pause", alSourcePause, AL_INITIAL, AL_INITIAL, placed, false},
    {"Pause", alSourcePause, AL_PLAYING, AL_PAUSED, placed, false},
    {"Pause", alSourcePause, AL_PAUSED, AL_PAUSED, placed, false},
    {"Pause", alSourcePause, AL_STOPPED, AL_STOPPED, placed, false},
};

std::string NameOf(ALenum state) {
    switch (state) {
        case AL_INITIAL:
            return "Initial";
        case AL_PLAYING:
            return "Playing";
        case AL_PAUSED:
            return "Paused";
        default:
            return "Stopped";
    }
}

class StateMachine : public SourceFixture, public testing::WithParamInterface<std::tuple<Transition, bool>> {
protected:
    // A source in that state at the frame `placed`, as the renderer has it too.
    ALuint MakeIn(ALenum state) {
        const ALuint source = MakeStream(2);
        if (state != AL_INITIAL) alSourcePlay(source);
        if (state == AL_STOPPED) alSourceStop(source);
        if (state == AL_INITIAL || state == AL_STOPPED) alSourcei(source, AL_SAMPLE_OFFSET, placed);
        Copy();
        if (state == AL_PLAYING || state == AL_PAUSED) RenderTo(source, 0, placed);
        Merge();
        if (state == AL_PAUSED) alSourcePause(source);
        Copy();
        return source;
    }

    bool MemoryIsClean(ALuint source) {
        return context->snapshot.sourceStates[source - 1].previousFrame[0] == 0;
    }
};

TEST_P(StateMachine, Call_BringsGameAndRendererToTheSameState) {
    const auto& [transition, isSuspended] = GetParam();
    const ALuint source = MakeIn(transition.from);
    context->snapshot.sourceStates[source - 1].previousFrame[0] = 1;

    if (isSuspended) Suspend();
    transition.make(source);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), transition.to);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), transition.offset);
    if (isSuspended) Resume();
    Copy();

    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), transition.to);
    EXPECT_EQ(static_cast<ALenum>(Rendered(source).state), transition.to);
    EXPECT_EQ(Rendered(source).position >> 16, static_cast<std::uint64_t>(transition.offset));
    EXPECT_EQ(MemoryIsClean(source), transition.restarts);
}

INSTANTIATE_TEST_SUITE_P(All, StateMachine, testing::Combine(testing::ValuesIn(transitions), testing::Bool()),
                         [](const auto& test) {
                             const Transition& transition = std::get<0>(test.param);
                             return transition.call + NameOf(transition.from) +
                                    (std::get<1>(test.param) ? "Suspended" : "");
                         });

// ---- The game and the renderer at once ----

class PlayCalls : public SourceFixture {};

TEST_F(PlayCalls, PlayWithoutABuffer_DoesNothing) {
    const ALuint source = MakeSource();
    alSourcePlay(source);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_INITIAL);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(PlayCalls, ListWithOneBadName_ChangesNoSource) {
    const ALuint names[] = {MakeStream(1), MakeStream(1), 99};
    alSourcePlayv(3, names);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    EXPECT_EQ(Get(names[0], AL_SOURCE_STATE), AL_INITIAL);
    const ALuint twice[] = {names[0], names[0]};
    alSourcePlayv(2, twice);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(Get(names[0], AL_SOURCE_STATE), AL_PLAYING);
}

TEST_F(PlayCalls, EndOfData_StopsTheSourceForTheGame) {
    const ALuint source = MakeStream(2);
    alSourcePlay(source);
    Copy();
    RenderToTheEnd(source);
    alSourcef(source, AL_GAIN, 0.25F);
    Merge();
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_STOPPED);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 2);
    Copy();
    EXPECT_EQ(Rendered(source).gain, 0.25F);
}

TEST_F(PlayCalls, PlayInTheBlockInWhichTheDataEnd_PlaysAgain) {
    const ALuint source = MakeStream(1);
    alSourcePlay(source);
    Copy();
    RenderToTheEnd(source);
    alSourcePlay(source);
    Merge();
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_PLAYING);
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Playing);
}

TEST_F(PlayCalls, PauseInTheBlockInWhichTheDataEnd_IsStopped) {
    const ALuint source = MakeStream(1);
    alSourcePlay(source);
    Copy();
    RenderToTheEnd(source);
    alSourcePause(source);
    Merge();
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_STOPPED);
}

TEST_F(PlayCalls, OffsetInTheMiddleOfABlock_WinsOverTheRenderer) {
    const ALuint source = MakeStream(3);
    alSourcePlay(source);
    Copy();
    RenderTo(source, 1, 50);
    alSourcei(source, AL_SAMPLE_OFFSET, 210);
    Merge();
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 210);
    Copy();
    EXPECT_EQ(Rendered(source).queueIndex, 2u);
    EXPECT_EQ(Rendered(source).position, 10u << 16);
}

TEST_F(PlayCalls, UnqueueDuringABlock_ShiftsTheRenderersIndex) {
    const ALuint source = MakeStream(6);
    alSourcePlay(source);
    Block(source, 2, 10);
    Copy();
    ALuint names[2] = {0, 0};
    alSourceUnqueueBuffers(source, 2, names);
    RenderTo(source, 4, 20);
    Merge();
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 2);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 220);
    Copy();
    EXPECT_EQ(Rendered(source).queueIndex, 2u);
    EXPECT_EQ(Rendered(source).queue.size, 4u);
}

TEST_F(PlayCalls, NameDeletedAndMadeAgainBetweenBlocks_IsANewSource) {
    const ALuint source = MakeStream(2);
    alSourcef(source, AL_GAIN, 0.5F);
    alSourcePlay(source);
    Block(source, 1, 30);
    alDeleteSources(1, &source);
    ASSERT_EQ(MakeSource(), source);
    const ALuint buffer = MakeBuffer(10);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcePlay(source);
    context->snapshot.sourceStates[source - 1].previousFrame[0] = 1;
    Copy();
    EXPECT_EQ(Rendered(source).gain, 1);
    EXPECT_EQ(Rendered(source).position, 0u);
    EXPECT_EQ(Rendered(source).queueIndex, 0u);
    ASSERT_EQ(Rendered(source).queue.size, 1u);
    EXPECT_EQ(Rendered(source).queue[0]->name, buffer);
    EXPECT_EQ(context->snapshot.sourceStates[source - 1].previousFrame[0], 0);
}

TEST_F(PlayCalls, NameDeletedAndMadeAgainDuringABlock_KeepsNothingOfTheOldSource) {
    const ALuint source = MakeStream(2);
    alSourcePlay(source);
    Copy();
    RenderTo(source, 1, 30);
    alDeleteSources(1, &source);
    ASSERT_EQ(MakeSource(), source);
    Merge();
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_INITIAL);
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 0);
}

TEST_F(PlayCalls, WhileSuspended_TheGameStillSeesTheRendererMove) {
    const ALuint source = MakeStream(2);
    alSourcePlay(source);
    Block(source, 0, 5);
    Suspend();
    Block(source, 1, 25);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 125);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 1);
}

TEST_F(PlayCalls, PauseWhileSuspended_ActsAtOnceAndPlayGoesOnFromThere) {
    const ALuint source = MakeStream(2);
    alSourcePlay(source);
    Block(source, 0, 5);
    Suspend();
    alSourcePause(source);
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Paused);
    Merge();

    alSourcePlay(source);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_PLAYING);
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Paused);
    Merge();
    Resume();
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Playing);
    EXPECT_EQ(Rendered(source).position, 5u << 16);
}

TEST_F(PlayCalls, StopWhileSuspended_IsHeardOnlyAfterTheEnd) {
    const ALuint source = MakeStream(1);
    alSourcePlay(source);
    Block(source, 0, 5);
    Suspend();
    alSourceStop(source);
    Block(source, 0, 9);
    EXPECT_EQ(Rendered(source).state, SourceState::Playing);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_STOPPED);
    Resume();
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Stopped);
    EXPECT_EQ(Rendered(source).position, 0u);
}

// A stream must not run dry because the game holds back other changes.
TEST_F(PlayCalls, QueueCallsWhileSuspended_ReachTheRendererAtOnce) {
    const ALuint source = MakeStream(3);
    alSourcePlay(source);
    Block(source, 2, 5);
    Suspend();
    const ALuint more = MakeBuffer(100);
    alSourceQueueBuffers(source, 1, &more);
    ALuint names[2] = {0, 0};
    alSourceUnqueueBuffers(source, 2, names);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    Copy();
    ASSERT_EQ(Rendered(source).queue.size, 2u);
    EXPECT_EQ(Rendered(source).queue[1]->name, more);
    EXPECT_EQ(Rendered(source).queueIndex, 0u);
    Merge();
    alSourceStop(source);  // from here on the suspended copy counts, and it has the same queue
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 2);
    Resume();
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 2);
}

TEST_F(PlayCalls, SourceMadeWhileSuspended_ReachesTheRendererWhole) {
    MakeStream(1);
    Copy();
    Suspend();
    const ALuint source = MakeStream(2);
    alSourcei(source, AL_SAMPLE_OFFSET, 130);
    alSourcePlay(source);
    Copy();
    EXPECT_EQ(context->snapshot.sources.size, 1u);
    Resume();
    Copy();
    EXPECT_EQ(Rendered(source).state, SourceState::Playing);
    EXPECT_EQ(Rendered(source).queueIndex, 1u);
    EXPECT_EQ(Rendered(source).position, 30u << 16);
    EXPECT_EQ(Rendered(source).queue.size, 2u);
}

// The server's copy and merge on a thread of their own, locked as the server locks them.
class ServerSteps {
public:
    ServerSteps(slib::Mutex& apiMutex, goal::Context& context)
        : thread([this, &apiMutex, &context] {
              while (!isLeaving) {
                  {
                      slib::Lock apiLock(apiMutex);
                      const slib::Lock lock(context.stateMutex);
                      apiLock.Release();
                      goal::CopyToSnapshot(context.snapshot, context.application);
                  }
                  const slib::Lock lock(context.stateMutex);
                  goal::MergeProgress(context.snapshot, context.application);
              }
          }) {}
    ~ServerSteps() {
        isLeaving = true;
        thread.join();
    }

private:
    std::atomic<bool> isLeaving{false};
    std::thread thread;
};

// Has its full worth under the thread sanitizer.
TEST_F(PlayCalls, CallsBesideTheServer_NeverMeetItInTheSameRecord) {
    const ALuint source = MakeStream(3);
    const ALuint playing = MakeStream(1);
    alSourcePlay(playing);
    const ALuint buffer = MakeBuffer(50);
    context->application.filters.append({});
    const ServerSteps server(process.engine.apiMutex, *context);
    for (int i = 0; i < 200; ++i) {
        if (i % 4 == 1) Suspend();
        for (int call = 0; call < 5; ++call) {
            alSourcePause(playing);
            alSourceQueueBuffers(playing, 1, &buffer);
        }
        alSourcePlay(playing);
        alSourcef(source, AL_GAIN, 0.5F);
        alSourcePlay(source);
        alSourcei(source, AL_SAMPLE_OFFSET, i % 100);
        alSourcePause(source);
        Get(source, AL_BYTE_OFFSET);
        Get(source, AL_SOURCE_STATE);
        alSourcei(source, AL_DIRECT_FILTER, 1);
        alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, i % 3, 1);
        alSourceQueueBuffers(source, 1, &buffer);
        alSourceStop(source);
        ALuint unqueued = 0;
        alSourceUnqueueBuffers(source, 1, &unqueued);
        const ALuint other = MakeSource();
        alSourcei(other, AL_BUFFER, static_cast<ALint>(buffer));
        alSourcePlay(other);
        alDeleteSources(1, &other);
        if (i % 4 == 3) Resume();
    }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 3);
}

// ---- Queues and AL_BUFFER ----

TEST_F(PlayCalls, Queue_RefusesAListWithOneWrongBufferAndQueuesNone) {
    const ALuint source = MakeSource();
    ALuint empty = 0;
    alGenBuffers(1, &empty);
    const ALuint good = MakeBuffer(10, 44100);
    const ALuint wrong[] = {empty, 0, 999, MakeBuffer(10, 22050), MakeBuffer(10, 44100, AL_FORMAT_MONO16)};
    for (const ALuint buffer : wrong) {
        const ALuint list[] = {good, buffer};
        alSourceQueueBuffers(source, 2, list);
        EXPECT_EQ(alGetError(), AL_INVALID_NAME) << buffer;
    }
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 0);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_UNDETERMINED);
    EXPECT_EQ(UseCount(good), 0);
}

TEST_F(PlayCalls, Queue_CountsEachPlaceOfABuffer) {
    const ALuint source = MakeSource();
    const ALuint buffer = MakeBuffer(10);
    const ALuint twice[] = {buffer, buffer};
    alSourceQueueBuffers(source, 2, twice);
    EXPECT_EQ(UseCount(buffer), 2);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STREAMING);
    ALuint name = 0;
    alSourceUnqueueBuffers(source, 1, &name);
    EXPECT_EQ(name, buffer);
    EXPECT_EQ(UseCount(buffer), 1);
    alDeleteSources(1, &source);
    EXPECT_EQ(UseCount(buffer), 0);
}

TEST_F(PlayCalls, Unqueue_WhilePlaying_RefusesBuffersNotYetPlayed) {
    const ALuint source = MakeStream(3);
    alSourcePlay(source);
    Block(source, 1, 5);
    ALuint names[3] = {55, 55, 55};
    alSourceUnqueueBuffers(source, 2, names);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(names[0], 55u);
    alSourcePause(source);
    alSourceUnqueueBuffers(source, 2, names);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alSourceStop(source);
    alSourceUnqueueBuffers(source, 4, names);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alSourceUnqueueBuffers(source, 3, names);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 0);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STREAMING);
}

TEST_F(PlayCalls, Unqueue_BeyondTheCurrentBufferOfAStoppedSource_GoesToTheStart) {
    const ALuint source = MakeStream(4);
    alSourcei(source, AL_SAMPLE_OFFSET, 150);
    ALuint names[2] = {0, 0};
    alSourceUnqueueBuffers(source, 2, names);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 0);
    Copy();
    Merge();
    EXPECT_EQ(Rendered(source).position, 0u);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 0);
}

TEST_F(PlayCalls, OneBuffer_MakesAStaticSourceThatTakesNoQueue) {
    const ALuint source = MakeStream(2);
    const ALuint buffer = MakeBuffer(10);
    alSourcei(source, AL_SAMPLE_OFFSET, 150);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STATIC);
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 1);
    EXPECT_EQ(Get(source, AL_BUFFER), static_cast<ALint>(buffer));
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 0);
    EXPECT_EQ(UseCount(1), 0);

    ALuint names[1] = {buffer};
    alSourceQueueBuffers(source, 1, names);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alSourceUnqueueBuffers(source, 1, names);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alSourcei(source, AL_BUFFER, 0);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_UNDETERMINED);
    EXPECT_EQ(Get(source, AL_BUFFER), 0);
    EXPECT_EQ(UseCount(buffer), 0);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(PlayCalls, OneBuffer_OfAPlayingSourceOrWithoutData_IsRefused) {
    const ALuint source = MakeStream(1);
    ALuint empty = 0;
    alGenBuffers(1, &empty);
    for (const ALint name : {static_cast<ALint>(empty), 999, -1}) {
        alSourcei(source, AL_BUFFER, name);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << name;
    }
    alSourcePlay(source);
    alSourcei(source, AL_BUFFER, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_PLAYING);
    EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 1);
}

TEST_F(PlayCalls, ProcessedCount_FollowsStateAndLooping) {
    const ALuint source = MakeStream(3);
    alSourcei(source, AL_SAMPLE_OFFSET, 250);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 0);
    alSourcePlay(source);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 2);
    alSourcei(source, AL_LOOPING, AL_TRUE);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 0);
    alSourceStop(source);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 3);
}

// ---- Offsets ----

TEST_F(PlayCalls, Offsets_AreRefusedOutsideTheQueueAndReadInAllUnits) {
    const ALuint source = MakeSource();
    alSourcei(source, AL_SAMPLE_OFFSET, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);  // nothing to stand in
    const ALuint buffers[] = {MakeBuffer(100, 1000, AL_FORMAT_MONO16),
                              MakeBuffer(100, 1000, AL_FORMAT_MONO16)};
    alSourceQueueBuffers(source, 2, buffers);  // 50 frames each

    const float huge = std::numeric_limits<float>::max();
    const float infinity = std::numeric_limits<float>::infinity();
    alSourcef(source, AL_SAMPLE_OFFSET, 60);
    for (const ALenum unit : {AL_SEC_OFFSET, AL_SAMPLE_OFFSET, AL_BYTE_OFFSET}) {
        for (const float value : {-0.0001F, -1e30F, huge, infinity, -infinity, std::nanf(""), 200.0F}) {
            alSourcef(source, unit, value);
            EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << unit << " " << value;
        }
        alSourcei(source, unit, -1);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << unit;
    }
    float seconds = 0;
    alGetSourcef(source, AL_SEC_OFFSET, &seconds);
    EXPECT_FLOAT_EQ(seconds, 0.060F);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 60);
    EXPECT_EQ(Get(source, AL_BYTE_OFFSET), 120);
    EXPECT_EQ(Get(source, AL_BUFFER), static_cast<ALint>(buffers[1]));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(PlayCalls, Offsets_InSecondsRoundToFramesAndInBytesCutToThem) {
    const ALuint source = MakeSource();
    const ALuint buffer = MakeBuffer(200, 1000, AL_FORMAT_MONO16);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcef(source, AL_SEC_OFFSET, 0.0416F);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 42);
    EXPECT_EQ(Get(source, AL_SEC_OFFSET), 0);
    alSourcei(source, AL_BYTE_OFFSET, 199);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 99);
    alSourcei(source, AL_BYTE_OFFSET, 200);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
}

TEST_F(PlayCalls, ByteOffset_OfACompressedBuffer_StaysInsideItsFrames) {
    const ALuint source = MakeSource();
    const ALuint buffer = MakeBuffer(360, 1000, AL_FORMAT_MONO_IMA4);  // 10 blocks, 650 frames
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcei(source, AL_BYTE_OFFSET, 104);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 200);
    EXPECT_EQ(Get(source, AL_BYTE_OFFSET), 104);
    alSourcei(source, AL_BYTE_OFFSET, 359);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), 649);
}

}  // namespace
