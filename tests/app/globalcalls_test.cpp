// The calls that are about no object of the game, and those of the listener.

#include <algorithm>
#include <limits>
#include <string>

#include "tests/support/contextfixture.h"

namespace {

using GlobalCalls = testing_support::ContextFixture;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST_F(GlobalCalls, Values_TakeZeroAndAboveOnly) {
    const auto setGain = [](ALfloat value) { alListenerf(AL_GAIN, value); };
    const auto setUnit = [](ALfloat value) { alListenerf(AL_METERS_PER_UNIT, value); };
    const struct {
        float goal::GlobalParameters::*field;
        void (*set)(ALfloat);
        float initial;
    } rows[] = {{&goal::GlobalParameters::dopplerFactor, alDopplerFactor, 1},
                {&goal::GlobalParameters::dopplerVelocity, alDopplerVelocity, 1},
                {&goal::GlobalParameters::speedOfSound, alSpeedOfSound, 343.3F},
                {&goal::GlobalParameters::listenerGain, setGain, 1},
                {&goal::GlobalParameters::metersPerUnit, setUnit, 1}};
    for (const auto& row : rows) {
        float& stored = context->application.*row.field;
        EXPECT_EQ(stored, row.initial);
        for (const float value : {infinity, 0.0F, 2.75F}) {
            row.set(value);
            EXPECT_EQ(stored, value);
        }
        for (const float bad : {-1.0F, -infinity, nan})
            ExpectCodes({{AL_INVALID_VALUE, [&] { row.set(bad); }}});
        EXPECT_EQ(stored, 2.75F);
    }
}

TEST_F(GlobalCalls, State_IsReadInAllForms) {
    alSpeedOfSound(2.75F);
    EXPECT_EQ(alGetDouble(AL_SPEED_OF_SOUND), 2.75);
    EXPECT_EQ(alGetFloat(AL_SPEED_OF_SOUND), 2.75F);
    EXPECT_EQ(alGetInteger(AL_SPEED_OF_SOUND), 2);
    EXPECT_EQ(alGetBoolean(AL_SPEED_OF_SOUND), AL_TRUE);
    EXPECT_EQ(alGetFloat(AL_DOPPLER_FACTOR) + alGetFloat(AL_DOPPLER_VELOCITY), 2);
    for (const ALenum model : {0xD000, 0xD001, 0xD002, 0xD006, 0xD007, AL_NONE}) {
        alDistanceModel(model);
        const bool isKnown = model != 0xD000 && model != 0xD007;
        EXPECT_EQ(alGetError(), isKnown ? AL_NO_ERROR : AL_INVALID_ENUM);
        EXPECT_EQ(alGetInteger(AL_DISTANCE_MODEL) == model, isKnown);
        EXPECT_EQ(alGetBoolean(AL_DISTANCE_MODEL), model == 0xD000 || model == AL_INVERSE_DISTANCE_CLAMPED);
    }
}

TEST_F(GlobalCalls, ChangesWhileSuspended_AreReadAtOnceAndRenderedAfterTheLastProcess) {
    Suspend();
    alDopplerFactor(3);
    Suspend();
    EXPECT_EQ(alGetFloat(AL_DOPPLER_FACTOR), 3);
    for (const float rendered : {1.0F, 3.0F, 3.0F}) {  // the last one has nothing to end
        Resume();
        Copy();
        EXPECT_EQ(context->snapshot.dopplerFactor, rendered);
    }
    process.engine.configuration.configuration.goalConfig.isSuspendSupported = false;
    Suspend();
    alDopplerFactor(4);
    Copy();
    EXPECT_EQ(context->snapshot.dopplerFactor, 4);
}

TEST_F(GlobalCalls, Refusals_HaveTheirCodesAndLeaveTheOutput) {
    ALdouble value = 5;
    ExpectCodes({{AL_INVALID_ENUM, [] { alIsEnabled(1); }},
                 {AL_INVALID_ENUM, [&] { alGetDoublev(AL_GAIN, &value); }},
                 {AL_INVALID_VALUE, [] { alGetFloatv(AL_GAIN, nullptr); }},
                 {AL_INVALID_ENUM, [] { alGetString(AL_GAIN); }},
                 {AL_INVALID_VALUE, [] { alGetEnumValue("al_format_mono_float32"); }},
                 {AL_INVALID_VALUE, [] { alIsExtensionPresent(nullptr); }}});
    process.currentContext = nullptr;
    ExpectCodes({{AL_INVALID_OPERATION, [&] { alGetDoublev(AL_DOPPLER_FACTOR, &value); }}});
    EXPECT_EQ(value, 5);
}

TEST_F(GlobalCalls, TextsAndLookUps_NeedNoContext) {
    process.currentContext = nullptr;
    EXPECT_STREQ(alGetString(AL_RENDERER), "Tessarune v2.5.1cm");
    EXPECT_STREQ(alGetString(AL_INVALID_OPERATION), "Illegal call.");
    EXPECT_EQ(std::string(alGetString(AL_EXTENSIONS)).substr(0, 30), "AL_EXT_BFORMAT AL_EXT_DOUBLE A");
    for (const char* name : {"AL_EXT_FLOAT32", "al_ext_float32", "Al_Ext_Mulaw"})
        EXPECT_EQ(alIsExtensionPresent(name), AL_TRUE) << name;
    for (const char* name : {"AL_EXT_MULA", "AL_EXT_MULAW_", "", "ALC_EXT_EFX"})
        EXPECT_EQ(alIsExtensionPresent(name), AL_FALSE) << name;
    for (const char* name : {"", "al", "alsourceplay", "alSourcePlay ", "alcOpenDevice"})
        EXPECT_EQ(alGetProcAddress(name), nullptr) << name;
    EXPECT_EQ(alGetProcAddress("alSourcePlay"), reinterpret_cast<void*>(alSourcePlay));
    EXPECT_EQ(alGetEnumValue("AL_FORMAT_MONO_FLOAT32"), 0x10010);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

// ---- The listener ----

TEST_F(GlobalCalls, ListenerVectors_GoThroughAllForms) {
    const float given[] = {1.75F, -2.75F, 1e20F, 0, 0, -7};
    float values[6] = {};
    ALint cut[3] = {};
    for (const ALenum parameter : {AL_POSITION, AL_VELOCITY}) {
        alListener3i(parameter, 3, 4, 5);
        alGetListeneriv(parameter, cut);
        EXPECT_EQ(cut[1], 4);
        alListenerfv(parameter, given);
        alGetListener3f(parameter, &values[0], &values[1], &values[2]);
        EXPECT_TRUE(std::equal(given, given + 3, values));
    }
    alListenerfv(AL_ORIENTATION, given);
    alGetListenerfv(AL_ORIENTATION, values);
    EXPECT_TRUE(std::equal(given, given + 6, values));
}

TEST_F(GlobalCalls, ListenerFormsThatAParameterDoesNotHaveAndNullPointers_AreRefused) {
    float f[6] = {};
    ExpectCodes({{AL_INVALID_ENUM, [] { alListenerf(AL_POSITION, 1); }},
                 {AL_INVALID_ENUM, [] { alListener3f(AL_ORIENTATION, 1, 1, 1); }},
                 {AL_INVALID_ENUM, [] { alListeneri(AL_GAIN, 1); }},
                 {AL_INVALID_ENUM, [&] { alGetListenerfv(AL_METERS_PER_UNIT, f); }},
                 {AL_INVALID_VALUE, [&] { alGetListener3f(AL_POSITION, f, nullptr, f); }}});
}

// ---- Foldback ----

void AL_APIENTRY Ignore(ALenum, ALsizei) {}

TEST_F(GlobalCalls, FoldbackStart_WantsAModeARingAndTwoBlocksOfRoom) {
    const auto start = reinterpret_cast<LPALREQUESTFOLDBACKSTART>(alGetProcAddress("alRequestFoldbackStart"));
    constexpr ALenum mode = AL_FOLDBACK_MODE_STEREO;
    context->blockFrames = 100;
    float ring[400] = {};
    ExpectCodes({{AL_INVALID_ENUM, [&] { start(0x4103, 4, 100, ring, Ignore); }},
                 {AL_INVALID_VALUE, [&] { start(mode, 4, 100, nullptr, Ignore); }},
                 {AL_INVALID_VALUE, [&] { start(mode, 4, 100, ring, nullptr); }},
                 {AL_INVALID_VALUE, [&] { start(mode, 1, 1000, ring, Ignore); }},
                 {AL_INVALID_VALUE, [&] { start(mode, 2, 99, ring, Ignore); }},
                 {AL_INVALID_VALUE, [&] { start(mode, -2, -1000, ring, Ignore); }}});
}

}  // namespace
