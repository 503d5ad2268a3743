// The data and the life of buffers. The rules of their names are tested with those of all objects.

#include <array>
#include <limits>
#include <vector>

#include "tests/support/contextfixture.h"

namespace {

class BufferCalls : public testing_support::ContextFixture {
protected:
    /// A buffer of four frames in 16 bits, mono, that refers to `samples`.
    ALuint MakeStaticBuffer() {
        const ALuint buffer = New(alGenBuffers);
        alBufferDataStatic(buffer, AL_FORMAT_MONO16, samples.data(), 8, 44100);
        return buffer;
    }

    std::array<ALshort, 4> samples{100, -200, 300, -400};
};

TEST_F(BufferCalls, BufferData_TakesWholePiecesAndTellsThemBack) {
    const struct {
        ALenum format;
        ALsizei piece;  // bytes
        ALint channels, bits;
    } rows[] = {
        {AL_FORMAT_STEREO16, 4, 2, 16}, {AL_FORMAT_61CHN8, 7, 7, 8}, {AL_FORMAT_STEREO_IMA4, 72, 2, 0}};
    for (const auto& row : rows) {
        const ALuint buffer = MakeBuffer(3 * row.piece, 22050, row.format);
        const std::vector<ALubyte> data(static_cast<std::size_t>(2 * row.piece), 0x55);
        for (const ALsizei broken : {1, row.piece - 1, row.piece + 1, 2 * row.piece - 1}) {
            alBufferData(buffer, row.format, data.data(), broken, 44100);
            EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << broken;
        }
        EXPECT_EQ(Read(alGetBufferi, buffer, AL_SIZE), 3 * row.piece);
        EXPECT_EQ(Read(alGetBufferi, buffer, AL_CHANNELS), row.channels);
        EXPECT_EQ(Read(alGetBufferi, buffer, AL_BITS), row.bits);
        EXPECT_EQ(Read(alGetBufferi, buffer, AL_FREQUENCY), 22050);
    }
}

TEST_F(BufferCalls, BufferData_WithSeveralFaults_ReportsTheFirstOfTheOrder) {
    constexpr ALuint gone = 4711;
    constexpr ALenum noFormat = 7, mono = AL_FORMAT_MONO16;
    const ALuint good = New(alGenBuffers);
    ALvoid* const data = samples.data();
    ExpectCodes({{AL_INVALID_VALUE, [&] { alBufferData(good, noFormat, data, -2, 44100); }},
                 {AL_INVALID_VALUE, [&] { alBufferData(good, noFormat, data, 8, 0); }},
                 {AL_INVALID_ENUM, [&] { alBufferData(gone, noFormat, data, 8, 44100); }},
                 {AL_INVALID_VALUE, [&] { alBufferDataStatic(gone, mono, data, 7, 44100); }},
                 {AL_INVALID_NAME, [&] { alBufferData(gone, mono, nullptr, 8, 44100); }},
                 {AL_INVALID_VALUE, [&] { alBufferDataStatic(good, mono, nullptr, 8, 44100); }},
                 {AL_NO_ERROR, [&] { alBufferData(good, mono, nullptr, 0, 44100); }}});
}

TEST_F(BufferCalls, TheGamesMemory_IsInUseUntilItsSourceHasFadedOut) {
    const ALuint buffer = MakeStaticBuffer(), source = New(alGenSources);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcePlay(source);
    Copy();
    alSourceStop(source);
    alSourcei(source, AL_BUFFER, 0);
    // The block that may be under way, and those of the fade.
    const auto blocks = context->snapshot.fadeBlocks + 1;
    for (std::uint32_t block = 0; block < blocks; ++block) {
        alDeleteBuffers(1, &buffer);
        EXPECT_EQ(alGetError(), AL_INVALID_OPERATION) << block;
        Copy();
    }
    Copy();
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(BufferCalls, BufferData_CopiesWhileTheStaticFormRefers) {
    const ALuint copied = New(alGenBuffers), referred = MakeStaticBuffer();
    alBufferData(copied, AL_FORMAT_MONO16, samples.data(), 8, 44100);
    samples[0] = 7;
    EXPECT_EQ(Stored(copied)->data[0], 100);
    EXPECT_EQ(Stored(referred)->data[0], 7);
}

TEST_F(BufferCalls, Properties_OfNoDataAndOfTheMost_AreDefined) {
    constexpr ALsizei most = std::numeric_limits<ALsizei>::max();
    const ALuint empty = New(alGenBuffers), greatest = New(alGenBuffers);
    alBufferDataStatic(greatest, AL_FORMAT_MONO8, samples.data(), most, most);
    const struct {
        ALenum parameter;
        ALint ofEmpty, ofGreatest;
    } rows[] = {{AL_FREQUENCY, 0, most}, {AL_BITS, 16, 8}, {AL_CHANNELS, 1, 1}, {AL_SIZE, 0, most}};
    for (const auto& row : rows) {
        EXPECT_EQ(Read(alGetBufferi, empty, row.parameter), row.ofEmpty);
        EXPECT_EQ(Read(alGetBufferi, greatest, row.parameter), row.ofGreatest);
    }
}

TEST_F(BufferCalls, PropertyCalls_TestThePointersThenTheNameThenTheParameter) {
    ALint i = 0;
    New(alGenBuffers);
    ExpectCodes({{AL_INVALID_VALUE, [&] { alGetBuffer3i(4711, AL_FREQUENCY, &i, &i, nullptr); }},
                 {AL_INVALID_NAME, [&] { alGetBufferiv(4711, 0x2005, &i); }},
                 {AL_INVALID_NAME, [] { alBufferf(4711, AL_FREQUENCY, 1); }},
                 {AL_INVALID_ENUM, [&] { alGetBufferiv(1, 0x2005, &i); }},
                 {AL_INVALID_ENUM, [] { alBufferf(1, AL_FREQUENCY, 1); }}});
}

TEST_F(BufferCalls, ABufferOfASource_MayNeitherGoNorChange) {
    const ALuint names[] = {MakeBuffer(8), MakeBuffer(8)}, source = New(alGenSources);
    SetBuffer(source, names[1]);
    const auto remove = [&] { alDeleteBuffers(2, names); };
    const auto change = [&] { alBufferData(names[1], AL_FORMAT_MONO8, samples.data(), 3, 8000); };
    ExpectCodes({{AL_INVALID_OPERATION, remove}, {AL_INVALID_OPERATION, change}});
    SetBuffer(source, 0);
    ExpectCodes({{AL_NO_ERROR, change}, {AL_NO_ERROR, remove}});
}

TEST_F(BufferCalls, WithoutACurrentContext_TheDevicesContextStillKeepsWhatItReads) {
    const ALuint buffer = MakeBuffer(8);
    process.currentContext = nullptr;
    ExpectCodes({{AL_NO_ERROR, [&] { alDeleteBuffers(1, &buffer); }}});
    ASSERT_NE(context->application.deletedBuffers, nullptr);
    EXPECT_EQ(context->application.deletedBuffers->buffers.size, 1u);
}

}  // namespace
