// The properties and the names of sources.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "tests/support/contextfixture.h"

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr ALint greatestInteger = std::numeric_limits<ALint>::max();

class SourceCalls : public testing_support::ContextFixture {
protected:
    // What the renderer has of it, it has while it plays.
    void Play() {
        SetBuffer(source, MakeBuffer(10));
        alSourcePlay(source);
    }

    const ALuint source = New(alGenSources);
};

struct FloatCase {
    ALenum parameter;
    float initial, greatest;
    bool hasIntegerForm;
};

constexpr FloatCase floatCases[] = {{AL_GAIN, 1, infinity, false},
                                    {AL_MIN_GAIN, 0, 1, false},
                                    {AL_MAX_GAIN, 1, 1, false},
                                    {AL_PITCH, 1, infinity, false},
                                    {AL_REFERENCE_DISTANCE, 1, infinity, true},
                                    {AL_ROLLOFF_FACTOR, 1, infinity, true},
                                    {AL_MAX_DISTANCE, std::numeric_limits<float>::max(), infinity, true},
                                    {AL_CONE_OUTER_GAIN, 0, 1, false},
                                    {AL_CONE_INNER_ANGLE, 360, 360, true},
                                    {AL_CONE_OUTER_ANGLE, 360, 360, true},
                                    {AL_SOURCE_RADIUS, 0, infinity, false},
                                    {AL_AIR_ABSORPTION_FACTOR, 0, 10, false},
                                    {AL_ROOM_ROLLOFF_FACTOR, 0, 10, false},
                                    {AL_CONE_OUTER_GAINHF, 1, 1, false}};

TEST_F(SourceCalls, Floats_TakeTheirRangeAndAreKeptApart) {
    float distinct = 0;
    for (const auto& [parameter, initial, greatest, hasIntegerForm] : floatCases) {
        SCOPED_TRACE(parameter);
        EXPECT_FLOAT_EQ(Read(alGetSourcef, source, parameter), initial);
        for (const float value : {greatest, 0.0F, distinct += 0.0625F}) {
            alSourcefv(source, parameter, &value);
            EXPECT_FLOAT_EQ(Read(alGetSourcef, source, parameter), value);
        }
        EXPECT_EQ(alGetError(), AL_NO_ERROR);
        for (const float value :
             {-0.001F, -infinity, nan, greatest == infinity ? nan : greatest * 1.000001F}) {
            alSourcef(source, parameter, value);
            EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << value;
        }
        alSourcei(source, parameter, -1);
        EXPECT_EQ(alGetError(), hasIntegerForm ? AL_INVALID_VALUE : AL_INVALID_ENUM);
        EXPECT_EQ(Get(source, parameter), hasIntegerForm ? 0 : -77);
        EXPECT_EQ(alGetError(), hasIntegerForm ? AL_NO_ERROR : AL_INVALID_ENUM);
    }
    distinct = 0;
    for (const FloatCase& row : floatCases)
        EXPECT_FLOAT_EQ(Read(alGetSourcef, source, row.parameter), distinct += 0.0625F) << row.parameter;
}

TEST_F(SourceCalls, IntegerGetters_CutAndStayDefined) {
    ALint cut[3] = {};
    EXPECT_EQ(Get(source, AL_MAX_DISTANCE), greatestInteger);
    alSource3f(source, AL_POSITION, nan, -1e30F, -3.9F);
    alGetSourceiv(source, AL_POSITION, cut);
    EXPECT_EQ(std::to_array(cut), (std::array{0, -greatestInteger - 1, -3}));
}

TEST_F(SourceCalls, Flags_TakeZeroAndOne) {
    for (const ALenum parameter : {AL_SOURCE_RELATIVE, AL_LOOPING, AL_DIRECT_FILTER_GAINHF_AUTO,
                                   AL_AUXILIARY_SEND_FILTER_GAIN_AUTO, AL_AUXILIARY_SEND_FILTER_GAINHF_AUTO})
        for (const ALint value : {0, 1, 0}) {
            alSourceiv(source, parameter, &value);
            for (const ALint bad : {-1, 2})
                ExpectCodes({{AL_INVALID_VALUE, [&] { alSourcei(source, parameter, bad); }}});
            EXPECT_EQ(Get(source, parameter), value) << parameter;
        }
}

