#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <tuple>

#include "AL/al.h"
#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "goal/fx/modulateddelayparameters.h"
#include "goal/fx/reverbparameters.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "goal/state/effectprocessorparameters.h"
#include "slib/smartptr.h"

namespace goal {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

enum class Form { Float, Both, Integer };
using enum Form;

struct Parameter {
    const char* name;
    std::int32_t effect, parameter;
    std::array<float, 3> published;  // least, greatest and default value, as the headers name them
    float minimum, maximum, initial;
    Form form = Float;
};

// clang-format off
#define P(effect, name)                                                                                      \
    #effect "_" #name, AL_EFFECT_##effect, AL_##effect##_##name,                                             \
    {AL_##effect##_MIN_##name, AL_##effect##_MAX_##name, AL_##effect##_DEFAULT_##name}

constexpr Parameter parameters[] = {
    {P(REVERB, DENSITY), 0, 1, 1},                         {P(EAXREVERB, DENSITY), 0, 1, 1},
    {P(REVERB, DIFFUSION), 0, 1, 1},                       {P(EAXREVERB, DIFFUSION), 0, 1, 1},
    {P(REVERB, GAIN), 0, 1, 0.32f},                        {P(EAXREVERB, GAIN), 0, 1, 0.32f},
    {P(REVERB, GAINHF), 0, 1, 0.89f},                      {P(EAXREVERB, GAINHF), 0, 1, 0.89f},
    {P(REVERB, DECAY_TIME), 0.1f, 20, 1.49f},              {P(EAXREVERB, DECAY_TIME), 0.1f, 20, 1.49f},
    {P(REVERB, DECAY_HFRATIO), 0.1f, 2, 0.83f},            {P(EAXREVERB, DECAY_HFRATIO), 0.1f, 2, 0.83f},
    {P(REVERB, REFLECTIONS_GAIN), 0, 3.16f, 0.05f},        {P(EAXREVERB, REFLECTIONS_GAIN), 0, 3.16f, 0.05f},
    {P(REVERB, REFLECTIONS_DELAY), 0, 0.3f, 0.007f},       {P(EAXREVERB, REFLECTIONS_DELAY), 0, 0.3f, 0.007f},
    {P(REVERB, LATE_REVERB_GAIN), 0, 10, 1.26f},           {P(EAXREVERB, LATE_REVERB_GAIN), 0, 10, 1.26f},
    {P(REVERB, LATE_REVERB_DELAY), 0, 0.1f, 0.011f},       {P(EAXREVERB, LATE_REVERB_DELAY), 0, 0.1f, 0.011f},
    {P(REVERB, ROOM_ROLLOFF_FACTOR), 0, 10, 0},            {P(EAXREVERB, ROOM_ROLLOFF_FACTOR), 0, 10, 0},
    {P(REVERB, DECAY_HFLIMIT), 0, 1, 1, Integer},          {P(EAXREVERB, DECAY_HFLIMIT), 0, 1, 1, Integer},
    {P(REVERB, AIR_ABSORPTION_GAINHF), 0.892f, 1, 0.994f}, {P(EAXREVERB, GAINLF), 0, 1, 1},
    {P(EAXREVERB, AIR_ABSORPTION_GAINHF), 0.892f, 1, 0.994f},
    {P(EAXREVERB, DECAY_LFRATIO), 0.1f, 2, 1},
    {P(EAXREVERB, ECHO_TIME), 0.075f, 0.25f, 0.25f},       {P(EAXREVERB, ECHO_DEPTH), 0, 1, 0},
    {P(EAXREVERB, MODULATION_TIME), 0.04f, 4, 0.25f},      {P(EAXREVERB, MODULATION_DEPTH), 0, 1, 0},
    {P(EAXREVERB, HFREFERENCE), 1000, 20000, 5000},        {P(EAXREVERB, LFREFERENCE), 20, 1000, 250},
    {P(CHORUS, WAVEFORM), 0, 1, 1, Integer},               {P(FLANGER, WAVEFORM), 0, 1, 1, Integer},
    {P(CHORUS, PHASE), -180, 180, 90, Both},               {P(FLANGER, PHASE), -180, 180, 0, Both},
    {P(CHORUS, RATE), 0, 10, 1.1f},                        {P(FLANGER, RATE), 0, 10, 0.27f},
    {P(CHORUS, DEPTH), 0, 1, 0.1f},                        {P(FLANGER, DEPTH), 0, 1, 1},
    {P(CHORUS, FEEDBACK), -1, 1, 0.25f},                   {P(FLANGER, FEEDBACK), -1, 1, -0.5f},
    {P(CHORUS, DELAY), 0, 0.016f, 0.016f},                 {P(FLANGER, DELAY), 0, 0.004f, 0.002f},
    {P(ECHO, DELAY), 0, 0.207f, 0.1f},                     {P(ECHO, LRDELAY), 0, 0.404f, 0.1f},
    {P(ECHO, DAMPING), 0, 0.99f, 0.5f},                    {P(ECHO, FEEDBACK), 0, 1, 0.5f},
    {P(ECHO, SPREAD), -1, 1, -1},                          {P(COMPRESSOR, ONOFF), 0, 1, 1, Integer},
    {P(DISTORTION, EDGE), 0, 1, 0.2f},                     {P(DISTORTION, GAIN), 0.01f, 1, 0.05f},
    {P(DISTORTION, LOWPASS_CUTOFF), 80, 24000, 8000},      {P(DISTORTION, EQCENTER), 80, 24000, 3600},
    {P(DISTORTION, EQBANDWIDTH), 80, 24000, 3600},         {P(RING_MODULATOR, WAVEFORM), 0, 2, 0, Integer},
    {P(RING_MODULATOR, FREQUENCY), 0, 8000, 440, Both},
    {P(RING_MODULATOR, HIGHPASS_CUTOFF), 0, 24000, 800, Both},
    {P(EQUALIZER, LOW_GAIN), 0.126f, 7.943f, 1},           {P(EQUALIZER, LOW_CUTOFF), 50, 800, 200, Both},
    {P(EQUALIZER, MID1_GAIN), 0.126f, 7.943f, 1},          {P(EQUALIZER, MID1_CENTER), 200, 3000, 500, Both},
    {P(EQUALIZER, MID1_WIDTH), 0.01f, 1, 1},
    {P(EQUALIZER, MID2_CENTER), 1000, 8000, 3000, Both},
    {P(EQUALIZER, MID2_GAIN), 0.126f, 7.943f, 1},          {P(EQUALIZER, MID2_WIDTH), 0.01f, 1, 1},
    {P(EQUALIZER, HIGH_GAIN), 0.126f, 7.943f, 1},
    {P(EQUALIZER, HIGH_CUTOFF), 4000, 16000, 6000, Both},
};
// clang-format on

class EachParameter : public testing::TestWithParam<Parameter> {
protected:
    const Parameter& p = GetParam();
    std::unique_ptr<EffectProcessorParameters> effect = fx::MakeEffectParameters(p.effect);

    // These tell how many of the two calls took the value.
    int SetFloat(float value) {
        return effect->setParameterf(p.parameter, value) + effect->setParameterfv(p.parameter, &value);
    }
    int SetInteger(std::int32_t value) {
        return effect->setParameteri(p.parameter, value) + effect->setParameteriv(p.parameter, &value);
    }

    void SetInItsForms(float value) {
        EXPECT_EQ(SetFloat(value), p.form == Integer ? 0 : 2);
        EXPECT_EQ(SetInteger(static_cast<std::int32_t>(value)), p.form == Float ? 0 : 2);
    }

    void ExpectInItsForms(const EffectProcessorParameters& of, float value) {
        float one = -999, several = -999;
        EXPECT_EQ(of.getParameterf(p.parameter, &one), p.form != Integer);
        EXPECT_EQ(of.getParameterfv(p.parameter, &several), p.form != Integer);
        EXPECT_FLOAT_EQ(one, p.form == Integer ? -999 : value);
        EXPECT_EQ(several, one);
        std::int32_t integer = -999, integers = -999;
        EXPECT_EQ(of.getParameteri(p.parameter, &integer), p.form != Float);
        EXPECT_EQ(of.getParameteriv(p.parameter, &integers), p.form != Float);
        EXPECT_EQ(integer, p.form == Float ? -999 : static_cast<std::int32_t>(value));
        EXPECT_EQ(integers, integer);
    }
};

TEST_P(EachParameter, TakesThePublishedRangeInItsFormsAndNothingElse) {
    EXPECT_EQ(p.published, (std::array{p.minimum, p.maximum, p.initial}));
    ExpectInItsForms(*effect, p.initial);
    for (const float value : {p.maximum, p.minimum}) {
        SetInItsForms(value);
        ExpectInItsForms(*effect, value);
    }
    for (const float outside : {std::nextafter(p.minimum, -infinity), std::nextafter(p.maximum, infinity),
                                infinity, -infinity, nan})
        EXPECT_EQ(SetFloat(outside), 0);
    const auto least = static_cast<std::int32_t>(p.minimum), greatest = static_cast<std::int32_t>(p.maximum);
    for (const std::int32_t outside : {least - 1, greatest + 1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(SetInteger(outside), 0);
    EXPECT_FALSE(effect->setParameteriv(p.parameter, nullptr) ||
                 effect->setParameterfv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameteri(p.parameter, nullptr) || effect->getParameteriv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameterf(p.parameter, nullptr) || effect->getParameterfv(p.parameter, nullptr));
    ExpectInItsForms(*effect, p.minimum);
}

TEST_P(EachParameter, CloneAndAssign_CarryTheValueAndPartFromIt) {
    const float other = p.initial == p.maximum ? p.minimum : p.maximum;
    SetInItsForms(other);
    const auto clone = effect->clone(), target = fx::MakeEffectParameters(p.effect);
    target->assign(*effect);
    SetInItsForms(p.initial);
    ExpectInItsForms(*clone, other);
    ExpectInItsForms(*target, other);
    EXPECT_EQ(clone->effectType, p.effect);
}

INSTANTIATE_TEST_SUITE_P(All, EachParameter, testing::ValuesIn(parameters),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(EffectParameters, IntegerGetter_RoundsToTheNearest) {
    using Row = std::tuple<std::int32_t, std::int32_t, float, std::int32_t>;
    for (const auto& [type, parameter, value, rounded] :
         {Row{AL_EFFECT_EQUALIZER, AL_EQUALIZER_LOW_CUTOFF, 200.5f, 201},
          {AL_EFFECT_CHORUS, AL_CHORUS_PHASE, -89.6f, -90}}) {
        const auto effect = fx::MakeEffectParameters(type);
        std::int32_t integer = 0;
        EXPECT_TRUE(effect->setParameterf(parameter, value) && effect->getParameteri(parameter, &integer));
        EXPECT_EQ(integer, rounded);
    }
}

TEST(EffectParameters, PanVector_IsTakenWholeOrNotAtAllAndHasNoScalarForms) {
    using Pan = std::array<float, 3>;
    for (const std::int32_t parameter : {AL_EAXREVERB_REFLECTIONS_PAN, AL_EAXREVERB_LATE_REVERB_PAN}) {
        const auto effect = fx::MakeEffectParameters(AL_EFFECT_EAXREVERB);
        const auto stored = [&](const Pan& pan) {
            Pan read{};
            const bool isTaken = effect->setParameterfv(parameter, pan.data());
            EXPECT_TRUE(effect->getParameterfv(parameter, read.data()));
            EXPECT_EQ(read == pan, isTaken);
            return read;
        };
        const Pan longest{0, 0, 1.000004f};
        EXPECT_EQ(stored({0.57735f, 0.57735f, -0.57735f})[2], -0.57735f);
        EXPECT_EQ(stored(longest), longest);
        for (const Pan& bad : {Pan{0, 0, 1.00001f}, {0.8f, 0.8f, 0}, {0, nan, 0}, {infinity, 0, 0}})
            EXPECT_EQ(stored(bad), longest);
        float value = 5;
        std::int32_t integer = 5;
        EXPECT_FALSE(effect->setParameterf(parameter, 0) || effect->setParameteri(parameter, 0));
        EXPECT_FALSE(effect->getParameterf(parameter, &value) || effect->getParameteri(parameter, &integer));
        EXPECT_FALSE(effect->setParameterfv(parameter, nullptr) ||
                     effect->getParameterfv(parameter, nullptr));
    }
}

TEST(EffectParameters, PhasesAndWaveforms_AreStoredAsTheProcessorsUseThem) {
    fx::ChorusParameters chorus;
    EXPECT_FLOAT_EQ(chorus.phase, std::numbers::pi_v<float> / 2);
    EXPECT_EQ(static_cast<int>(chorus.waveform), 2);
    chorus.setParameterf(AL_CHORUS_PHASE, -180);
    EXPECT_FLOAT_EQ(chorus.phase, -std::numbers::pi_v<float>);
    fx::RingModulatorParameters ring;
    for (const auto& [name, stored] :
         {std::pair{AL_RING_MODULATOR_SAWTOOTH, 3}, {AL_RING_MODULATOR_SQUARE, 1}}) {
        ring.setParameteri(AL_RING_MODULATOR_WAVEFORM, name);
        EXPECT_EQ(static_cast<int>(ring.waveform), stored);
    }
}

TEST(EffectParameters, DedicatedGain_IsAnyFiniteNumber) {
    for (const std::int32_t type : {AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT, AL_EFFECT_DEDICATED_DIALOGUE}) {
        const auto effect = fx::MakeEffectParameters(type);
        float value = 0;
        EXPECT_TRUE(effect->getParameterf(1, &value) && value == 1.0f);
        EXPECT_TRUE(effect->setParameterf(1, -1e30f));
        EXPECT_FALSE(effect->setParameterf(1, nan) || effect->setParameteri(1, 1) ||
                     effect->setParameterf(2, 1));
        EXPECT_TRUE(effect->getParameterf(1, &value) && value == -1e30f);
    }
}

TEST(SetEffectType, OfANewType_BringsDefaultsAndOfTheSameKeepsTheValues) {
    slib::SmartPtr<EffectProcessorParameters, slib::Counter> holder;
    const std::pair<std::int32_t, const char*> types[] = {
        {1, "BasicReverb"},    {2, "Chorus"},         {3, "Distortion"},    {4, "Echo"},
        {5, "Flanger"},        {9, "RingModulator"},  {11, "Compressor"},   {12, "Equalizer"},
        {0x8000, "EAXReverb"}, {0x9000, "Dedicated"}, {0x9001, "Dedicated"}};
    for (const auto& [type, expected] : types) {
        ASSERT_TRUE(fx::SetEffectType(holder, type));
        EXPECT_EQ(holder->effectType, type);
        std::string name;
        holder->getName(name);
        EXPECT_EQ(name, expected);
        const EffectProcessorParameters* before = holder.Get();
        EXPECT_TRUE(fx::SetEffectType(holder, type));
        for (const std::int32_t unsupported : {6, 7, 8, 10, 13, -1, 0x8001, 0x9002})
            EXPECT_FALSE(fx::SetEffectType(holder, unsupported));
        EXPECT_EQ(holder.Get(), before);
    }
    EXPECT_TRUE(fx::SetEffectType(holder, AL_EFFECT_NULL) && fx::SetEffectType(holder, AL_EFFECT_NULL));
    EXPECT_FALSE(holder);
}

}  // namespace
}  // namespace goal
