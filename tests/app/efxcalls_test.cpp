// The calls on effects, filters and auxiliary effect slots.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/contextfixture.h"
#include "tools/presets/reverbpresets.h"

namespace {

class EfxCalls : public testing_support::ContextFixture {
protected:
    static ALuint NewEffect(ALint type) {
        const ALuint effect = New(alGenEffects);
        alEffecti(effect, AL_EFFECT_TYPE, type);
        return effect;
    }

    static ALuint NewSlot() { return New(alGenAuxiliaryEffectSlots); }

    static void Bind(ALuint slot, ALuint effect) {
        alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    }

    static ALint TypeIn(ALuint slot) { return Read(alGetAuxiliaryEffectSloti, slot, AL_EFFECTSLOT_EFFECT); }

    testing_support::TemporaryStore store;  // for the log

    goal::RenderedSlot& RenderedSlot(ALuint slot) { return context->snapshot.slots[slot - 1]; }

    ALfloat RenderedFloat(ALuint slot, ALenum parameter) {
        ALfloat value = -1;
        RenderedSlot(slot).effect->parameters->getParameterf(parameter, &value);
        return value;
    }
};

// ---- Effects ----

TEST_F(EfxCalls, AnEffectThatIsMissing_IsRefusedAndNamedInTheLogOnce) {
    const ALuint effect = NewEffect(AL_EFFECT_ECHO);
    constexpr ALint four[] = {AL_EFFECT_FREQUENCY_SHIFTER, AL_EFFECT_VOCAL_MORPHER, AL_EFFECT_PITCH_SHIFTER,
                              AL_EFFECT_AUTOWAH};
    for (int round = 0; round < 2; ++round)
        for (const ALint& type : four)
            ExpectCodes({{AL_INVALID_VALUE, [&] { alEffecti(effect, AL_EFFECT_TYPE, type); }},
                         {AL_INVALID_VALUE, [&] { alEffectiv(effect, AL_EFFECT_TYPE, &type); }},
                         {AL_INVALID_VALUE, [] { alGetEnumValue("AL_EFFECT_PITCH_SHIFTER"); }}});
    EXPECT_EQ(Read(alGetEffecti, effect, AL_EFFECT_TYPE), AL_EFFECT_ECHO);
    process.log.Flush();
    const std::string log = testing_support::ReadFile(store.LogFile());
    for (const std::string name : {"FREQUENCY_SHIFTER", "VOCAL_MORPHER", "PITCH_SHIFTER", "AUTOWAH"}) {
        const std::size_t found = log.find("The game asks for AL_EFFECT_" + name);
        EXPECT_NE(found, std::string::npos) << name;
        EXPECT_EQ(log.find("AL_EFFECT_" + name, found + 20), std::string::npos) << name;
    }
}

TEST_F(EfxCalls, Refusals_HaveTheirCodes) {
    NewEffect(AL_EFFECT_REVERB);
    NewEffect(AL_EFFECT_NULL);
    New(alGenFilters);
    NewSlot();
    ExpectCodes({{AL_INVALID_ENUM, [] { alEffectf(1, AL_REVERB_DECAY_TIME, 0.05F); }},
                 {AL_INVALID_ENUM, [] { alEffectf(2, AL_REVERB_DECAY_TIME, 5); }},
                 {AL_INVALID_ENUM, [] { alEffectf(1, AL_EFFECT_TYPE, AL_EFFECT_ECHO); }},
                 {AL_INVALID_VALUE, [] { alEffecti(1, AL_EFFECT_TYPE, 6); }},
                 {AL_INVALID_ENUM, [] { Read(alGetEffectiv, 1, 0x4711); }},
                 {AL_INVALID_NAME, [] { alEffectf(3, AL_REVERB_DECAY_TIME, 0.05F); }},
                 {AL_INVALID_VALUE, [] { alEffectiv(1, AL_EFFECT_TYPE, nullptr); }},
                 {AL_INVALID_VALUE, [] { alGetEffecti(1, AL_EFFECT_TYPE, nullptr); }},
                 {AL_INVALID_VALUE, [] { alFilteriv(1, AL_FILTER_TYPE, nullptr); }},
                 {AL_INVALID_VALUE, [] { alGetAuxiliaryEffectSlotf(1, AL_EFFECTSLOT_GAIN, nullptr); }}});
}

TEST_F(EfxCalls, EveryReverbPreset_IsTakenAndReadBack) {
    const ALuint effect = New(alGenEffects);
    ASSERT_GE(presets::ReverbPresets().size(), 26U);
    for (const presets::ReverbPreset& preset : presets::ReverbPresets()) {
        SCOPED_TRACE(std::string(preset.name));
        presets::ApplyReverbPreset(effect, preset);
        ASSERT_EQ(alGetError(), AL_NO_ERROR);
        std::array<ALfloat, 26> floats{};  // in the order of the parameters
        const char* const bytes = reinterpret_cast<const char*>(&preset);
        std::memcpy(floats.data(), bytes + offsetof(presets::ReverbPreset, density), sizeof floats);
        const ALfloat* expected = floats.data();
        for (ALenum parameter = AL_EAXREVERB_DENSITY; parameter < AL_EAXREVERB_DECAY_HFLIMIT; ++parameter) {
            std::vector<ALfloat> values(3, -1);
            alGetEffectfv(effect, parameter, values.data());
            if (values[1] == -1) values.resize(1);  // it isn't a direction
            EXPECT_TRUE(std::equal(values.begin(), values.end(), expected)) << parameter;
            expected += values.size();
        }
        EXPECT_EQ(Read(alGetEffecti, effect, AL_EAXREVERB_DECAY_HFLIMIT), preset.decayHFLimit);
        EXPECT_EQ(Read(alGetEffectf, effect, AL_EAXREVERB_DECAY_TIME), preset.decayTime);
    }
    EXPECT_EQ(Read(alGetEffectiv, effect, AL_EFFECT_TYPE), AL_EFFECT_EAXREVERB);
}

// ---- Filters ----

TEST_F(EfxCalls, FilterGains_AreThoseOfTheTypeAndOthersAreRefused) {
    using F = goal::FilterParameters;
    const struct {
        ALint type;
        float F::*gains[5];  // by parameter; null: not of this type
        ALenum ofUnknown, ofReadingUnknown;
    } rows[] = {
        {AL_FILTER_NULL, {}, AL_INVALID_VALUE, AL_INVALID_OPERATION},
        {AL_FILTER_LOWPASS, {nullptr, &F::gain, &F::gainHF}, AL_INVALID_VALUE, AL_INVALID_VALUE},
        {AL_FILTER_HIGHPASS, {nullptr, &F::gain, &F::gainLF}, AL_INVALID_VALUE, AL_INVALID_VALUE},
        {AL_FILTER_BANDPASS, {nullptr, &F::gain, &F::gainLF, &F::gainHF}, AL_INVALID_ENUM, AL_INVALID_ENUM}};
    const ALuint name = New(alGenFilters);
    for (const auto& row : rows)
        for (ALenum parameter = 1; parameter <= 4; ++parameter) {
            SCOPED_TRACE(testing::Message() << "type " << row.type << ", parameter " << parameter);
            const auto gain = row.gains[parameter];
            alFilteri(name, AL_FILTER_TYPE, row.type);  // all gains at 1
            alFilterf(name, parameter, 0.25F);
            EXPECT_EQ(alGetError(), gain != nullptr ? AL_NO_ERROR : row.ofUnknown);
            EXPECT_EQ(Read(alGetFilterf, name, parameter), gain != nullptr ? 0.25F : -77);
            EXPECT_EQ(alGetError(), gain != nullptr ? AL_NO_ERROR : row.ofReadingUnknown);
            const F& stored = context->application.filters[name - 1];
            for (const auto field : {&F::gain, &F::gainHF, &F::gainLF})
                EXPECT_EQ(stored.*field, field == gain ? 0.25F : 1);
        }
    for (const ALfloat bad : {-0.01F, 1.01F, std::nanf(""), HUGE_VALF})
        ExpectCodes({{AL_INVALID_VALUE, [&] { alFilterfv(name, AL_BANDPASS_GAINHF, &bad); }}});
}

TEST_F(EfxCalls, FilterType_AsAFloat_IsRoundedAndRangeChecked) {
    const ALuint filter = New(alGenFilters);
    alFilterf(filter, AL_FILTER_TYPE, 1.6F);
    ExpectCodes({{AL_INVALID_VALUE, [&] { alFilterf(filter, AL_FILTER_TYPE, 3.5F); }},
                 {AL_INVALID_VALUE, [&] { alFilterf(filter, AL_FILTER_TYPE, std::nanf("")); }},
                 {AL_INVALID_VALUE, [&] { alFilteri(filter, AL_FILTER_TYPE, -1); }},
                 {AL_INVALID_VALUE, [&] { alFilteri(filter, AL_HIGHPASS_GAIN, 1); }},
                 {AL_INVALID_ENUM, [&] { Read(alGetFilteri, filter, AL_HIGHPASS_GAIN); }}});
    EXPECT_EQ(Read(alGetFilterf, filter, AL_FILTER_TYPE), 2);
}

// ---- Slots ----

TEST_F(EfxCalls, ABoundEffect_ReachesTheSlotByCopyAndAgainOnlyWhenBoundAgain) {
    const ALuint effect = NewEffect(AL_EFFECT_REVERB), slot = NewSlot();
    Bind(slot, effect);
    alEffectf(effect, AL_REVERB_GAIN, 0.75F);
    Copy();
    EXPECT_EQ(RenderedFloat(slot, AL_REVERB_GAIN), 0.32F);
    Bind(slot, effect);
    EXPECT_EQ(RenderedFloat(slot, AL_REVERB_GAIN), 0.32F) << "before the copy";
    const auto* const running = RenderedSlot(slot).effect.get();
    Copy();
    EXPECT_EQ(RenderedFloat(slot, AL_REVERB_GAIN), 0.75F);
    EXPECT_EQ(RenderedSlot(slot).effect.get(), running) << "it keeps its state";
    alDeleteEffects(1, &effect);
    ExpectCodes({{AL_INVALID_VALUE, [&] { Bind(slot, effect); }}});
    EXPECT_EQ(TypeIn(slot), AL_EFFECT_REVERB) << "the slot keeps its copy";
}

TEST_F(EfxCalls, ASlot_IsEmptiedByTheNameZeroByAnEffectWithoutTypeAndByItsEnd) {
    const ALuint slot = NewSlot();
    for (const ALuint empty : {0U, NewEffect(AL_EFFECT_NULL)}) {
        Bind(slot, NewEffect(AL_EFFECT_ECHO));
        EXPECT_EQ(TypeIn(slot), AL_EFFECT_ECHO);
        Bind(slot, empty);
        EXPECT_EQ(TypeIn(slot), AL_EFFECT_NULL);
    }
    alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_GAIN, 0.5F);
    alDeleteAuxiliaryEffectSlots(1, &slot);
    EXPECT_EQ(NewSlot(), slot);
    EXPECT_EQ(Read(alGetAuxiliaryEffectSlotf, slot, AL_EFFECTSLOT_GAIN), 1);
}

