#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "contextfixture.h"

namespace {

constexpr ALsizei maximumSize = std::numeric_limits<ALsizei>::max();

ALint BufferInteger(ALuint buffer, ALenum parameter) {
    ALint value = -1;
    alGetBufferi(buffer, parameter, &value);
    return value;
}

class BufferCalls : public testing_support::ContextFixture {
protected:
    static ALuint NewBuffer() {
        ALuint buffer = 0;
        alGenBuffers(1, &buffer);
        return buffer;
    }

    /// A buffer of four frames in 16 bits, mono.
    ALuint NewFilledBuffer() {
        const ALuint buffer = NewBuffer();
        alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 8, 44100);
        return buffer;
    }

    ALuint NewStaticBuffer() {
        const ALuint buffer = NewBuffer();
        alBufferDataStatic(buffer, AL_FORMAT_MONO16, samples.data(), 8, 44100);
        return buffer;
    }

    static ALuint SourceWith(ALuint buffer) {
        ALuint source = 0;
        alGenSources(1, &source);
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
        return source;
    }

    goal::Buffer* Stored(ALuint buffer) { return process.engine.device.bufferPool.slots[buffer - 1].buffer; }

    ALCcontext* Handle() { return reinterpret_cast<ALCcontext*>(context.get()); }

    std::array<ALshort, 4> samples{100, -200, 300, -400};
};

struct FormatCase {
    const char* name;
    ALenum format;
    ALsizei unit;  // the size of the smallest piece in bytes
    ALint channels;
    ALint bits;
};

std::ostream& operator<<(std::ostream& out, const FormatCase& format) {
    return out << format.name;
}

class BufferFormats : public BufferCalls, public testing::WithParamInterface<FormatCase> {};

TEST_P(BufferFormats, BufferData_InWholePieces_IsTakenAndToldBack) {
    const FormatCase& format = GetParam();
    const std::vector<ALubyte> data(static_cast<std::size_t>(3 * format.unit), 0x55);
    const ALuint buffer = NewBuffer();
    alBufferData(buffer, format.format, data.data(), 3 * format.unit, 22050);
    ASSERT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(BufferInteger(buffer, AL_SIZE), 3 * format.unit);
    EXPECT_EQ(BufferInteger(buffer, AL_CHANNELS), format.channels);
    EXPECT_EQ(BufferInteger(buffer, AL_BITS), format.bits);
    EXPECT_EQ(BufferInteger(buffer, AL_FREQUENCY), 22050);
}

