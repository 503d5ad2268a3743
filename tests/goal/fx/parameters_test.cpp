#include <gtest/gtest.h>

#include <algorithm>
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
#include "goal/fx/effecttypes.h"
#include "goal/fx/modulateddelayparameters.h"
#include "goal/fx/reverbparameters.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "goal/state/effectprocessorparameters.h"
#include "slib/smartptr.h"

namespace goal {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float mostFinite = std::numeric_limits<float>::max();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

enum class Form { Float, Both, Integer };
using enum Form;

struct Parameter {
    const char* name;
    std::int32_t effect, parameter;
    float minimum, maximum, initial;  // as the public headers have them
    Form form = Float;
};

// clang-format off
#define P(effect, name, ...)                                                                                 \
    {#effect "_" #name, AL_EFFECT_##effect, AL_##effect##_##name, AL_##effect##_MIN_##name,                  \
     AL_##effect##_MAX_##name, AL_##effect##_DEFAULT_##name __VA_OPT__(,) __VA_ARGS__}

constexpr Parameter parameters[] = {
    P(REVERB, DENSITY), P(REVERB, DIFFUSION), P(REVERB, GAIN), P(REVERB, GAINHF), P(REVERB, DECAY_TIME),
    P(REVERB, DECAY_HFRATIO), P(REVERB, REFLECTIONS_GAIN), P(REVERB, REFLECTIONS_DELAY),
    P(REVERB, LATE_REVERB_GAIN), P(REVERB, LATE_REVERB_DELAY), P(REVERB, ROOM_ROLLOFF_FACTOR),
    P(REVERB, DECAY_HFLIMIT, Integer), P(REVERB, AIR_ABSORPTION_GAINHF),
    P(EAXREVERB, DENSITY), P(EAXREVERB, DIFFUSION), P(EAXREVERB, GAIN), P(EAXREVERB, GAINHF),
    P(EAXREVERB, DECAY_TIME), P(EAXREVERB, DECAY_HFRATIO), P(EAXREVERB, REFLECTIONS_GAIN),
    P(EAXREVERB, REFLECTIONS_DELAY), P(EAXREVERB, LATE_REVERB_GAIN), P(EAXREVERB, LATE_REVERB_DELAY),
    P(EAXREVERB, ROOM_ROLLOFF_FACTOR), P(EAXREVERB, DECAY_HFLIMIT, Integer), P(EAXREVERB, GAINLF),
    P(EAXREVERB, AIR_ABSORPTION_GAINHF), P(EAXREVERB, DECAY_LFRATIO), P(EAXREVERB, ECHO_TIME),
    P(EAXREVERB, ECHO_DEPTH), P(EAXREVERB, MODULATION_TIME), P(EAXREVERB, MODULATION_DEPTH),
    P(EAXREVERB, HFREFERENCE), P(EAXREVERB, LFREFERENCE),
    P(CHORUS, WAVEFORM, Integer), P(CHORUS, PHASE, Both), P(CHORUS, RATE), P(CHORUS, DEPTH),
    P(CHORUS, FEEDBACK), P(CHORUS, DELAY),
    P(FLANGER, WAVEFORM, Integer), P(FLANGER, PHASE, Both), P(FLANGER, RATE), P(FLANGER, DEPTH),
    P(FLANGER, FEEDBACK), P(FLANGER, DELAY),
    P(ECHO, DELAY), P(ECHO, LRDELAY), P(ECHO, DAMPING), P(ECHO, FEEDBACK), P(ECHO, SPREAD),
    P(COMPRESSOR, ONOFF, Integer),
    P(DISTORTION, EDGE), P(DISTORTION, GAIN), P(DISTORTION, LOWPASS_CUTOFF), P(DISTORTION, EQCENTER),
    P(DISTORTION, EQBANDWIDTH),
    P(RING_MODULATOR, WAVEFORM, Integer), P(RING_MODULATOR, FREQUENCY, Both),
    P(RING_MODULATOR, HIGHPASS_CUTOFF, Both),
    P(EQUALIZER, LOW_GAIN), P(EQUALIZER, LOW_CUTOFF, Both), P(EQUALIZER, MID1_GAIN),
    P(EQUALIZER, MID1_CENTER, Both), P(EQUALIZER, MID1_WIDTH), P(EQUALIZER, MID2_CENTER, Both),
    P(EQUALIZER, MID2_GAIN), P(EQUALIZER, MID2_WIDTH), P(EQUALIZER, HIGH_GAIN),
    P(EQUALIZER, HIGH_CUTOFF, Both),
    {"DEDICATED_DIALOGUE_GAIN", AL_EFFECT_DEDICATED_DIALOGUE, AL_DEDICATED_GAIN, -mostFinite, mostFinite, 1},
    {"DEDICATED_LOW_FREQUENCY_GAIN", AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT, AL_DEDICATED_GAIN, -mostFinite,
     mostFinite, 1}};
// clang-format on

class EachParameter : public testing::TestWithParam<Parameter> {
protected:
    const Parameter& p = GetParam();
    std::unique_ptr<EffectProcessorParameters> effect = fx::MakeEffectParameters(p.effect);

    static std::int32_t Whole(float value) {
        return static_cast<std::int32_t>(std::clamp(value, -2e9F, 2e9F));
    }

    // These tell how many of the two calls took the value.
    int SetFloat(float value) {
        return effect->setParameterf(p.parameter, value) + effect->setParameterfv(p.parameter, &value);
    }
    int SetInteger(std::int32_t value) {
        return effect->setParameteri(p.parameter, value) + effect->setParameteriv(p.parameter, &value);
    }

    void SetInItsForms(float value) {
        EXPECT_EQ(SetFloat(value), p.form == Integer ? 0 : 2);
        EXPECT_EQ(SetInteger(Whole(value)), p.form == Float ? 0 : 2);
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
        EXPECT_EQ(integer, p.form == Float ? -999 : Whole(value));
        EXPECT_EQ(integers, integer);
    }
};

TEST_P(EachParameter, TakesAndCopiesThePublishedRangeInItsFormsAndNothingElse) {
    ExpectInItsForms(*effect, p.initial);
    const auto target = fx::MakeEffectParameters(p.effect);
    for (const float value : {p.maximum, p.minimum}) {
        SetInItsForms(value);
        target->assign(*effect);
        ExpectInItsForms(*target, value);
        ExpectInItsForms(*effect->clone(), value);
        EXPECT_EQ(effect->clone()->effectType, p.effect);
    }
    for (const float outside : {std::nextafter(p.minimum, -infinity), std::nextafter(p.maximum, infinity),
                                infinity, -infinity, nan})
        EXPECT_EQ(SetFloat(outside), 0);
    for (const float outside : {p.minimum - 1, p.maximum + 1, -2e9F, 2e9F})
        EXPECT_EQ(SetInteger(Whole(outside)), 0);
    EXPECT_FALSE(effect->setParameteriv(p.parameter, nullptr) ||
                 effect->setParameterfv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameteri(p.parameter, nullptr) || effect->getParameteriv(p.parameter, nullptr));
    EXPECT_FALSE(effect->getParameterf(p.parameter, nullptr) || effect->getParameterfv(p.parameter, nullptr));
    ExpectInItsForms(*effect, p.minimum);
}

INSTANTIATE_TEST_SUITE_P(All, EachParameter, testing::ValuesIn(parameters),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(EffectParameters, PanVector_IsTakenWholeOrNotAtAllAndHasNoScalarForms) {
    using Pan = std::array<float, 3>;
    const Pan longest{0, 0, 1.000004f};
    for (const std::int32_t parameter : {AL_EAXREVERB_REFLECTIONS_PAN, AL_EAXREVERB_LATE_REVERB_PAN}) {
        const auto effect = fx::MakeEffectParameters(AL_EFFECT_EAXREVERB);
        EXPECT_TRUE(effect->setParameterfv(parameter, longest.data()));
        for (const Pan& bad : {Pan{0, 0, 1.00001f}, {0.8f, 0.8f, 0}, {0, nan, 0}, {infinity, 0, 0}})
            EXPECT_FALSE(effect->setParameterfv(parameter, bad.data()));
        Pan read{};
        EXPECT_TRUE(effect->getParameterfv(parameter, read.data()));
        EXPECT_EQ(read, longest);
        std::int32_t integer = 0;
        EXPECT_FALSE(effect->setParameterf(parameter, 0) || effect->setParameteri(parameter, 0));
        EXPECT_FALSE(effect->getParameterf(parameter, &read[0]) ||
                     effect->getParameteri(parameter, &integer));
        EXPECT_FALSE(effect->setParameterfv(parameter, nullptr) ||
                     effect->getParameterfv(parameter, nullptr));
    }
}

TEST(EffectParameters, PhasesAndWaveforms_AreStoredAsTheProcessorsUseThem) {
    fx::ChorusParameters chorus;
    EXPECT_FLOAT_EQ(chorus.phase, std::numbers::pi_v<float> / 2);
    EXPECT_EQ(chorus.waveform, Waveform::Triangle);
    chorus.setParameterf(AL_CHORUS_PHASE, -89.6F);
    EXPECT_FLOAT_EQ(chorus.phase, -89.6F / 180 * std::numbers::pi_v<float>);
    std::int32_t rounded = 0;
    EXPECT_TRUE(chorus.getParameteri(AL_CHORUS_PHASE, &rounded));
    EXPECT_EQ(rounded, -90);
    fx::RingModulatorParameters ring;
    ring.setParameteri(AL_RING_MODULATOR_WAVEFORM, AL_RING_MODULATOR_SAWTOOTH);
    EXPECT_EQ(ring.waveform, Waveform::Sawtooth);
    ring.setParameteri(AL_RING_MODULATOR_WAVEFORM, AL_RING_MODULATOR_SQUARE);
    EXPECT_EQ(ring.waveform, Waveform::Square);
}

TEST(SetEffectType, OfTheSameTypeOrOneThatThereIsNot_LeavesTheEffectAsItIs) {
    slib::SmartPtr<EffectProcessorParameters, slib::Counter> holder;
    EXPECT_TRUE(fx::SetEffectType(holder, AL_EFFECT_ECHO));
    const EffectProcessorParameters* before = holder.Get();
    EXPECT_TRUE(fx::SetEffectType(holder, AL_EFFECT_ECHO));
    for (const std::int32_t unsupported : {6, 7, 8, 10, 13, -1, 0x8001, 0x9002})
        EXPECT_FALSE(fx::SetEffectType(holder, unsupported));
    EXPECT_EQ(holder.Get(), before);
    EXPECT_TRUE(fx::SetEffectType(holder, AL_EFFECT_NULL) && fx::SetEffectType(holder, AL_EFFECT_NULL));
    EXPECT_FALSE(holder);
}

}  // namespace
}  // namespace goal