TEST_F(EfxCalls, SlotValues_AreTakenInRangeReadBackAndCopied) {
    constexpr ALenum gain = AL_EFFECTSLOT_GAIN, automatic = AL_EFFECTSLOT_AUXILIARY_SEND_AUTO;
    const ALuint slot = NewSlot();
    Copy();
    alAuxiliaryEffectSlotf(slot, gain, 0.5F);
    alAuxiliaryEffectSloti(slot, automatic, AL_FALSE);
    ExpectCodes({{AL_INVALID_VALUE, [&] { alAuxiliaryEffectSlotf(slot, gain, 1.5F); }},
                 {AL_INVALID_VALUE, [&] { alAuxiliaryEffectSlotf(slot, gain, std::nanf("")); }},
                 {AL_INVALID_VALUE, [&] { alAuxiliaryEffectSloti(slot, automatic, 2); }},
                 {AL_INVALID_VALUE, [&] { alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, -1); }},
                 {AL_INVALID_ENUM, [&] { alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_EFFECT, 1); }},
                 {AL_INVALID_ENUM, [&] { Read(alGetAuxiliaryEffectSloti, slot, gain); }}});
    Copy();
    EXPECT_EQ(RenderedSlot(slot).gain, 0.5F);
    EXPECT_FALSE(RenderedSlot(slot).auxiliarySendAuto);
    EXPECT_EQ(Read(alGetAuxiliaryEffectSlotiv, slot, automatic), AL_FALSE);
    EXPECT_EQ(Read(alGetAuxiliaryEffectSlotfv, slot, gain), 0.5F);
}

