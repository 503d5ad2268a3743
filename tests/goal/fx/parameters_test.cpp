#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <string>

#include "AL/al.h"
#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effectprocessorparameters.h"
#include "goal/fx/effecttypes.h"
#include "goal/fx/modulateddelayparameters.h"
#include "goal/fx/reverbparameters.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "slib/exception.h"
#include "slib/smartptr.h"

namespace goal {
namespace {

enum class Form { Float, FloatOrInteger, Integer };
using enum Form;

struct Parameter {
    const char* name;
    std::int32_t effect, parameter;
    double minimum, maximum, initial;
    Form form;
};

// The ranges come from the names of the published header.
#define PARAMETER(effect, parameter, form)                                                                   \
    Parameter {                                                                                              \
#effect "_" #parameter, AL_EFFECT_##effect, AL_##effect##_##parameter,                               \
            AL_##effect##_MIN_##parameter, AL_##effect##_MAX_##parameter, AL_##effect##_DEFAULT_##parameter, \
            form                                                                                             \
    }

constexpr Parameter parameters[] = {
    PARAMETER(REVERB, DENSITY, Float),
    PARAMETER(REVERB, DIFFUSION, Float),
    PARAMETER(REVERB, GAIN, Float),
    PARAMETER(REVERB, GAINHF, Float),
    PARAMETER(REVERB, DECAY_TIME, Float),
    PARAMETER(REVERB, DECAY_HFRATIO, Float),
    PARAMETER(REVERB, REFLECTIONS_GAIN, Float),
    PARAMETER(REVERB, REFLECTIONS_DELAY, Float),
    PARAMETER(REVERB, LATE_REVERB_GAIN, Float),
    PARAMETER(REVERB, LATE_REVERB_DELAY, Float),
    PARAMETER(REVERB, AIR_ABSORPTION_GAINHF, Float),
    PARAMETER(REVERB, ROOM_ROLLOFF_FACTOR, Float),
    PARAMETER(REVERB, DECAY_HFLIMIT, Integer),
    PARAMETER(EAXREVERB, DENSITY, Float),
    PARAMETER(EAXREVERB, DIFFUSION, Float),
    PARAMETER(EAXREVERB, GAIN, Float),
    PARAMETER(EAXREVERB, GAINHF, Float),
    PARAMETER(EAXREVERB, GAINLF, Float),
    PARAMETER(EAXREVERB, DECAY_TIME, Float),
    PARAMETER(EAXREVERB, DECAY_HFRATIO, Float),
    PARAMETER(EAXREVERB, DECAY_LFRATIO, Float),
    PARAMETER(EAXREVERB, REFLECTIONS_GAIN, Float),
    PARAMETER(EAXREVERB, REFLECTIONS_DELAY, Float),
    PARAMETER(EAXREVERB, LATE_REVERB_GAIN, Float),
    PARAMETER(EAXREVERB, LATE_REVERB_DELAY, Float),
    PARAMETER(EAXREVERB, ECHO_TIME, Float),
    PARAMETER(EAXREVERB, ECHO_DEPTH, Float),
    PARAMETER(EAXREVERB, MODULATION_TIME, Float),
    PARAMETER(EAXREVERB, MODULATION_DEPTH, Float),
    PARAMETER(EAXREVERB, AIR_ABSORPTION_GAINHF, Float),
    PARAMETER(EAXREVERB, HFREFERENCE, Float),
    PARAMETER(EAXREVERB, LFREFERENCE, Float),
    PARAMETER(EAXREVERB, ROOM_ROLLOFF_FACTOR, Float),
    PARAMETER(EAXREVERB, DECAY_HFLIMIT, Integer),
    PARAMETER(CHORUS, WAVEFORM, Integer),
    PARAMETER(CHORUS, PHASE, FloatOrInteger),
    PARAMETER(CHORUS, RATE, Float),
    PARAMETER(CHORUS, DEPTH, Float),
    PARAMETER(CHORUS, FEEDBACK, Float),
    PARAMETER(CHORUS, DELAY, Float),
    PARAMETER(FLANGER, WAVEFORM, Integer),
    PARAMETER(FLANGER, PHASE, FloatOrInteger),
    PARAMETER(FLANGER, RATE, Float),
    PARAMETER(FLANGER, DEPTH, Float),
    PARAMETER(FLANGER, FEEDBACK, Float),
    PARAMETER(FLANGER, DELAY, Float),
    PARAMETER(ECHO, DELAY, Float),
    PARAMETER(ECHO, LRDELAY, Float),
    PARAMETER(ECHO, DAMPING, Float),
    PARAMETER(ECHO, FEEDBACK, Float),
    PARAMETER(ECHO, SPREAD, Float),
    PARAMETER(DISTORTION, EDGE, Float),
    PARAMETER(DISTORTION, GAIN, Float),
    PARAMETER(DISTORTION, LOWPASS_CUTOFF, Float),
    PARAMETER(DISTORTION, EQCENTER, Float),
    PARAMETER(DISTORTION, EQBANDWIDTH, Float),
    PARAMETER(RING_MODULATOR, FREQUENCY, FloatOrInteger),
    PARAMETER(RING_MODULATOR, HIGHPASS_CUTOFF, FloatOrInteger),
    PARAMETER(RING_MODULATOR, WAVEFORM, Integer),
    PARAMETER(COMPRESSOR, ONOFF, Integer),
    PARAMETER(EQUALIZER, LOW_GAIN, Float),
    PARAMETER(EQUALIZER, LOW_CUTOFF, FloatOrInteger),
    PARAMETER(EQUALIZER, MID1_GAIN, Float),
    PARAMETER(EQUALIZER, MID1_CENTER, FloatOrInteger),
    PARAMETER(EQUALIZER, MID1_WIDTH, Float),
    PARAMETER(EQUALIZER, MID2_GAIN, Float),
    PARAMETER(EQUALIZER, MID2_CENTER, FloatOrInteger),
    PARAMETER(EQUALIZER, MID2_WIDTH, Float),
    PARAMETER(EQUALIZER, HIGH_GAIN, Float),
    PARAMETER(EQUALIZER, HIGH_CUTOFF, FloatOrInteger),
};

class EachParameter : public testing::TestWithParam<Parameter> {
protected:
    const Parameter& p = GetParam();
    std::unique_ptr<EffectProcessorParameters> effect = MakeEffectParameters(p.effect);

