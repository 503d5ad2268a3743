#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "contextfixture.h"

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

class ListenerCalls : public testing_support::ContextFixture {
protected:
    float Number(ALenum parameter) {
        float value = -77;
        alGetListenerf(parameter, &value);
        return value;
    }
};

TEST_F(ListenerCalls, Numbers_TakeZeroAndAboveOnly) {
    for (const ALenum parameter : {AL_GAIN, AL_METERS_PER_UNIT}) {
        alListenerf(parameter, 0.5F);
        for (const float value : {-0.001F, nan, -std::numeric_limits<float>::infinity()}) {
            alListenerf(parameter, value);
            EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << value;
        }
        EXPECT_EQ(Number(parameter), 0.5F);
        alListenerf(parameter, 0);
        EXPECT_EQ(Number(parameter), 0);
    }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    const ALint negative = -1;
    alListeneriv(AL_GAIN, &negative);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
}

TEST_F(ListenerCalls, Vectors_GoThroughAllForms) {
    for (const ALenum parameter : {AL_POSITION, AL_VELOCITY}) {
        const float given[] = {1.75F, -2.75F, 1e20F};
        alListenerfv(parameter, given);
        float x = 0, y = 0, z = 0;
        alGetListener3f(parameter, &x, &y, &z);
        EXPECT_EQ(y, -2.75F);
        ALint cut[3] = {0, 0, 0};
        alGetListeneriv(parameter, cut);
        EXPECT_EQ(cut[0], 1);
        EXPECT_EQ(cut[1], -2);
        EXPECT_EQ(cut[2], std::numeric_limits<ALint>::max());

        alListener3i(parameter, 3, 4, 5);
        float values[3] = {0, 0, 0};
        alGetListenerfv(parameter, values);
        EXPECT_EQ(values[2], 5);
        alListener3f(parameter, nan, 0, 0);
        alGetListener3i(parameter, &cut[0], &cut[1], &cut[2]);
        EXPECT_EQ(cut[0], 0);
    }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(ListenerCalls, Orientation_IsKeptAsGiven) {
    const float given[] = {0, 3, 0, 0, 0, -7};
    alListenerfv(AL_ORIENTATION, given);
    float values[6] = {};
    alGetListenerfv(AL_ORIENTATION, values);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(values[i], given[i]);
    Copy();
    EXPECT_EQ(context->snapshot.listenerAt[1], 3);
    EXPECT_EQ(context->snapshot.listenerUp[2], -7);
}

TEST_F(ListenerCalls, ParametersThatAFormDoesNotHave_AreInvalidEnums) {
    float f[6] = {};
    ALint i[6] = {};
    alListenerf(AL_POSITION, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alListener3f(AL_ORIENTATION, 1, 1, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alListenerfv(AL_METERS_PER_UNIT, f);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alListeneri(AL_GAIN, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alListener3i(AL_GAIN, 1, 1, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetListenerfv(AL_METERS_PER_UNIT, f);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetListeneri(AL_GAIN, i);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetListeneriv(AL_GAIN, i);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetListener3i(AL_ORIENTATION, i, i + 1, i + 2);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
}

TEST_F(ListenerCalls, NullPointers_AreInvalidValues) {
    float f = 0;
    ALint i = 0;
    alListenerfv(AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alListeneriv(AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetListenerf(AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetListener3f(AL_POSITION, &f, nullptr, &f);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetListenerfv(AL_POSITION, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetListener3i(AL_POSITION, &i, &i, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetListeneriv(AL_POSITION, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
}

TEST_F(ListenerCalls, WithoutAContext_AreInvalidOperations) {
    process.currentContext = nullptr;
    alListenerf(AL_GAIN, 0.5F);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    alListenerfv(AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(Number(AL_GAIN), -77);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
}

}  // namespace
