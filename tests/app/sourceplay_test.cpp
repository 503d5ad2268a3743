// The play states, queues and offsets of sources, for the game and for the renderer at once. Places are
// frames of a queue whose buffers have 100.

#include <cfloat>
#include <cmath>

#include "tests/support/contextfixture.h"

namespace {

class PlayCalls : public testing_support::ContextFixture {
protected:
    // A block brings a playing source there.
    void RenderTo(ALuint source, ALint frame) {
        Rendered(source).queueIndex = static_cast<std::uint32_t>(frame) / 100;
        Rendered(source).position = static_cast<std::uint64_t>(frame) % 100 << 16;
    }

    void Block(ALuint source, ALint frame) {
        Copy();
        RenderTo(source, frame);
        Merge();
    }

    ALuint MakePlaying(int buffers, ALint frame) {
        const ALuint source = MakeStream(buffers);
        alSourcePlay(source);
        Block(source, frame);
        return source;
    }

    // A source of two buffers in that state at that frame.
    ALuint MakeIn(ALenum state, ALint frame) {
        const ALuint source = state == AL_INITIAL ? MakeStream(2) : MakePlaying(2, frame);
        if (state == AL_PAUSED) alSourcePause(source);
        if (state == AL_STOPPED) alSourceStop(source);
        if (state == AL_INITIAL || state == AL_STOPPED) alSourcei(source, AL_SAMPLE_OFFSET, frame);
        alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 0, 0);
        Copy();
        return source;
    }

    void ExpectForTheGame(ALuint source, ALenum state, ALint frame) {
        EXPECT_EQ(Get(source, AL_SOURCE_STATE), state);
        EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), frame);
    }

    void ExpectAfterCopy(ALuint source, ALenum state, ALint frame) {
        Copy();
        ASSERT_EQ(IsRendered(source), state == AL_PLAYING);
        if (state != AL_PLAYING) return;
        EXPECT_EQ(Rendered(source).queueIndex, static_cast<std::uint32_t>(frame) / 100);
        EXPECT_EQ(Rendered(source).position, static_cast<std::uint64_t>(frame) % 100 << 16);
    }

    void ExpectForBoth(ALuint source, ALenum state, ALint frame) {
        ExpectForTheGame(source, state, frame);
        ExpectAfterCopy(source, state, frame);
    }

    goal::SourceRendererState& Memory(ALuint source) { return VoiceOf(source).memory; }
};

// ---- States ----

TEST_F(PlayCalls, StateCall_BringsGameAndRendererToTheSameState) {
    const struct {
        const char* name;
        void (*call)(ALuint);
        ALenum from, to;
        bool keepsItsPlace;
    } rows[] = {{"play", alSourcePlay, AL_INITIAL, AL_PLAYING, true},
                {"play", alSourcePlay, AL_PLAYING, AL_PLAYING, false},
                {"play", alSourcePlay, AL_PAUSED, AL_PLAYING, true},
                {"play", alSourcePlay, AL_STOPPED, AL_PLAYING, true},
                {"stop", alSourceStop, AL_INITIAL, AL_INITIAL, true},
                {"stop", alSourceStop, AL_PLAYING, AL_STOPPED, false},
                {"stop", alSourceStop, AL_PAUSED, AL_STOPPED, false},
                {"stop", alSourceStop, AL_STOPPED, AL_STOPPED, true},
                {"rewind", alSourceRewind, AL_INITIAL, AL_INITIAL, true},
                {"rewind", alSourceRewind, AL_PLAYING, AL_INITIAL, false},
                {"rewind", alSourceRewind, AL_PAUSED, AL_INITIAL, false},
                {"rewind", alSourceRewind, AL_STOPPED, AL_INITIAL, false},
                {"pause", alSourcePause, AL_INITIAL, AL_INITIAL, true},
                {"pause", alSourcePause, AL_PLAYING, AL_PAUSED, true},
                {"pause", alSourcePause, AL_PAUSED, AL_PAUSED, true},
                {"pause", alSourcePause, AL_STOPPED, AL_STOPPED, true}};
    for (const auto& row : rows)
        for (const bool isSuspended : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.name << " from " << row.from << ", " << isSuspended);
            const ALuint source = MakeIn(row.from, 107);
            if (row.from == AL_PLAYING) {
                EXPECT_EQ(Memory(source).previousFrame[0], 0)
                    << "of a deleted source, whose name is used again";
                Memory(source).previousFrame[0] = Memory(source).direct.gain = 0.5F;
            }
            if (isSuspended) Suspend();
            row.call(source);
            ExpectForTheGame(source, row.to, row.keepsItsPlace ? 107 : 0);
            if (isSuspended) Resume();
            ExpectAfterCopy(source, row.to, row.keepsItsPlace ? 107 : 0);
            if (row.to == AL_PLAYING) {
                EXPECT_EQ(Memory(source).previousFrame[0], 0) << "a play begins with clean memory";
                EXPECT_EQ(Memory(source).direct.gain, 1);
            }
            alDeleteSources(1, &source);
            Copy();
        }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(PlayCalls, ASourceThatPlays_KeepsItsMemoryWhereItsShapeChanges) {
    const ALuint source = MakePlaying(1, 50);
    Memory(source).direct.gain = 0.5F;
    Memory(source).converter.writeIndex = 77;
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 1, 0);
    Copy();
    ASSERT_EQ(Memory(source).sends.size, 2u);
    Memory(source).sends[1].gain = 0.25F;
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 5, 0);
    Copy();
    EXPECT_EQ(Memory(source).direct.gain, 0.5F);
    EXPECT_EQ(Memory(source).converter.writeIndex, 77u);
    EXPECT_EQ(Memory(source).sends[1].gain, 0.25F);
    EXPECT_EQ(Memory(source).sends[5].gain, 1);
}

