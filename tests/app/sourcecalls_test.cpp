#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "sourcefixture.h"

namespace {

using testing_support::SourceFixture;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr ALint greatestInteger = std::numeric_limits<ALint>::max();

class SourceCalls : public SourceFixture {
protected:
    float GetFloat(ALuint source, ALenum parameter) {
        float value = -77;
        alGetSourcef(source, parameter, &value);
        return value;
    }
};

// ---- Floats ----

struct FloatCase {
    ALenum parameter;
    float initial;
    float greatest;
    bool hasIntegerForm;
};

class FloatProperties : public SourceCalls, public testing::WithParamInterface<FloatCase> {};

TEST_P(FloatProperties, TakeTheirRangeAndNothingElse) {
    const FloatCase& row = GetParam();
    const ALuint source = MakeSource();
    const float inside = row.greatest == 360 ? 90.0F : 0.5F;
    EXPECT_FLOAT_EQ(GetFloat(source, row.parameter), row.initial);
    alSourcefv(source, row.parameter, &row.greatest);
    EXPECT_FLOAT_EQ(GetFloat(source, row.parameter), row.greatest);
    alSourcef(source, row.parameter, 0);
    EXPECT_EQ(GetFloat(source, row.parameter), 0);
    alSourcef(source, row.parameter, inside);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);

    std::vector<float> refused{-0.001F, -infinity, nan};
    if (row.greatest != infinity)
        refused.insert(refused.end(), {std::nextafter(row.greatest, infinity), infinity});
    for (const float value : refused) {
        alSourcef(source, row.parameter, value);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << value;
    }
    float kept = 0;
    alGetSourcefv(source, row.parameter, &kept);
    EXPECT_FLOAT_EQ(kept, inside);
}

TEST_P(FloatProperties, HaveAnIntegerFormOrNot) {
    const FloatCase& row = GetParam();
    const ALuint source = MakeSource();
    alSourcei(source, row.parameter, 1);
    EXPECT_EQ(alGetError(), row.hasIntegerForm ? AL_NO_ERROR : AL_INVALID_ENUM);
    EXPECT_FLOAT_EQ(GetFloat(source, row.parameter), row.hasIntegerForm ? 1 : row.initial);
    EXPECT_EQ(Get(source, row.parameter), row.hasIntegerForm ? 1 : -77);
    EXPECT_EQ(alGetError(), row.hasIntegerForm ? AL_NO_ERROR : AL_INVALID_ENUM);
    if (!row.hasIntegerForm) return;
    alSourcei(source, row.parameter, -1);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alSourcei(source, row.parameter, 361);
    EXPECT_EQ(alGetError(), row.greatest == 360 ? AL_INVALID_VALUE : AL_NO_ERROR);
}

INSTANTIATE_TEST_SUITE_P(
    All, FloatProperties,
    testing::Values(
        FloatCase{AL_GAIN, 1, infinity, false}, FloatCase{AL_MIN_GAIN, 0, 1, false},
        FloatCase{AL_MAX_GAIN, 1, 1, false}, FloatCase{AL_PITCH, 1, infinity, false},
        FloatCase{AL_REFERENCE_DISTANCE, 1, infinity, true}, FloatCase{AL_ROLLOFF_FACTOR, 1, infinity, true},
        FloatCase{AL_MAX_DISTANCE, std::numeric_limits<float>::max(), infinity, true},
        FloatCase{AL_CONE_OUTER_GAIN, 0, 1, false}, FloatCase{AL_CONE_INNER_ANGLE, 360, 360, true},
        FloatCase{AL_CONE_OUTER_ANGLE, 360, 360, true}, FloatCase{AL_SOURCE_RADIUS, 0, infinity, false},
        FloatCase{AL_AIR_ABSORPTION_FACTOR, 0, 10, false}, FloatCase{AL_ROOM_ROLLOFF_FACTOR, 0, 10, false},
        FloatCase{AL_CONE_OUTER_GAINHF, 1, 1, false}));