TEST_F(SourceCalls, Vectors_GoThroughAllForms) {
    const float given[] = {1.5F, -2.5F, infinity}, axes[] = {0, 0, 2, 0, 5, 0};
    float values[3] = {};
    ALint read[6] = {};
    for (const ALenum parameter : {AL_POSITION, AL_VELOCITY, AL_DIRECTION}) {
        alSourcefv(source, parameter, given);
        alGetSource3f(source, parameter, &values[0], &values[1], &values[2]);
        EXPECT_TRUE(std::equal(given, given + 3, values));
        alSource3i(source, parameter, 1, -2, 3);
        alGetSource3i(source, parameter, &read[0], &read[1], &read[2]);
        EXPECT_EQ(read[1], -2);
    }
    alSourcefv(source, AL_ORIENTATION, axes);
    alGetSourceiv(source, AL_ORIENTATION, read);
    EXPECT_TRUE(std::equal(axes, axes + 6, read));
}

TEST_F(SourceCalls, StereoAngles_HoldWhenBothAreFinite) {
    Play();
    for (const float right : {-0.5F, nan}) {
        const float angles[] = {0.5F, right};
        alSourcefv(source, AL_STEREO_ANGLES, angles);
        Copy();
        EXPECT_EQ(Rendered(source).hasStereoAngles, std::isfinite(right));
    }
}

TEST_F(SourceCalls, DirectFilter_IsACopyUntilItIsSetAgain) {
    Play();
    const ALuint filter = New(alGenFilters);
    alFilteri(filter, AL_FILTER_TYPE, AL_FILTER_LOWPASS);
    alSourcei(source, AL_DIRECT_FILTER, 1);
    alFilterf(filter, AL_LOWPASS_GAINHF, 0.75F);
    Copy();
    EXPECT_EQ(Rendered(source).directFilter.type, goal::FilterType::LowPass);
    EXPECT_EQ(Rendered(source).directFilter.gainHF, 1);
    alDeleteFilters(1, &filter);
    ExpectCodes({{AL_INVALID_VALUE, [&] { alSourcei(source, AL_DIRECT_FILTER, 1); }}});
    EXPECT_EQ(Get(source, AL_DIRECT_FILTER), 1);
    alSourcei(source, AL_DIRECT_FILTER, 0);
    Copy();
    EXPECT_EQ(Rendered(source).directFilter.type, goal::FilterType::None);
}

TEST_F(SourceCalls, Sends_GrowToTheirIndexAndKeepAnySlotName) {
    Play();
    alFilteri(New(alGenFilters), AL_FILTER_TYPE, AL_FILTER_HIGHPASS);
    ExpectCodes({{AL_NO_ERROR, [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 4711, 6, 1); }},
                 {AL_INVALID_VALUE, [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, -1, 0); }},
                 {AL_INVALID_VALUE, [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 7, 9); }},
                 {AL_INVALID_OPERATION, [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 65536, 0); }}});
    Copy();
    ASSERT_EQ(Rendered(source).sends.size, 7u);
    EXPECT_EQ(VoiceOf(source).memory.sends.size, 7u);
    EXPECT_EQ(Rendered(source).sends[6].slotName, 4711u);
    EXPECT_EQ(Rendered(source).sends[6].filter.type, goal::FilterType::HighPass);
    EXPECT_EQ(Rendered(source).sends[5].slotName, 0u);
}

TEST_F(SourceCalls, Refusals_HaveTheCodeOfTheFirstFault) {
    constexpr ALint huge = greatestInteger;
    ALuint list[2] = {source, 99};
    ALint i[6] = {};
    ExpectCodes({{AL_INVALID_VALUE, [] { alGetSourcei(99, AL_GAIN, nullptr); }},
                 {AL_INVALID_NAME, [&] { alGetSourcei(99, 0, i); }},
                 {AL_INVALID_NAME, [] { alSourcefv(99, AL_GAIN, nullptr); }},
                 {AL_INVALID_NAME, [&] { alSourcePlayv(2, list); }},
                 {AL_INVALID_OPERATION, [&] { alSourcePausev(-1, list); }},
                 {AL_INVALID_VALUE, [&] { alSourceQueueBuffers(1, -1, list); }},
                 {AL_INVALID_OPERATION, [&] { alSourceUnqueueBuffers(1, huge, list); }},
                 {AL_INVALID_ENUM, [] { alSourcef(1, AL_POSITION, 0); }},
                 {AL_INVALID_ENUM, [] { Get(1, AL_AUXILIARY_SEND_FILTER); }},
                 {AL_INVALID_ENUM, [&] { alGetSource3i(1, AL_AUXILIARY_SEND_FILTER, i, i + 1, i + 2); }},
                 {AL_INVALID_OPERATION, [] { alSourcei(1, AL_SOURCE_STATE, AL_PLAYING); }}});
    process.currentContext = nullptr;
    ExpectCodes({{AL_INVALID_OPERATION, [] { alGetSourcei(99, AL_GAIN, nullptr); }}});
}

}  // namespace