TEST_F(PlayCalls, EndOfData_StopsTheSourceUnlessTheGamePlaysItInThatBlock) {
    for (const auto& [call, state] :
         {std::pair(&alSourcePause, AL_STOPPED), std::pair(&alSourcePlay, AL_PLAYING)}) {
        const ALuint source = MakePlaying(2, 100);
        RenderTo(source, 0);
        Rendered(source).state = goal::SourceState::Stopped;
        call(source);
        Merge();
        ExpectForTheGame(source, state, 0);
        ExpectAfterCopy(source, state, 0);
    }
}

// ---- Calls during a block ----

TEST_F(PlayCalls, UnqueueDuringABlock_ShiftsTheRenderersPlaceAndAnOffsetVoidsIt) {
    const ALuint source = MakePlaying(6, 210);
    ALuint names[2] = {0, 0};
    alSourceUnqueueBuffers(source, 2, names);
    RenderTo(source, 420);
    Merge();
    ExpectForBoth(source, AL_PLAYING, 220);
    EXPECT_EQ(Rendered(source).queue.size, 4u);
    RenderTo(source, 250);
    alSourcei(source, AL_SAMPLE_OFFSET, 310);
    Merge();
    ExpectForBoth(source, AL_PLAYING, 310);
}

// ---- While suspended ----

TEST_F(PlayCalls, NameMadeAgainWhileSuspended_IsANewSource) {
    const ALuint source = MakePlaying(2, 130);
    alDeleteSources(1, &source);
    Copy();
    Suspend();
    ASSERT_EQ(MakeStream(1), source);
    alSourcePlay(source);
    Resume();
    ExpectAfterCopy(source, AL_PLAYING, 0);
}

TEST_F(PlayCalls, WhileSuspended_PausesActAtOnceAndPlaysAndStopsAfterwards) {
    const ALuint source = MakePlaying(2, 5);
    alSourcePlay(source);  // just before: no copy has seen it
    Suspend();
    Block(source, 125);
    ExpectForTheGame(source, AL_PLAYING, 125);
    alSourcePause(source);
    ExpectAfterCopy(source, AL_PAUSED, 125);
    Merge();
    alSourcePlay(source);
    ExpectForTheGame(source, AL_PLAYING, 125);
    ExpectAfterCopy(source, AL_PAUSED, 125);
    Merge();
    Resume();
    ExpectAfterCopy(source, AL_PLAYING, 125);
    Suspend();
    alSourceStop(source);
    Block(source, 130);
    ExpectForTheGame(source, AL_STOPPED, 0);
    ExpectAfterCopy(source, AL_PLAYING, 130);
    Resume();
    ExpectAfterCopy(source, AL_STOPPED, 0);
}

// ---- Queues and AL_BUFFER ----

TEST_F(PlayCalls, Queue_TakesAllOfAListOrNone) {
    const ALuint source = New(alGenSources), good = MakeBuffer(10, 44100);
    const ALuint otherRate = MakeBuffer(10, 22050), otherFormat = MakeBuffer(10, 44100, AL_FORMAT_MONO16);
    for (const ALuint wrong : {New(alGenBuffers), 0u, 999u, otherRate, otherFormat}) {
        const ALuint list[] = {good, wrong};
        alSourceQueueBuffers(source, 2, list);
        EXPECT_EQ(alGetError(), AL_INVALID_NAME) << wrong;
    }
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_UNDETERMINED);
    EXPECT_EQ(UseCount(good), 0);
}