TEST_F(SourceCalls, IntegerGetters_CutAndStayDefined) {
    const ALuint source = MakeSource();
    EXPECT_EQ(Get(source, AL_MAX_DISTANCE), greatestInteger);
    alSourcef(source, AL_ROLLOFF_FACTOR, 2.9F);
    EXPECT_EQ(Get(source, AL_ROLLOFF_FACTOR), 2);
    alSource3f(source, AL_POSITION, nan, -1e30F, -3.9F);
    ALint x = 1, y = 1, z = 1;
    alGetSource3i(source, AL_POSITION, &x, &y, &z);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, std::numeric_limits<ALint>::min());
    EXPECT_EQ(z, -3);
}

// ---- Flags, vectors, angles ----

TEST_F(SourceCalls, Flags_TakeZeroAndOne) {
    const ALuint source = MakeSource();
    for (const ALenum parameter :
         {AL_SOURCE_RELATIVE, AL_LOOPING, AL_DIRECT_FILTER_GAINHF_AUTO, AL_AUXILIARY_SEND_FILTER_GAIN_AUTO,
          AL_AUXILIARY_SEND_FILTER_GAINHF_AUTO}) {
        for (const ALint value : {0, 1, 0}) {
            alSourceiv(source, parameter, &value);
            EXPECT_EQ(Get(source, parameter), value);
        }
        for (const ALint value : {-1, 2}) {
            alSourcei(source, parameter, value);
            EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
        }
    }
}