    float AsFloat() const {
        float value = -999;
        EXPECT_TRUE(effect->getParameterf(p.parameter, &value));
        float again = -999;
        EXPECT_TRUE(effect->getParameterfv(p.parameter, &again));
        EXPECT_EQ(value, again);
        return value;
    }

    std::int32_t AsInteger() const {
        std::int32_t value = -999;
        EXPECT_TRUE(effect->getParameteri(p.parameter, &value));
        std::int32_t again = -999;
        EXPECT_TRUE(effect->getParameteriv(p.parameter, &again));
        EXPECT_EQ(value, again);
        return value;
    }
};

TEST_P(EachParameter, FloatForm_TakesItsRangeAndNothingElse) {
    float value = 5;
    if (p.form == Integer) {
        EXPECT_FALSE(effect->setParameterf(p.parameter, 0));
        EXPECT_FALSE(effect->setParameterfv(p.parameter, &value));
        EXPECT_FALSE(effect->getParameterf(p.parameter, &value));
        EXPECT_EQ(value, 5.0f);
        return;
    }
    const auto minimum = static_cast<float>(p.minimum), maximum = static_cast<float>(p.maximum);
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_FLOAT_EQ(AsFloat(), static_cast<float>(p.initial));
    EXPECT_TRUE(effect->setParameterf(p.parameter, maximum));
    EXPECT_FLOAT_EQ(AsFloat(), maximum);
    EXPECT_TRUE(effect->setParameterfv(p.parameter, &minimum));
    EXPECT_FLOAT_EQ(AsFloat(), minimum);
    for (const float outside : {std::nextafter(minimum, -infinity), std::nextafter(maximum, infinity),
                                infinity, -infinity, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_FALSE(effect->setParameterf(p.parameter, outside));
        EXPECT_FALSE(effect->setParameterfv(p.parameter, &outside));
    }
    EXPECT_FLOAT_EQ(AsFloat(), minimum);
}

TEST_P(EachParameter, IntegerForm_TakesItsRangeAndNothingElse) {
    const auto minimum = static_cast<std::int32_t>(p.minimum), maximum = static_cast<std::int32_t>(p.maximum);
    std::int32_t value = 5;
    if (p.form == Float) {
        EXPECT_FALSE(effect->setParameteri(p.parameter, maximum));
        EXPECT_FALSE(effect->setParameteriv(p.parameter, &maximum));
        EXPECT_FALSE(effect->getParameteri(p.parameter, &value));
        EXPECT_EQ(value, 5);
        return;
    }
    EXPECT_EQ(AsInteger(), static_cast<std::int32_t>(p.initial));
    EXPECT_TRUE(effect->setParameteriv(p.parameter, &maximum));
    EXPECT_EQ(AsInteger(), maximum);
    EXPECT_TRUE(effect->setParameteri(p.parameter, minimum));
    for (const std::int32_t outside : {minimum - 1, maximum + 1, std::numeric_limits<std::int32_t>::max(),
                                       std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_FALSE(effect->setParameteri(p.parameter, outside));
        EXPECT_FALSE(effect->setParameteriv(p.parameter, &outside));
    }
    EXPECT_EQ(AsInteger(), minimum);
    for (std::int32_t each = minimum; each <= maximum; each += p.form == Integer ? 1 : 37) {
        EXPECT_TRUE(effect->setParameteri(p.parameter, each));
        EXPECT_EQ(AsInteger(), each);
    }
}

TEST_P(EachParameter, NullPointers_AreRefused) {
    EXPECT_FALSE(effect->setParameteriv(p.parameter, nullptr));
    EXPECT_FALSE(effect->setParameterfv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameteri(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameteriv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameterf(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameterfv(p.parameter, nullptr));
}

TEST_P(EachParameter, CloneAndAssign_CarryTheValueAndPartFromIt) {
    const auto read = [this](const EffectProcessorParameters& from) {
        std::int32_t asInteger = -1;
        float asFloat = -1;
        p.form == Integer ? from.getParameteri(p.parameter, &asInteger)
                          : from.getParameterf(p.parameter, &asFloat);
        return p.form == Integer ? static_cast<float>(asInteger) : asFloat;
    };
    const auto write = [this](double value) {
        return p.form == Integer ? effect->setParameteri(p.parameter, static_cast<std::int32_t>(value))
                                 : effect->setParameterf(p.parameter, static_cast<float>(value));
    };
    const double other = p.initial == p.maximum ? p.minimum : p.maximum;
    ASSERT_TRUE(write(other));
    const std::unique_ptr<EffectProcessorParameters> clone = effect->clone();
    const std::unique_ptr<EffectProcessorParameters> target = MakeEffectParameters(p.effect);
    target->assign(*effect);
    ASSERT_TRUE(write(p.initial));
    EXPECT_FLOAT_EQ(read(*clone), static_cast<float>(other));
    EXPECT_FLOAT_EQ(read(*target), static_cast<float>(other));
    EXPECT_EQ(clone->effectType, p.effect);
}

INSTANTIATE_TEST_SUITE_P(All, EachParameter, testing::ValuesIn(parameters),
                         [](const auto& info) { return std::string(info.param.name); });

struct Rounding {
    std::int32_t effect, parameter;
    float value;
    std::int32_t rounded;
};

class IntegerGetter : public testing::TestWithParam<Rounding> {};

TEST_P(IntegerGetter, RoundsToTheNearest) {
    const auto effect = MakeEffectParameters(GetParam().effect);
    ASSERT_TRUE(effect->setParameterf(GetParam().parameter, GetParam().value));
    std::int32_t rounded = 0;
    EXPECT_TRUE(effect->getParameteri(GetParam().parameter, &rounded));
    EXPECT_EQ(rounded, GetParam().rounded);
}

INSTANTIATE_TEST_SUITE_P(Values, IntegerGetter,
                         testing::Values(Rounding{AL_EFFECT_EQUALIZER, AL_EQUALIZER_LOW_CUTOFF, 200.4f, 200},
                                         Rounding{AL_EFFECT_EQUALIZER, AL_EQUALIZER_LOW_CUTOFF, 200.5f, 201},
                                         Rounding{AL_EFFECT_RING_MODULATOR, AL_RING_MODULATOR_FREQUENCY,
                                                  0.49f, 0},
                                         Rounding{AL_EFFECT_CHORUS, AL_CHORUS_PHASE, 89.6f, 90},
                                         Rounding{AL_EFFECT_CHORUS, AL_CHORUS_PHASE, -89.6f, -90},
                                         Rounding{AL_EFFECT_FLANGER, AL_FLANGER_PHASE, -0.4f, 0}));

struct Pan {
    std::array<float, 3> pan;
    bool isTaken;
};

class PanVector : public testing::TestWithParam<Pan> {};

TEST_P(PanVector, IsTakenWholeOrNotAtAll) {
    for (const std::int32_t parameter : {AL_EAXREVERB_REFLECTIONS_PAN, AL_EAXREVERB_LATE_REVERB_PAN}) {
        const auto effect = MakeEffectParameters(AL_EFFECT_EAXREVERB);
        const std::array<float, 3> before{0.1f, -0.2f, 0.3f};
        ASSERT_TRUE(effect->setParameterfv(parameter, before.data()));
        EXPECT_EQ(effect->setParameterfv(parameter, GetParam().pan.data()), GetParam().isTaken);
        std::array<float, 3> after{};
        EXPECT_TRUE(effect->getParameterfv(parameter, after.data()));
        EXPECT_EQ(after, GetParam().isTaken ? GetParam().pan : before);
    }
}

INSTANTIATE_TEST_SUITE_P(Vectors, PanVector,
                         testing::Values(Pan{{0, 0, 0}, true}, Pan{{0, -1, 0}, true},
                                         Pan{{0.57735f, 0.57735f, -0.57735f}, true},
                                         Pan{{0, 0, 1.000004f}, true}, Pan{{0, 0, 1.00001f}, false},
                                         Pan{{0.8f, 0.8f, 0}, false},
                                         Pan{{0, std::numeric_limits<float>::quiet_NaN(), 0}, false},
                                         Pan{{std::numeric_limits<float>::infinity(), 0, 0}, false}));

TEST(EffectParameters, VectorParameter_HasNoScalarForms) {
    const auto effect = MakeEffectParameters(AL_EFFECT_EAXREVERB);
    float value = 5;
    std::int32_t integer = 5;
    EXPECT_FALSE(effect->setParameterf(AL_EAXREVERB_REFLECTIONS_PAN, 0));
    EXPECT_FALSE(effect->getParameterf(AL_EAXREVERB_REFLECTIONS_PAN, &value));
    EXPECT_FALSE(effect->setParameteri(AL_EAXREVERB_REFLECTIONS_PAN, 0));
    EXPECT_FALSE(effect->getParameteri(AL_EAXREVERB_REFLECTIONS_PAN, &integer));
    EXPECT_FALSE(effect->setParameterfv(AL_EAXREVERB_LATE_REVERB_PAN, nullptr));
    EXPECT_FALSE(effect->getParameterfv(AL_EAXREVERB_LATE_REVERB_PAN, nullptr));
}

TEST(EffectParameters, PhasesAndWaveforms_AreStoredAsTheProcessorsUseThem) {
    fx::ChorusParameters chorus;
    EXPECT_FLOAT_EQ(chorus.phase, std::numbers::pi_v<float> / 2);
    EXPECT_EQ(static_cast<int>(chorus.waveform), 2);
    chorus.setParameterf(AL_CHORUS_PHASE, -180);
    chorus.setParameteri(AL_CHORUS_WAVEFORM, AL_CHORUS_WAVEFORM_SINUSOID);
    EXPECT_FLOAT_EQ(chorus.phase, -std::numbers::pi_v<float>);
    EXPECT_EQ(static_cast<int>(chorus.waveform), 0);

    fx::RingModulatorParameters ring;
    EXPECT_EQ(static_cast<int>(ring.waveform), 0);
    ring.setParameteri(AL_RING_MODULATOR_WAVEFORM, AL_RING_MODULATOR_SAWTOOTH);
    EXPECT_EQ(static_cast<int>(ring.waveform), 3);
    ring.setParameteri(AL_RING_MODULATOR_WAVEFORM, AL_RING_MODULATOR_SQUARE);
    EXPECT_EQ(static_cast<int>(ring.waveform), 1);
}

TEST(EffectParameters, UnknownWaveformCode_IsAnAssertionOfTheEffect) {
    fx::FlangerParameters flanger;
    flanger.waveform = fx::Waveform::Square;
    std::int32_t value = 0;
    try {
        flanger.getParameteri(AL_FLANGER_WAVEFORM, &value);
        FAIL();
    } catch (const slib::IntegrityFailureException& e) {
        EXPECT_NE(std::string(e.what()).find("'goal/fx/flanger'"), std::string::npos) << e.what();
    }
}

TEST(EffectParameters, DedicatedGain_IsAnyFiniteNumber) {
    for (const std::int32_t type : {AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT, AL_EFFECT_DEDICATED_DIALOGUE}) {
        const auto effect = MakeEffectParameters(type);
        float value = 0;
        EXPECT_TRUE(effect->getParameterf(1, &value));
        EXPECT_EQ(value, 1.0f);
        EXPECT_TRUE(effect->setParameterf(1, -1e30f));
        EXPECT_FALSE(effect->setParameterf(1, std::numeric_limits<float>::quiet_NaN()));
        EXPECT_TRUE(effect->getParameterf(1, &value));
        EXPECT_EQ(value, -1e30f);
        EXPECT_FALSE(effect->setParameteri(1, 1));
        EXPECT_FALSE(effect->setParameterf(2, 1));
    }
}

TEST(EffectParameters, BasicReverb_HoldsTheOthersDefaults) {
    const fx::BasicReverbParameters basic;
    const fx::EAXReverbParameters eax;
    EXPECT_EQ(basic.gainLF, 1.0f);
    EXPECT_EQ(basic.lfReference, 250.0f);
    EXPECT_EQ(basic.hfReference, eax.hfReference);
    EXPECT_EQ(basic.modulationTime, eax.modulationTime);
    float value = 0;
    for (std::int32_t beyond = AL_REVERB_DECAY_HFLIMIT + 1; beyond < 0x20; ++beyond) {
        EXPECT_FALSE(basic.getParameterf(beyond, &value));
    }
}

TEST(EffectParameters, AssignOfAnotherEffect_IsRefused) {
    const auto basic = MakeEffectParameters(AL_EFFECT_REVERB);
    EXPECT_THROW(basic->assign(*MakeEffectParameters(AL_EFFECT_EAXREVERB)), slib::BadParameterException);
}

struct Type {
    std::int32_t type;
    const char* name;
};

class EffectType : public testing::TestWithParam<Type> {};

TEST_P(EffectType, NewTypeBringsDefaults_TheSameTypeKeepsThem) {
    slib::SmartPtr<EffectProcessorParameters, slib::Counter> holder;
    ASSERT_TRUE(SetEffectType(holder, GetParam().type));
    EXPECT_EQ(holder->effectType, GetParam().type);
    std::string name;
    holder->getName(name);
    EXPECT_EQ(name, GetParam().name);

    const EffectProcessorParameters* before = holder.Get();
    EXPECT_TRUE(SetEffectType(holder, GetParam().type));
    for (const std::int32_t unsupported : {6, 7, 8, 10, 13, -1, 0x8001, 0x9002}) {
        EXPECT_FALSE(SetEffectType(holder, unsupported));
    }
    EXPECT_EQ(holder.Get(), before);
    EXPECT_TRUE(SetEffectType(holder, AL_EFFECT_NULL));
    EXPECT_FALSE(holder);
    EXPECT_TRUE(SetEffectType(holder, AL_EFFECT_NULL));
}

INSTANTIATE_TEST_SUITE_P(All, EffectType,
                         testing::Values(Type{1, "BasicReverb"}, Type{2, "Chorus"}, Type{3, "Distortion"},
                                         Type{4, "Echo"}, Type{5, "Flanger"}, Type{9, "RingModulator"},
                                         Type{11, "Compressor"}, Type{12, "Equalizer"},
                                         Type{0x8000, "EAXReverb"}, Type{0x9000, "Dedicated"},
                                         Type{0x9001, "Dedicated"}));

TEST(EffectParameters, ChangeBetweenReverbs_StartsFromDefaults) {
    slib::SmartPtr<EffectProcessorParameters, slib::Counter> holder;
    SetEffectType(holder, AL_EFFECT_REVERB);
    holder->setParameterf(AL_REVERB_DECAY_TIME, 5);
    SetEffectType(holder, AL_EFFECT_EAXREVERB);
    float value = 0;
    EXPECT_TRUE(holder->getParameterf(AL_EAXREVERB_DECAY_TIME, &value));
    EXPECT_EQ(value, 1.49f);
}

}  // namespace
}  // namespace goal
