#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include "contextfixture.h"

namespace {

class GlobalCalls : public testing_support::ContextFixture {
protected:
    std::string StoredLog() const {
        std::ifstream file(store.UserFile());
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void SetVerbose(bool isVerbose) {
        process.engine.configuration.Read([](const auto&) { return 0; });
        process.engine.configuration.configuration.goalConfig.isLoggingVerbose = isVerbose;
    }
};

TEST_F(GlobalCalls, FirstErrorStaysUntilItIsTaken) {
    alDistanceModel(0xD007);
    alDopplerFactor(-1);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

struct GlobalValue {
    ALenum parameter;
    void(AL_APIENTRY* set)(ALfloat);
    float initial;
};

class GlobalValues : public GlobalCalls, public testing::WithParamInterface<GlobalValue> {};

TEST_P(GlobalValues, TakeZeroAndAboveAndAreReadInAllForms) {
    const auto& [parameter, set, initial] = GetParam();
    EXPECT_EQ(alGetFloat(parameter), initial);
    set(2.75F);
    for (const float value : {-1.0F, std::numeric_limits<float>::quiet_NaN()}) {
        set(value);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    }
    EXPECT_EQ(alGetDouble(parameter), 2.75);
    EXPECT_EQ(alGetInteger(parameter), 2);
    EXPECT_EQ(alGetBoolean(parameter), AL_TRUE);
    set(std::numeric_limits<float>::infinity());
    EXPECT_EQ(alGetInteger(parameter), std::numeric_limits<ALint>::max());
    set(0);
    EXPECT_EQ(alGetBoolean(parameter), AL_FALSE);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

INSTANTIATE_TEST_SUITE_P(All, GlobalValues,
                         testing::Values(GlobalValue{AL_DOPPLER_FACTOR, alDopplerFactor, 1},
                                         GlobalValue{AL_DOPPLER_VELOCITY, alDopplerVelocity, 1},
                                         GlobalValue{AL_SPEED_OF_SOUND, alSpeedOfSound, 343.3F}));

TEST_F(GlobalCalls, DistanceModel_TakesTheSevenAndIsTrueOnlyForTheDefault) {
    EXPECT_EQ(alGetBoolean(AL_DISTANCE_MODEL), AL_TRUE);
    for (const ALenum model : {AL_NONE, 0xD001, 0xD003, 0xD004, 0xD005, 0xD006}) {
        alDistanceModel(model);
        EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL), model);
        EXPECT_EQ(alGetFloat(AL_DISTANCE_MODEL), static_cast<float>(model));
        EXPECT_EQ(alGetBoolean(AL_DISTANCE_MODEL), AL_FALSE);
    }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    for (const ALenum model : {1, 0xD000, 0xD007}) {
        alDistanceModel(model);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    }
    EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL), 0xD006);
}

TEST_F(GlobalCalls, SuspendedValue_IsReadBackAtOnceAndRenderedAfterwards) {
    auto* const handle = reinterpret_cast<ALCcontext*>(context.get());
    alcSuspendContext(handle);
    alDopplerFactor(3);
    EXPECT_EQ(alGetFloat(AL_DOPPLER_FACTOR), 3);
    Copy();
    EXPECT_EQ(context->snapshot.dopplerFactor, 1);
    alcProcessContext(handle);
    Copy();
    EXPECT_EQ(context->snapshot.dopplerFactor, 3);
}

TEST_F(GlobalCalls, Capabilities_AreNone) {
    EXPECT_EQ(alIsEnabled(1), AL_FALSE);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alEnable(AL_DISTANCE_MODEL);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    process.currentContext = nullptr;
    alDisable(1);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
}

TEST_F(GlobalCalls, StateQueries_LeaveTheOutputOnFailure) {
    ALdouble value = 5;
    alGetDoublev(AL_GAIN, &value);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    alGetFloatv(AL_GAIN, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    process.currentContext = nullptr;
    alGetDoublev(AL_DOPPLER_FACTOR, &value);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(alGetInteger(AL_DOPPLER_FACTOR), 0);
}

TEST_F(GlobalCalls, Strings_NeedNoContext) {
    process.currentContext = nullptr;
    alGetError();
    EXPECT_STREQ(alGetString(AL_VERSION), "1.1");
    EXPECT_STREQ(alGetString(AL_RENDERER), "Tessarune v2.5.1cm");
    EXPECT_STREQ(alGetString(AL_VENDOR), "Hollowbrook Labs");
    EXPECT_STREQ(alGetString(AL_NO_ERROR), "There is no current error.");
    EXPECT_STREQ(alGetString(AL_INVALID_OPERATION), "Illegal call.");
    EXPECT_EQ(std::string(alGetString(AL_EXTENSIONS)).substr(0, 15), "AL_EXT_BFORMAT ");
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(alGetString(AL_GAIN), nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
}

TEST_F(GlobalCalls, LookUps_FindNamesAndRecordTheRest) {
    EXPECT_EQ(alIsExtensionPresent("al_ext_float32"), AL_TRUE);
    EXPECT_EQ(alIsExtensionPresent("AL_EXT_FLOAT"), AL_FALSE);
    EXPECT_EQ(alGetEnumValue("AL_FORMAT_MONO_FLOAT32"), 0x10010);
    EXPECT_EQ(alGetProcAddress("alSourcePlay"), reinterpret_cast<void*>(alSourcePlay));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(alGetEnumValue("al_format_mono_float32"), 0);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(alGetEnumValue(nullptr), 0);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(alIsExtensionPresent(nullptr), AL_FALSE);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(alGetProcAddress(nullptr), nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
}

TEST_F(GlobalCalls, UnknownFunction_IsLoggedWhenVerboseAndRecordsNothing) {
    EXPECT_EQ(alGetProcAddress("alFrobnicate"), nullptr);
    EXPECT_EQ(StoredLog().find("alFrobnicate"), std::string::npos);
    SetVerbose(true);
    EXPECT_EQ(alGetProcAddress("alFrobnicate"), nullptr);
    SetVerbose(false);
    EXPECT_NE(StoredLog().find("Game call failed: Unsupported function 'alFrobnicate' could not be found."),
              std::string::npos);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

// ---- Foldback ----

void AL_APIENTRY Ignore(ALenum, ALsizei) {}

TEST_F(GlobalCalls, FoldbackStart_WantsAModeARingAndTwoBlocksOfRoom) {
    const auto start = reinterpret_cast<LPALREQUESTFOLDBACKSTART>(alGetProcAddress("alRequestFoldbackStart"));
    context->blockFrames = 100;
    float ring[400] = {};
    start(0x4103, 4, 100, ring, Ignore);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
    start(AL_FOLDBACK_MODE_MONO, 4, 100, nullptr, Ignore);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    start(AL_FOLDBACK_MODE_MONO, 4, 100, ring, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    struct Shape {
        ALsizei count, frames;
    };
    for (const auto& [count, frames] : {Shape{1, 1000}, {2, 99}, {-2, -1000}, {4, 0}, {-4, 100}}) {
        start(AL_FOLDBACK_MODE_STEREO, count, frames, ring, Ignore);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << count << " x " << frames;
    }
}

}  // namespace