TEST_P(BufferFormats, BufferData_WithABrokenPiece_IsRefusedAndKeepsTheOldData) {
    const FormatCase& format = GetParam();
    if (format.unit == 1) return;  // every size is whole
    const std::vector<ALubyte> data(static_cast<std::size_t>(2 * format.unit), 0x55);
    const ALuint buffer = NewFilledBuffer();
    for (const ALsizei size : {1, format.unit - 1, format.unit + 1, 2 * format.unit - 1}) {
        alBufferData(buffer, format.format, data.data(), size, 22050);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << size;
        EXPECT_EQ(BufferInteger(buffer, AL_FREQUENCY), 44100) << size;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, BufferFormats,
    testing::Values(FormatCase{"Mono8", 0x1100, 1, 1, 8}, FormatCase{"Mono16", 0x1101, 2, 1, 16},
                    FormatCase{"Stereo8", 0x1102, 2, 2, 8}, FormatCase{"Stereo16", 0x1103, 4, 2, 16},
                    FormatCase{"Quad8", 0x1204, 4, 4, 8}, FormatCase{"Quad16", 0x1205, 8, 4, 16},
                    FormatCase{"Quad32", 0x1206, 16, 4, 0}, FormatCase{"Rear8", 0x1207, 2, 2, 8},
                    FormatCase{"Rear16", 0x1208, 4, 2, 16}, FormatCase{"Rear32", 0x1209, 8, 2, 0},
                    FormatCase{"Chn51_8", 0x120A, 6, 6, 8}, FormatCase{"Chn51_16", 0x120B, 12, 6, 16},
                    FormatCase{"Chn51_32", 0x120C, 24, 6, 0}, FormatCase{"Chn61_8", 0x120D, 7, 7, 8},
                    FormatCase{"Chn61_16", 0x120E, 14, 7, 16}, FormatCase{"Chn61_32", 0x120F, 28, 7, 0},
                    FormatCase{"Chn71_8", 0x1210, 8, 8, 8}, FormatCase{"Chn71_16", 0x1211, 16, 8, 16},
                    FormatCase{"Chn71_32", 0x1212, 32, 8, 0}, FormatCase{"MonoIma4", 0x1300, 36, 1, 0},
                    FormatCase{"StereoIma4", 0x1301, 72, 2, 0}, FormatCase{"MonoFloat", 0x10010, 4, 1, 0},
                    FormatCase{"StereoFloat", 0x10011, 8, 2, 0}, FormatCase{"MonoDouble", 0x10012, 8, 1, 0},
                    FormatCase{"StereoDouble", 0x10013, 16, 2, 0}, FormatCase{"MonoMulaw", 0x10014, 1, 1, 0},
                    FormatCase{"StereoMulaw", 0x10015, 2, 2, 0}, FormatCase{"QuadMulaw", 0x10021, 4, 4, 0},
                    FormatCase{"RearMulaw", 0x10022, 2, 2, 0}, FormatCase{"Chn51Mulaw", 0x10023, 6, 6, 0},
                    FormatCase{"Chn61Mulaw", 0x10024, 7, 7, 0}, FormatCase{"Chn71Mulaw", 0x10025, 8, 8, 0},
                    FormatCase{"BFormat2Mulaw", 0x10031, 3, 3, 0},
                    FormatCase{"BFormat3Mulaw", 0x10032, 4, 4, 0}, FormatCase{"BFormat2D8", 0x20021, 3, 3, 8},
                    FormatCase{"BFormat2D16", 0x20022, 6, 3, 16},
                    FormatCase{"BFormat2DFloat", 0x20023, 12, 3, 0},
                    FormatCase{"BFormat3D8", 0x20031, 4, 4, 8}, FormatCase{"BFormat3D16", 0x20032, 8, 4, 16},
                    FormatCase{"BFormat3DFloat", 0x20033, 16, 4, 0}),
    testing::PrintToStringParamName());

struct ArgumentCase {
    const char* name;
    bool isNameValid;
    ALenum format;
    bool hasData;
    ALsizei size;
    ALsizei frequency;
    ALenum error;
};

std::ostream& operator<<(std::ostream& out, const ArgumentCase& arguments) {
    return out << arguments.name;
}

class BufferArguments : public BufferCalls, public testing::WithParamInterface<ArgumentCase> {};

TEST_P(BufferArguments, BufferData_WithSeveralFaults_ReportsTheFirstOfTheOrder) {
    const ArgumentCase& arguments = GetParam();
    const ALuint buffer = arguments.isNameValid ? NewBuffer() : 4711;
    void* const data = arguments.hasData ? samples.data() : nullptr;
    alBufferData(buffer, arguments.format, data, arguments.size, arguments.frequency);
    EXPECT_EQ(alGetError(), arguments.error);
    alBufferDataStatic(buffer, arguments.format, data, arguments.size, arguments.frequency);
    EXPECT_EQ(alGetError(), arguments.error);
}

INSTANTIATE_TEST_SUITE_P(
    All, BufferArguments,
    testing::Values(
        ArgumentCase{"NegativeSizeBeforeFormat", true, 7, true, -2, 44100, AL_INVALID_VALUE},
        ArgumentCase{"ZeroFrequencyBeforeFormat", true, 7, true, 8, 0, AL_INVALID_VALUE},
        ArgumentCase{"NegativeFrequency", true, AL_FORMAT_MONO8, true, 8, -44100, AL_INVALID_VALUE},
        ArgumentCase{"FormatBeforeName", false, 7, true, 8, 44100, AL_INVALID_ENUM},
        ArgumentCase{"PieceBeforeName", false, AL_FORMAT_MONO16, true, 7, 44100, AL_INVALID_VALUE},
        ArgumentCase{"NameBeforeData", false, AL_FORMAT_MONO16, false, 8, 44100, AL_INVALID_NAME},
        ArgumentCase{"NoData", true, AL_FORMAT_MONO16, false, 8, 44100, AL_INVALID_VALUE},
        ArgumentCase{"NoDataOfNoSize", true, AL_FORMAT_MONO16, false, 0, 44100, AL_NO_ERROR}),
    testing::PrintToStringParamName());

TEST_F(BufferCalls, BufferData_CopiesWhileTheStaticFormRefers) {
    const ALuint copied = NewFilledBuffer();
    const ALuint referred = NewStaticBuffer();
    EXPECT_TRUE(std::equal(Stored(copied)->data, Stored(copied)->data + 8, Stored(referred)->data));
    EXPECT_NE(static_cast<const void*>(Stored(copied)->data), samples.data());
    EXPECT_EQ(static_cast<const void*>(Stored(referred)->data), samples.data());
}

TEST_F(BufferCalls, BufferDataStatic_OfTheGreatestSizeAndFrequency_TellsThemBack) {
    const ALuint buffer = NewBuffer();
    alBufferDataStatic(buffer, AL_FORMAT_MONO8, samples.data(), maximumSize, maximumSize);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(BufferInteger(buffer, AL_SIZE), maximumSize);
    EXPECT_EQ(BufferInteger(buffer, AL_FREQUENCY), maximumSize);
}

TEST_F(BufferCalls, ANameWithoutData_ReadsAsSilentMono) {
    const ALuint buffer = NewBuffer();
    EXPECT_EQ(BufferInteger(buffer, AL_FREQUENCY), 0);
    EXPECT_EQ(BufferInteger(buffer, AL_BITS), 16);
    EXPECT_EQ(BufferInteger(buffer, AL_CHANNELS), 1);
    EXPECT_EQ(BufferInteger(buffer, AL_SIZE), 0);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    BufferInteger(buffer, 0x2005);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
}

TEST_F(BufferCalls, PropertyCalls_TestTheNameThenTheParameter) {
    using Call = void (*)(ALuint);
    constexpr ALenum unknown = 0x2005;
    static ALint i = 0;
    static ALfloat f = 0;
    const std::array<Call, 11> calls{[](ALuint b) { alBufferf(b, AL_FREQUENCY, 1); },
                                     [](ALuint b) { alBuffer3f(b, AL_FREQUENCY, 1, 1, 1); },
                                     [](ALuint b) { alBufferfv(b, AL_FREQUENCY, &f); },
                                     [](ALuint b) { alBufferi(b, AL_FREQUENCY, 1); },
                                     [](ALuint b) { alBuffer3i(b, AL_FREQUENCY, 1, 1, 1); },
                                     [](ALuint b) { alBufferiv(b, AL_FREQUENCY, &i); },
                                     [](ALuint b) { alGetBufferf(b, AL_FREQUENCY, &f); },
                                     [](ALuint b) { alGetBufferfv(b, AL_FREQUENCY, &f); },
                                     [](ALuint b) { alGetBuffer3f(b, AL_FREQUENCY, &f, &f, &f); },
                                     [](ALuint b) { alGetBuffer3i(b, AL_FREQUENCY, &i, &i, &i); },
                                     [](ALuint b) { alGetBufferiv(b, unknown, &i); }};
    const ALuint buffer = NewBuffer();
    for (const Call& call : calls) {
        call(4711);
        EXPECT_EQ(alGetError(), AL_INVALID_NAME) << &call - calls.data();
        call(buffer);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << &call - calls.data();
    }
}

TEST_F(BufferCalls, MissingPointersAndSenselessCounts_AreRefusedBeforeTheName) {
    static ALuint name = 99;
    static ALint i = 0;
    static ALfloat f = 0;
    const std::array<void (*)(), 10> calls{[] { alGenBuffers(1, nullptr); },
                                           [] { alGenBuffers(-1, &name); },
                                           [] { alDeleteBuffers(1, nullptr); },
                                           [] { alDeleteBuffers(-1, &name); },
                                           [] { alBufferfv(4711, AL_FREQUENCY, nullptr); },
                                           [] { alBufferiv(4711, AL_FREQUENCY, nullptr); },
                                           [] { alGetBufferfv(4711, AL_FREQUENCY, nullptr); },
                                           [] { alGetBufferiv(4711, AL_FREQUENCY, nullptr); },
                                           [] { alGetBuffer3f(4711, AL_FREQUENCY, &f, &f, nullptr); },
                                           [] { alGetBuffer3i(4711, AL_FREQUENCY, nullptr, &i, &i); }};
    for (const auto& call : calls) {
        call();
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << &call - calls.data();
    }
    alGenBuffers(maximumSize, &name);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(name, 99u);
}

TEST_F(BufferCalls, DeletedNames_ComeBackLowestFirstAndWithoutData) {
    std::array<ALuint, 3> buffers{};
    alGenBuffers(3, buffers.data());
    alBufferData(buffers[0], AL_FORMAT_MONO16, samples.data(), 8, 44100);
    alDeleteBuffers(1, &buffers[2]);
    alDeleteBuffers(1, &buffers[0]);
    EXPECT_FALSE(alIsBuffer(buffers[0]));
    EXPECT_TRUE(alIsBuffer(buffers[1]));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(NewBuffer(), buffers[0]);
    EXPECT_EQ(BufferInteger(buffers[0], AL_SIZE), 0);
    EXPECT_EQ(NewBuffer(), buffers[2]);
}

TEST_F(BufferCalls, DeleteBuffers_WithOneBadName_DeletesNone) {
    const ALuint good = NewFilledBuffer();
    const std::array<ALuint, 3> names{good, 4711, good};
    alDeleteBuffers(3, names.data());
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    EXPECT_EQ(BufferInteger(good, AL_SIZE), 8);
}

TEST_F(BufferCalls, DeleteBuffers_WithANameTwice_DeletesItOnce) {
    const ALuint buffer = NewFilledBuffer();
    const std::array<ALuint, 3> names{buffer, NewBuffer(), buffer};
    alDeleteBuffers(3, names.data());
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_FALSE(alIsBuffer(buffer));
    EXPECT_EQ(context->application.deletedBuffers.size, 1u);
}

TEST_F(BufferCalls, ABufferOfASource_MayNeitherGoNorChange) {
    const ALuint loose = NewFilledBuffer();
    const ALuint used = NewFilledBuffer();
    const ALuint source = SourceWith(used);
    const std::array<ALuint, 2> names{loose, used};
    alDeleteBuffers(2, names.data());
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_TRUE(alIsBuffer(loose));
    alBufferData(used, AL_FORMAT_MONO8, samples.data(), 3, 8000);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(BufferInteger(used, AL_FREQUENCY), 44100);

    alSourcei(source, AL_BUFFER, 0);
    alBufferData(used, AL_FORMAT_MONO8, samples.data(), 3, 8000);
    alDeleteBuffers(2, names.data());
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(BufferCalls, AnOwnedBufferThatTheRendererReads_GoesAtOnceAndIsFreedAfterTheCopy) {
    const ALuint buffer = NewFilledBuffer();
    const ALuint source = SourceWith(buffer);
    Copy();
    ASSERT_EQ(Rendered(source).queue.size, 1u);
    alSourcei(source, AL_BUFFER, 0);
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    ASSERT_EQ(context->application.deletedBuffers.size, 1u);
    EXPECT_EQ(context->application.deletedBuffers[0], Rendered(source).queue[0]);
    EXPECT_EQ(Rendered(source).queue[0]->frames, 4u) << "still there for the block under way";
    Copy();
    EXPECT_EQ(context->application.deletedBuffers.size, 0u);
    EXPECT_EQ(Rendered(source).queue.size, 0u);
}

TEST_F(BufferCalls, AStaticBufferThatTheRendererReads_IsHeldBackForABlock) {
    const ALuint buffer = NewStaticBuffer();
    const ALuint source = SourceWith(buffer);
    Copy();
    alSourcei(source, AL_BUFFER, 0);
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 8, 44100);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    Copy();
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

// Until the suspension ends the renderer plays what the game has taken out of the queue.
TEST_F(BufferCalls, AStaticBufferTakenOutWhileSuspended_IsHeldUntilTheBlockAfterProcess) {
    const ALuint buffer = NewStaticBuffer();
    const ALuint source = SourceWith(buffer);
    alSourcePlay(source);
    Copy();
    alcSuspendContext(Handle());
    alSourceStop(source);
    alSourcei(source, AL_BUFFER, 0);
    ASSERT_EQ(alGetError(), AL_NO_ERROR);
    Copy();
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alcProcessContext(Handle());
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    Copy();
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(BufferCalls, BuffersDeletedWhileSuspended_AreFreedOnlyAfterProcessAndTheNextCopy) {
    const ALuint deleted = NewFilledBuffer();
    const ALuint replaced = NewFilledBuffer();
    alcSuspendContext(Handle());
    alDeleteBuffers(1, &deleted);
    alBufferData(replaced, AL_FORMAT_MONO8, samples.data(), 3, 8000);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    Copy();
    EXPECT_EQ(context->suspended.deletedBuffers.size, 2u);
    alcProcessContext(Handle());
    EXPECT_EQ(context->suspended.deletedBuffers.size, 0u);
    EXPECT_EQ(context->application.deletedBuffers.size, 2u);
    Copy();
    EXPECT_EQ(context->application.deletedBuffers.size, 0u);
}

TEST_F(BufferCalls, WithoutACurrentContext_TheDevicesContextStillKeepsWhatItReads) {
    process.currentContext = nullptr;
    const ALuint buffer = NewFilledBuffer();
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(context->application.deletedBuffers.size, 1u);
}

TEST_F(BufferCalls, WithoutAnyContext_BuffersWorkAndAreFreedAtOnce) {
    process.currentContext = nullptr;
    process.engine.device.context = nullptr;
    const ALuint buffer = NewFilledBuffer();
    alBufferData(buffer, AL_FORMAT_MONO8, samples.data(), 3, 8000);
    EXPECT_EQ(BufferInteger(buffer, AL_FREQUENCY), 8000);
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_FALSE(alIsBuffer(buffer));
}

}  // namespace