TEST_F(PlayCalls, Unqueue_TakesOnlyProcessedBuffers) {
    const ALuint source = MakePlaying(3, 105);
    ALuint names[4] = {55};
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 1);
    ExpectCodes({{AL_INVALID_OPERATION, [&] { alSourceUnqueueBuffers(source, 2, names); }},
                 {AL_NO_ERROR, [&] { alSourcei(source, AL_LOOPING, AL_TRUE); }}});
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 0);
    alSourceStop(source);
    EXPECT_EQ(Get(source, AL_BUFFERS_PROCESSED), 3);
    ExpectCodes({{AL_INVALID_OPERATION, [&] { alSourceUnqueueBuffers(source, 4, names); }}});
    EXPECT_EQ(names[0], 55u);
    alSourcei(source, AL_SAMPLE_OFFSET, 150);
    ExpectCodes({{AL_NO_ERROR, [&] { alSourceUnqueueBuffers(source, 2, names); }}});
    ExpectAfterCopy(source, AL_STOPPED, 0);  // the buffer it stood in is gone
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STREAMING);
}

TEST_F(PlayCalls, OneBuffer_MakesAStaticSourceThatTakesNoQueue) {
    const ALuint source = MakeStream(2), empty = New(alGenBuffers);
    ALuint buffer = MakeBuffer(10);
    alSourcei(source, AL_SAMPLE_OFFSET, 150);
    SetBuffer(source, buffer);
    ExpectForTheGame(source, AL_INITIAL, 0);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STATIC);
    ExpectCodes({{AL_INVALID_OPERATION, [&] { alSourceQueueBuffers(source, 1, &buffer); }},
                 {AL_INVALID_OPERATION, [&] { alSourceUnqueueBuffers(source, 1, &buffer); }},
                 {AL_INVALID_VALUE, [&] { SetBuffer(source, empty); }},
                 {AL_NO_ERROR, [&] { alSourcePlay(source); }},
                 {AL_INVALID_VALUE, [&] { SetBuffer(source, 0); }},
                 {AL_NO_ERROR, [&] { alSourceStop(source); }}});
    SetBuffer(source, 0);
    EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_UNDETERMINED);
    alSourcePlay(source);  // nothing
    ExpectForTheGame(source, AL_STOPPED, 0);
}

// ---- Offsets ----

TEST_F(PlayCalls, Offsets_StandAtTheFrameTheyNameInEachUnit) {
    const ALuint two[] = {MakeBuffer(200, 1000, AL_FORMAT_MONO16), MakeBuffer(200, 1000, AL_FORMAT_MONO16)};
    const ALuint source = New(alGenSources);
    alSourceQueueBuffers(source, 2, two);
    const struct {
        ALenum unit;
        float offset;
        ALint frame;
    } rows[] = {{AL_SAMPLE_OFFSET, 99.9F, 99}, {AL_SAMPLE_OFFSET, 100, 100}, {AL_SEC_OFFSET, 0.0416F, 42},
                {AL_BYTE_OFFSET, 199, 99},     {AL_BYTE_OFFSET, 200, 100},   {AL_SEC_OFFSET, 0.16F, 160}};
    for (const auto& row : rows) {
        float seconds = 0;
        alSourcef(source, row.unit, row.offset);
        alGetSourcef(source, AL_SEC_OFFSET, &seconds);
        ExpectForBoth(source, AL_INITIAL, row.frame);
        EXPECT_EQ(Get(source, AL_BYTE_OFFSET), 2 * row.frame);
        EXPECT_EQ(Get(source, AL_BUFFER), static_cast<ALint>(two[row.frame / 100]));
        EXPECT_FLOAT_EQ(seconds, static_cast<float>(row.frame) * 0.001F);
    }
}

TEST_F(PlayCalls, Offsets_OutsideTheQueue_AreRefused) {
    const ALuint source = MakeStream(2), withoutQueue = New(alGenSources);
    alSourcef(source, AL_SAMPLE_OFFSET, 60);
    for (const ALenum unit : {AL_SEC_OFFSET, AL_SAMPLE_OFFSET, AL_BYTE_OFFSET})
        for (const float offset : {-0.0001F, -1e30F, FLT_MAX, HUGE_VALF, -HUGE_VALF, std::nanf(""), 200.0F})
            ExpectCodes({{AL_INVALID_VALUE, [&] { alSourcef(source, unit, offset); }}});
    ExpectCodes({{AL_INVALID_VALUE, [&] { alSourcei(withoutQueue, AL_SAMPLE_OFFSET, 0); }}});
    ExpectForTheGame(source, AL_INITIAL, 60);
}

TEST_F(PlayCalls, ByteOffset_OfACompressedBuffer_StaysInsideItsFrames) {
    const ALuint source = New(alGenSources);
    SetBuffer(source, MakeBuffer(360, 1000, AL_FORMAT_MONO_IMA4));  // 10 blocks, 650 frames
    for (const auto& [byte, frame] : {std::pair(104, 200), std::pair(359, 649)}) {
        alSourcei(source, AL_BYTE_OFFSET, byte);
        EXPECT_EQ(Get(source, AL_SAMPLE_OFFSET), frame);
    }
}

}  // namespace