TEST_F(SourceCalls, Vectors_GoThroughAllForms) {
    const ALuint source = MakeSource();
    for (const ALenum parameter : {AL_POSITION, AL_VELOCITY, AL_DIRECTION}) {
        const float given[] = {1.5F, -2.5F, infinity};
        alSourcefv(source, parameter, given);
        float values[3] = {};
        alGetSource3f(source, parameter, &values[0], &values[1], &values[2]);
        EXPECT_TRUE(std::equal(given, given + 3, values));
        const ALint integers[] = {7, -8, 9};
        alSourceiv(source, parameter, integers);
        alGetSourcefv(source, parameter, values);
        EXPECT_EQ(values[1], -8);
        alSource3i(source, parameter, 1, 2, 3);
        ALint read[3] = {};
        alGetSourceiv(source, parameter, read);
        EXPECT_EQ(read[2], 3);
    }
    const float axes[] = {0, 0, 2, 0, 5, 0};
    alSourcefv(source, AL_ORIENTATION, axes);
    ALint read[6] = {};
    alGetSourceiv(source, AL_ORIENTATION, read);
    EXPECT_TRUE(std::equal(axes, axes + 6, read));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(SourceCalls, StereoAngles_HoldWhenBothAreFinite) {
    const ALuint source = MakeSource();
    const float angles[] = {0.5F, -0.5F};
    alSourcefv(source, AL_STEREO_ANGLES, angles);
    Copy();
    EXPECT_TRUE(Rendered(source).hasStereoAngles);
    const float halfDefault[] = {0.25F, nan};
    alSourcefv(source, AL_STEREO_ANGLES, halfDefault);
    Copy();
    EXPECT_FALSE(Rendered(source).hasStereoAngles);
    float read[2] = {};
    alGetSourcefv(source, AL_STEREO_ANGLES, read);
    EXPECT_EQ(read[0], 0.25F);
    EXPECT_TRUE(std::isnan(read[1]));
}

TEST_F(SourceCalls, ParametersThatAFormDoesNotHave_AreInvalidEnums) {
    const ALuint source = MakeSource();
    float f[6] = {};
    ALint i[6] = {};
    for (const ALenum parameter : {0, AL_LOOPING, AL_POSITION, AL_STEREO_ANGLES, AL_BUFFER}) {
        alSourcef(source, parameter, 0);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << parameter;
        alGetSourcef(source, parameter, f);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << parameter;
    }
    for (const ALenum parameter : {0, AL_GAIN, AL_POSITION, AL_AUXILIARY_SEND_FILTER, AL_STEREO_ANGLES}) {
        alSourcei(source, parameter, 0);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << parameter;
        alGetSourcei(source, parameter, i);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << parameter;
    }
    alSource3f(source, AL_ORIENTATION, 0, 0, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alSource3i(source, AL_ORIENTATION, 0, 0, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetSource3i(source, AL_AUXILIARY_SEND_FILTER, i, i + 1, i + 2);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alSourcei(source, AL_SOURCE_STATE, AL_PLAYING);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
}

// ---- Filters and sends ----

TEST_F(SourceCalls, DirectFilter_IsACopyUntilItIsSetAgain) {
    const ALuint source = MakeSource();
    context->application.filters.append({});
    context->application.filters[0].type = 1;
    context->application.filters[0].gainHF = 0.25F;
    alSourcei(source, AL_DIRECT_FILTER, 1);
    context->application.filters[0].gainHF = 0.75F;
    Copy();
    EXPECT_EQ(Rendered(source).directFilter.type, 1);
    EXPECT_EQ(Rendered(source).directFilter.gainHF, 0.25F);
    for (const ALint name : {2, -1}) {
        alSourcei(source, AL_DIRECT_FILTER, name);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    }
    EXPECT_EQ(Get(source, AL_DIRECT_FILTER), 1);
    context->application.filters[0].deleted = true;
    alSourcei(source, AL_DIRECT_FILTER, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alSourcei(source, AL_DIRECT_FILTER, 0);
    Copy();
    EXPECT_EQ(Rendered(source).directFilter.type, 0);
    EXPECT_EQ(Get(source, AL_DIRECT_FILTER), 0);
}

TEST_F(SourceCalls, Sends_GrowToTheirIndexAndKeepAnySlotName) {
    const ALuint source = MakeSource();
    context->application.filters.append({});
    context->application.filters[0].type = 2;
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, 4711, 6, 1);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    Copy();
    ASSERT_EQ(Rendered(source).sends.size, 7u);
    EXPECT_EQ(context->snapshot.sourceStates[source - 1].sends.size, 7u);
    EXPECT_EQ(Rendered(source).sends[6].slotName, 4711u);
    EXPECT_EQ(Rendered(source).sends[6].filter.type, 2);
    EXPECT_EQ(Rendered(source).sends[5].slotName, 0u);
    EXPECT_EQ(Rendered(source).sends[5].filter.gain, 1);
    const ALint none[] = {0, 6, 0};
    alSourceiv(source, AL_AUXILIARY_SEND_FILTER, none);
    Copy();
    EXPECT_EQ(Rendered(source).sends[6].filter.type, 0);
}

TEST_F(SourceCalls, Sends_OfAWrongIndexOrFilter_ChangeNothing) {
    const ALuint source = MakeSource();
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, -1, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 0, 9);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    for (const ALint index : {65536, greatestInteger}) {
        alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, index, 0);
        EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    }
    EXPECT_EQ(context->application.sources[source - 1].sends.size, 0u);
}

// ---- Names ----

TEST_F(SourceCalls, Names_TakeTheLowestDeletedOnesFirstAndStartAfresh) {
    ALuint names[6] = {};
    alGenSources(6, names);
    EXPECT_EQ(names[5], 6u);
    alSourcef(2, AL_GAIN, 0.5F);
    const ALuint gone[] = {5, 2};
    Copy();
    alDeleteSources(2, gone);
    Copy();
    EXPECT_TRUE(Rendered(2).deleted);
    EXPECT_EQ(alIsSource(2), AL_FALSE);
    EXPECT_EQ(alIsSource(3), AL_TRUE);
    ALuint again[3] = {};
    alGenSources(3, again);
    EXPECT_EQ(again[0], 2u);
    EXPECT_EQ(again[1], 5u);
    EXPECT_EQ(again[2], 7u);
    Copy();
    EXPECT_FALSE(Rendered(2).deleted);
    EXPECT_EQ(GetFloat(2, AL_GAIN), 1);
    for (const ALuint name : {0u, 8u, 0xFFFFFFFFu})
        EXPECT_EQ(alIsSource(name), AL_FALSE);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(SourceCalls, Delete_WithABadNameDeletesNothingAndADoubledOneIsDeletedOnce) {
    const ALuint source = MakeStream(1);
    const ALuint bad[] = {source, 99};
    alDeleteSources(2, bad);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(alIsSource(source), AL_TRUE);
    const ALuint doubled[] = {source, source};
    alDeleteSources(2, doubled);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(UseCount(1), 0);
    EXPECT_EQ(alIsSource(source), AL_FALSE);
}

TEST_F(SourceCalls, DeletedWhileSuspended_PlaysOnUntilTheEnd) {
    const ALuint source = MakeStream(1);
    alSourcePlay(source);
    Copy();
    Suspend();
    alDeleteSources(1, &source);
    alSourcePlay(source);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    Block(source, 0, 3);
    EXPECT_FALSE(Rendered(source).deleted);
    Resume();
    Copy();
    EXPECT_TRUE(Rendered(source).deleted);
}

TEST_F(SourceCalls, WrongCountsAndPointers_GiveTheCodeOfTheCall) {
    const ALuint source = MakeSource();
    ALuint list[1] = {source};
    const struct {
        void (*call)(ALsizei n, ALuint* names);
        int nullCode, negativeCode, hugeCode;
    } rows[] = {
        {[](ALsizei n, ALuint* names) { alGenSources(n, names); }, AL_INVALID_VALUE, AL_INVALID_VALUE,
         AL_INVALID_VALUE},
        {[](ALsizei n, ALuint* names) { alDeleteSources(n, names); }, AL_INVALID_VALUE, AL_INVALID_VALUE,
         AL_INVALID_VALUE},
        {[](ALsizei n, ALuint* names) { alSourcePlayv(n, names); }, AL_INVALID_VALUE, AL_INVALID_OPERATION,
         AL_INVALID_OPERATION},
        {[](ALsizei n, ALuint* names) { alSourcePausev(n, names); }, AL_INVALID_VALUE, AL_INVALID_OPERATION,
         AL_INVALID_OPERATION},
        {[](ALsizei n, ALuint* names) { alSourceQueueBuffers(1, n, names); }, AL_INVALID_VALUE,
         AL_INVALID_VALUE, AL_INVALID_OPERATION},
        {[](ALsizei n, ALuint* names) { alSourceUnqueueBuffers(1, n, names); }, AL_INVALID_VALUE,
         AL_INVALID_VALUE, AL_INVALID_OPERATION},
    };
    for (const auto& row : rows) {
        row.call(1, nullptr);
        EXPECT_EQ(alGetError(), row.nullCode) << &row - rows;
        row.call(-1, list);
        EXPECT_EQ(alGetError(), row.negativeCode) << &row - rows;
        row.call(greatestInteger, list);
        EXPECT_EQ(alGetError(), row.hugeCode) << &row - rows;
        row.call(0, list);
        EXPECT_EQ(alGetError(), AL_NO_ERROR) << &row - rows;
    }
    EXPECT_EQ(list[0], source);
    EXPECT_EQ(alIsSource(source), AL_TRUE);
}

// The context is tested before the pointer, the pointer before the name, the name before the parameter.
TEST_F(SourceCalls, Tests_ComeInOneOrder) {
    const ALuint source = MakeSource();
    ALint i = 0;
    alGetSourcei(99, AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetSource3f(99, AL_GAIN, nullptr, nullptr, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetSourcei(99, 0, &i);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    alSourcef(0, 0, -1);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    alSourcefv(99, AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
    process.currentContext = nullptr;
    alGetSourcei(99, AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alSourcePlayv(-1, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(alIsSource(source), AL_FALSE);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
}

TEST_F(SourceCalls, SuspendedChanges_AreReadBackAtOnceAndRenderedTogetherAfterwards) {
    const ALuint source = MakeStream(1);
    Copy();
    Suspend();
    alSourcef(source, AL_GAIN, 0.5F);
    alSource3f(source, AL_POSITION, 1, 2, 3);
    EXPECT_EQ(GetFloat(source, AL_GAIN), 0.5F);
    Copy();
    EXPECT_EQ(Rendered(source).gain, 1);
    Resume();
    Copy();
    EXPECT_EQ(Rendered(source).gain, 0.5F);
    EXPECT_EQ(Rendered(source).position, 0u);
    EXPECT_EQ(Rendered(source).goal::SourceBaseParameters::position[2], 3);
}

}  // namespace