TEST_F(EfxCalls, ASlotUnderTheNameOfADeletedOne_IsNotFedByTheSendsOfThat) {
    const ALuint slot = NewSlot(), source = New(alGenSources);
    const auto send = [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 0, 0); };
    SetBuffer(source, MakeBuffer(10));
    alSourcePlay(source);
    send();
    const auto isFed = [&] {
        Bind(slot, NewEffect(AL_EFFECT_ECHO));
        for (int block = 0; block < 5; ++block)  // what was sent to the one before fades out
            Copy();
        return Rendered(source).sends[0].slotSerial == RenderedSlot(slot).effect->slotSerial;
    };
    EXPECT_TRUE(isFed());
    alDeleteAuxiliaryEffectSlots(1, &slot);
    ASSERT_EQ(NewSlot(), slot);
    EXPECT_FALSE(isFed());
    send();
    EXPECT_TRUE(isFed());
}

TEST_F(EfxCalls, OnlyOneReverb_LetsASecondSlotHaveAnythingElse) {
    const ALuint reverb = NewEffect(AL_EFFECT_REVERB), chorus = NewEffect(AL_EFFECT_CHORUS);
    const ALuint first = NewSlot(), second = NewSlot();
    ExpectCodes({{AL_NO_ERROR, [&] { Bind(first, reverb); }},
                 {AL_NO_ERROR, [&] { Bind(second, reverb); }},
                 {AL_NO_ERROR, [&] { Bind(second, chorus); }}});
    process.engine.configuration.configuration.goalConfig.onlyOneReverb = true;
    ExpectCodes(
        {{AL_NO_ERROR, [&] { Bind(first, reverb); }}, {AL_INVALID_OPERATION, [&] { Bind(second, reverb); }}});
    EXPECT_EQ(TypeIn(second), AL_EFFECT_CHORUS);
    alDeleteAuxiliaryEffectSlots(1, &first);
    ExpectCodes({{AL_NO_ERROR, [&] { Bind(second, reverb); }}});
}

}  // namespace
