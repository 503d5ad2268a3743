#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <tuple>

#include "AL/efx.h"
#include "contextfixture.h"

namespace {

class EfxCalls : public testing_support::ContextFixture {
protected:
    ~EfxCalls() override {
        const slib::Lock lock(process.engine.configuration.configurationMutex);
        process.engine.configuration.Unload();
    }

    void SetOnlyOneReverb() {
        orb3::SharedConfiguration& shared = process.engine.configuration;
        const slib::Lock lock(shared.configurationMutex);
        shared.LoadConfiguration();
        shared.isConfigurationLoaded = true;
        shared.configuration.goalConfig.onlyOneReverb = true;
    }

    static ALuint NewEffect(ALint type) {
        ALuint effect = 0;
        alGenEffects(1, &effect);
        alEffecti(effect, AL_EFFECT_TYPE, type);
        return effect;
    }

    static ALuint NewFilter(ALint type) {
        ALuint filter = 0;
        alGenFilters(1, &filter);
        alFilteri(filter, AL_FILTER_TYPE, type);
        return filter;
    }

    static ALuint NewSlot() {
        ALuint slot = 0;
        alGenAuxiliaryEffectSlots(1, &slot);
        return slot;
    }

    static void Bind(ALuint slot, ALuint effect) {
        alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    }

    static ALint TypeIn(ALuint slot) {
        ALint type = -1;
        alGetAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, &type);
        return type;
    }

    static ALint TypeOf(ALuint effect) {
        ALint type = -1;
        alGetEffecti(effect, AL_EFFECT_TYPE, &type);
        return type;
    }

    static ALfloat EffectFloat(ALuint effect, ALenum parameter) {
        ALfloat value = -1;
        alGetEffectf(effect, parameter, &value);
        return value;
    }

    static ALfloat FloatOf(const goal::EffectParametersPtr& parameters, ALenum parameter) {
        ALfloat value = -1;
        parameters->getParameterf(parameter, &value);
        return value;
    }

    goal::AuxSlotParameters& RenderedSlot(ALuint slot) { return context->snapshot.slots[slot - 1]; }

    ALCcontext* Handle() { return reinterpret_cast<ALCcontext*>(context.get()); }
};

// ---- Names: three tables, the same rules ----

struct ObjectKind {
    const char* name;
    void (*gen)(ALsizei, ALuint*);
    void (*remove)(ALsizei, const ALuint*);
    ALboolean (*is)(ALuint);
    void (*set)(ALuint, ALenum, ALint);
    ALenum typeParameter;
    ALenum errorOfNegativeCount;
};

std::ostream& operator<<(std::ostream& out, const ObjectKind& kind) {
    return out << kind.name;
}

class EfxNames : public EfxCalls, public testing::WithParamInterface<ObjectKind> {};

TEST_P(EfxNames, DeletedNames_ComeBackLowestFirstThenNewOnesFollow) {
    const ObjectKind& kind = GetParam();
    std::array<ALuint, 3> names{};
    kind.gen(3, names.data());
    EXPECT_EQ(names, (std::array<ALuint, 3>{1, 2, 3}));
    const std::array<ALuint, 3> gone{3, 1, 3};
    kind.remove(3, gone.data());
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_FALSE(kind.is(1));
    EXPECT_TRUE(kind.is(2));
    EXPECT_FALSE(kind.is(0));
    EXPECT_FALSE(kind.is(4711));
    kind.gen(3, names.data());
    EXPECT_EQ(names, (std::array<ALuint, 3>{1, 3, 4}));
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_P(EfxNames, Delete_WithOneBadName_DeletesNone) {
    const ObjectKind& kind = GetParam();
    std::array<ALuint, 2> names{};
    kind.gen(1, names.data());
    names[1] = 4711;
    kind.remove(2, names.data());
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_TRUE(kind.is(names[0]));
    kind.set(4711, kind.typeParameter, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_NAME);
}

TEST_P(EfxNames, ArgumentsWithoutSense_AreRefused) {
    const ObjectKind& kind = GetParam();
    ALuint name = 99;
    kind.gen(-1, &name);
    EXPECT_EQ(alGetError(), kind.errorOfNegativeCount);
    kind.remove(-1, &name);
    EXPECT_EQ(alGetError(), kind.errorOfNegativeCount);
    kind.gen(std::numeric_limits<ALsizei>::max(), &name);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    EXPECT_EQ(name, 99u);
    kind.gen(1, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    kind.remove(1, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
}

TEST_P(EfxNames, WithoutAContext_EveryCallIsAnInvalidOperation) {
    const ObjectKind& kind = GetParam();
    process.currentContext = nullptr;
    ALuint name = 0;
    kind.gen(1, &name);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    kind.remove(1, nullptr);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_FALSE(kind.is(1));
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    kind.set(1, kind.typeParameter, 0);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
}

INSTANTIATE_TEST_SUITE_P(All, EfxNames,
                         testing::Values(ObjectKind{"Effects", alGenEffects, alDeleteEffects, alIsEffect,
                                                    alEffecti, AL_EFFECT_TYPE, AL_INVALID_VALUE},
                                         ObjectKind{"Filters", alGenFilters, alDeleteFilters, alIsFilter,
                                                    alFilteri, AL_FILTER_TYPE, AL_INVALID_VALUE},
                                         ObjectKind{"Slots", alGenAuxiliaryEffectSlots,
                                                    alDeleteAuxiliaryEffectSlots, alIsAuxiliaryEffectSlot,
                                                    alAuxiliaryEffectSloti, AL_EFFECTSLOT_EFFECT,
                                                    AL_NO_ERROR}),
                         testing::PrintToStringParamName());

// ---- Effects ----

TEST_F(EfxCalls, EffectType_TakesTheSupportedTypesOnly) {
    const ALuint effect = NewEffect(AL_EFFECT_NULL);
    for (const ALint type : {1, 2, 3, 4, 5, 9, 0xB, 0xC, 0x8000, 0x9000, 0x9001, 0}) {
        alEffectiv(effect, AL_EFFECT_TYPE, &type);
        EXPECT_EQ(alGetError(), AL_NO_ERROR) << type;
        EXPECT_EQ(TypeOf(effect), type);
    }
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_ECHO);
    for (const ALint type : {6, 7, 8, 10, 13, -1, 0x7FFF, 0x8001, 0x9002}) {
        alEffecti(effect, AL_EFFECT_TYPE, type);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << type;
        EXPECT_EQ(TypeOf(effect), AL_EFFECT_ECHO) << type;
    }
}

TEST_F(EfxCalls, EffectType_SetAgain_KeepsTheValuesThatAnotherTypeResets) {
    const ALuint effect = NewEffect(AL_EFFECT_REVERB);
    alEffectf(effect, AL_REVERB_DECAY_TIME, 5);
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_REVERB);
    EXPECT_EQ(EffectFloat(effect, AL_REVERB_DECAY_TIME), 5);
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
    EXPECT_EQ(EffectFloat(effect, AL_EAXREVERB_DECAY_TIME), 1.49F);
}

TEST_F(EfxCalls, EffectValues_TravelInEveryForm) {
    const ALuint effect = NewEffect(AL_EFFECT_EQUALIZER);
    ALint integer = 700;
    alEffecti(effect, AL_EQUALIZER_LOW_CUTOFF, integer);
    EXPECT_EQ(EffectFloat(effect, AL_EQUALIZER_LOW_CUTOFF), 700);
    alEffectiv(effect, AL_EQUALIZER_LOW_CUTOFF, &(integer = 100));
    alGetEffectiv(effect, AL_EQUALIZER_LOW_CUTOFF, &(integer = 0));
    EXPECT_EQ(integer, 100);

    const ALuint reverb = NewEffect(AL_EFFECT_EAXREVERB);
    const std::array<ALfloat, 3> pan{0.6F, 0, -0.8F};
    std::array<ALfloat, 3> read{};
    alEffectfv(reverb, AL_EAXREVERB_LATE_REVERB_PAN, pan.data());
    alGetEffectfv(reverb, AL_EAXREVERB_LATE_REVERB_PAN, read.data());
    EXPECT_EQ(read, pan);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(EfxCalls, EffectValues_OutOfRangeOrUnknown_AreAnInvalidEnum) {
    using Call = void (*)(ALuint);
    static ALint i = 0;
    static ALfloat f = 0;
    const std::array<Call, 7> calls{[](ALuint e) { alEffectf(e, AL_REVERB_DECAY_TIME, 0.05F); },
                                    [](ALuint e) { alEffectf(e, AL_EFFECT_TYPE, AL_EFFECT_ECHO); },
                                    [](ALuint e) { alEffecti(e, AL_REVERB_DECAY_TIME, 2); },
                                    [](ALuint e) { alEffectfv(e, AL_REVERB_DECAY_TIME, nullptr); },
                                    [](ALuint e) { alEffectiv(e, AL_REVERB_DECAY_HFLIMIT, nullptr); },
                                    [](ALuint e) { alGetEffectf(e, AL_EFFECT_TYPE, &f); },
                                    [](ALuint e) { alGetEffectiv(e, 0x4711, &i); }};
    const ALuint reverb = NewEffect(AL_EFFECT_REVERB);
    const ALuint none = NewEffect(AL_EFFECT_NULL);
    for (const Call& call : calls) {
        call(reverb);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << &call - calls.data();
        call(none);
        EXPECT_EQ(alGetError(), AL_INVALID_ENUM) << &call - calls.data();
        call(4711);
        EXPECT_EQ(alGetError(), AL_INVALID_NAME) << &call - calls.data();
    }
    EXPECT_EQ(EffectFloat(reverb, AL_REVERB_DECAY_TIME), 1.49F);
}

TEST_F(EfxCalls, NullPointers_AreAnInvalidValue) {
    const ALuint name = NewEffect(AL_EFFECT_REVERB);
    EXPECT_EQ(NewFilter(AL_FILTER_LOWPASS), name);
    EXPECT_EQ(NewSlot(), name);
    using Call = void (*)(ALuint);
    const std::array<Call, 13> calls{
        [](ALuint o) { alEffectiv(o, AL_EFFECT_TYPE, nullptr); },
        [](ALuint o) { alGetEffecti(o, AL_EFFECT_TYPE, nullptr); },
        [](ALuint o) { alGetEffectiv(o, AL_EFFECT_TYPE, nullptr); },
        [](ALuint o) { alGetEffectf(o, AL_REVERB_GAIN, nullptr); },
        [](ALuint o) { alGetEffectfv(o, AL_REVERB_GAIN, nullptr); },
        [](ALuint o) { alFilteriv(o, AL_FILTER_TYPE, nullptr); },
        [](ALuint o) { alFilterfv(o, AL_LOWPASS_GAIN, nullptr); },
        [](ALuint o) { alGetFilteri(o, AL_FILTER_TYPE, nullptr); },
        [](ALuint o) { alGetFilterfv(o, AL_LOWPASS_GAIN, nullptr); },
        [](ALuint o) { alAuxiliaryEffectSlotiv(o, AL_EFFECTSLOT_EFFECT, nullptr); },
        [](ALuint o) { alAuxiliaryEffectSlotfv(o, AL_EFFECTSLOT_GAIN, nullptr); },
        [](ALuint o) { alGetAuxiliaryEffectSlotiv(o, AL_EFFECTSLOT_EFFECT, nullptr); },
        [](ALuint o) { alGetAuxiliaryEffectSlotf(o, AL_EFFECTSLOT_GAIN, nullptr); }};
    for (const Call& call : calls) {
        call(name);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << &call - calls.data();
    }
}

// ---- Filters ----

struct FilterCase {
    const char* name;
    ALint type;
    std::array<float goal::FilterParameters::*, 4> gains;  // of parameters 1 to 4; null: unknown
    ALenum errorOfUnknown;
    ALenum errorOfReading;
};

std::ostream& operator<<(std::ostream& out, const FilterCase& filter) {
    return out << filter.name;
}

class FilterTypes : public EfxCalls, public testing::WithParamInterface<FilterCase> {};

TEST_P(FilterTypes, EachGain_IsItsOwnValueAndOthersAreRefused) {
    const FilterCase& filter = GetParam();
    const ALuint name = NewFilter(filter.type);
    for (ALenum parameter = 1; parameter <= 4; ++parameter) {
        alFilteri(name, AL_FILTER_TYPE, filter.type);  // all gains at 1
        ALfloat read = -1;
        alFilterf(name, parameter, 0.25F);
        const auto gain = filter.gains[static_cast<std::size_t>(parameter - 1)];
        EXPECT_EQ(alGetError(), gain != nullptr ? AL_NO_ERROR : filter.errorOfUnknown) << parameter;
        alGetFilterf(name, parameter, &read);
        EXPECT_EQ(alGetError(), gain != nullptr ? AL_NO_ERROR : filter.errorOfReading) << parameter;
        EXPECT_EQ(read, gain != nullptr ? 0.25F : -1) << parameter;

        goal::FilterParameters expected;
        expected.type = filter.type;
        if (gain != nullptr) expected.*gain = 0.25F;
        const goal::FilterParameters& stored = context->application.filters[name - 1];
        EXPECT_EQ(std::tie(stored.type, stored.order, stored.gain, stored.gainHF, stored.gainLF),
                  std::tie(expected.type, expected.order, expected.gain, expected.gainHF, expected.gainLF));
    }
}

using P = goal::FilterParameters;
INSTANTIATE_TEST_SUITE_P(
    All, FilterTypes,
    testing::Values(FilterCase{"None", 0, {}, AL_INVALID_VALUE, AL_INVALID_OPERATION},
                    FilterCase{"LowPass", 1, {&P::gain, &P::gainHF}, AL_INVALID_VALUE, AL_INVALID_VALUE},
                    FilterCase{"HighPass", 2, {&P::gain, &P::gainLF}, AL_INVALID_VALUE, AL_INVALID_VALUE},
                    FilterCase{
                        "BandPass", 3, {&P::gain, &P::gainLF, &P::gainHF}, AL_INVALID_ENUM, AL_INVALID_ENUM}),
    testing::PrintToStringParamName());

TEST_F(EfxCalls, FilterGains_OutOfRange_AreRefused) {
    const ALuint filter = NewFilter(AL_FILTER_BANDPASS);
    for (const ALfloat gain : {-0.01F, 1.01F, std::nanf(""), HUGE_VALF}) {
        alFilterfv(filter, AL_BANDPASS_GAINHF, &gain);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << gain;
    }
    ALfloat read = -1;
    alGetFilterfv(filter, AL_BANDPASS_GAINHF, &read);
    EXPECT_EQ(read, 1);
}

TEST_F(EfxCalls, FilterType_AsAFloat_IsRoundedAndRangeChecked) {
    const ALuint filter = NewFilter(AL_FILTER_NULL);
    ALint type = -1;
    ALfloat asFloat = -1;
    alFilterf(filter, AL_FILTER_TYPE, 2.4F);
    alGetFilteriv(filter, AL_FILTER_TYPE, &type);
    alGetFilterf(filter, AL_FILTER_TYPE, &asFloat);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(type, 2);
    EXPECT_EQ(asFloat, 2);
    for (const ALfloat bad : {3.5F, -1.6F, 1e30F, -1e30F, std::nanf("")}) {
        alFilterf(filter, AL_FILTER_TYPE, bad);
        EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << bad;
    }
    alGetFilteri(filter, AL_FILTER_TYPE, &type);
    EXPECT_EQ(type, 2);
    alFilteri(filter, AL_FILTER_TYPE, 4);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alFilteri(filter, AL_HIGHPASS_GAIN, 1);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    alGetFilteri(filter, AL_HIGHPASS_GAIN, &type);
    EXPECT_EQ(alGetError(), AL_INVALID_ENUM);
}

// ---- Slots ----

TEST_F(EfxCalls, ABoundEffect_ReachesTheSlotByCopyAndAgainOnlyWhenBoundAgain) {
    const ALuint effect = NewEffect(AL_EFFECT_REVERB);
    const ALuint slot = NewSlot();
    Bind(slot, effect);
    EXPECT_EQ(TypeIn(slot), AL_EFFECT_REVERB);
    alEffectf(effect, AL_REVERB_GAIN, 0.75F);
    Copy();
    EXPECT_EQ(FloatOf(RenderedSlot(slot).effect, AL_REVERB_GAIN), 0.32F);
    Bind(slot, effect);
    EXPECT_EQ(FloatOf(RenderedSlot(slot).effect, AL_REVERB_GAIN), 0.32F) << "before the copy";
    Copy();
    EXPECT_EQ(FloatOf(RenderedSlot(slot).effect, AL_REVERB_GAIN), 0.75F);
    EXPECT_NE(RenderedSlot(slot).effect.Get(), context->application.slots[slot - 1].effect.Get());
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(EfxCalls, DeleteEffects_WhileBound_LeavesTheSlotItsCopy) {
    const ALuint effect = NewEffect(AL_EFFECT_ECHO);
    const ALuint slot = NewSlot();
    Bind(slot, effect);
    alDeleteEffects(1, &effect);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(TypeIn(slot), AL_EFFECT_ECHO);
    Bind(slot, effect);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE) << "the name is gone";
    EXPECT_EQ(TypeIn(slot), AL_EFFECT_ECHO);
}

TEST_F(EfxCalls, ASlot_IsEmptiedByTheNameZeroAndByAnEffectWithoutType) {
    const ALuint effect = NewEffect(AL_EFFECT_ECHO);
    const ALuint slot = NewSlot();
    for (const ALuint none : {ALuint{0}, NewEffect(AL_EFFECT_NULL)}) {
        Bind(slot, effect);
        Copy();
        Bind(slot, none);
        EXPECT_EQ(TypeIn(slot), AL_EFFECT_NULL);
        Copy();
        EXPECT_FALSE(RenderedSlot(slot).effect);
    }
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

TEST_F(EfxCalls, SlotValues_AreReadBackAndCopied) {
    const ALuint slot = NewSlot();
    Copy();
    alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_GAIN, 0.5F);
    alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_AUXILIARY_SEND_AUTO, AL_FALSE);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    Copy();
    EXPECT_EQ(RenderedSlot(slot).gain, 0.5F);
    EXPECT_FALSE(RenderedSlot(slot).auxiliarySendAuto);

    ALint isAuto = -1;
    ALfloat gain = -1;
    alGetAuxiliaryEffectSlotiv(slot, AL_EFFECTSLOT_AUXILIARY_SEND_AUTO, &isAuto);
    alGetAuxiliaryEffectSlotfv(slot, AL_EFFECTSLOT_GAIN, &gain);
    EXPECT_EQ(isAuto, AL_FALSE);
    EXPECT_EQ(gain, 0.5F);
}

struct SlotRefusal {
    ALenum error;
    void (*call)(ALuint slot);
};

TEST_F(EfxCalls, SlotValues_OutOfRangeOrUnknown_AreRefused) {
    static ALint i = 0;
    static ALfloat f = 0;
    const std::array refusals = std::to_array<SlotRefusal>({
        {AL_INVALID_VALUE, [](ALuint s) { alAuxiliaryEffectSlotf(s, AL_EFFECTSLOT_GAIN, 1.5F); }},
        {AL_INVALID_VALUE, [](ALuint s) { alAuxiliaryEffectSlotf(s, AL_EFFECTSLOT_GAIN, std::nanf("")); }},
        {AL_INVALID_ENUM, [](ALuint s) { alAuxiliaryEffectSlotf(s, AL_EFFECTSLOT_EFFECT, 1); }},
        {AL_INVALID_VALUE, [](ALuint s) { alAuxiliaryEffectSloti(s, AL_EFFECTSLOT_AUXILIARY_SEND_AUTO, 2); }},
        {AL_INVALID_VALUE, [](ALuint s) { alAuxiliaryEffectSloti(s, AL_EFFECTSLOT_EFFECT, -1); }},
        {AL_INVALID_ENUM, [](ALuint s) { alAuxiliaryEffectSloti(s, AL_EFFECTSLOT_GAIN, 1); }},
        {AL_INVALID_ENUM, [](ALuint s) { alGetAuxiliaryEffectSloti(s, AL_EFFECTSLOT_GAIN, &i); }},
        {AL_INVALID_ENUM, [](ALuint s) { alGetAuxiliaryEffectSlotf(s, AL_EFFECTSLOT_EFFECT, &f); }},
    });
    const ALuint slot = NewSlot();
    for (const SlotRefusal& refusal : refusals) {
        refusal.call(slot);
        EXPECT_EQ(alGetError(), refusal.error) << &refusal - refusals.data();
        refusal.call(4711);
        EXPECT_EQ(alGetError(), AL_INVALID_NAME) << &refusal - refusals.data();
    }
    EXPECT_EQ(context->application.slots[slot - 1].gain, 1);
}

TEST_F(EfxCalls, ADeletedSlot_FallsSilentAndItsNameStartsAfresh) {
    const ALuint slot = NewSlot();
    Bind(slot, NewEffect(AL_EFFECT_ECHO));
    alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_GAIN, 0.5F);
    Copy();
    alDeleteAuxiliaryEffectSlots(1, &slot);
    Copy();
    EXPECT_TRUE(RenderedSlot(slot).deleted);
    EXPECT_FALSE(RenderedSlot(slot).effect);
    EXPECT_EQ(NewSlot(), slot);
    Copy();
    EXPECT_FALSE(RenderedSlot(slot).deleted);
    EXPECT_EQ(RenderedSlot(slot).gain, 1);
}

TEST_F(EfxCalls, OnlyOneReverb_LetsASecondSlotHaveAnythingElse) {
    SetOnlyOneReverb();
    const ALuint reverb = NewEffect(AL_EFFECT_REVERB);
    const ALuint eaxReverb = NewEffect(AL_EFFECT_EAXREVERB);
    const ALuint chorus = NewEffect(AL_EFFECT_CHORUS);
    const ALuint first = NewSlot();
    const ALuint second = NewSlot();
    Bind(second, chorus);
    Bind(first, reverb);
    Bind(first, eaxReverb);
    EXPECT_EQ(alGetError(), AL_NO_ERROR) << "the same slot again";
    Bind(second, reverb);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
    EXPECT_EQ(TypeIn(second), AL_EFFECT_CHORUS);
    Bind(second, chorus);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);

    alDeleteAuxiliaryEffectSlots(1, &first);
    Bind(second, reverb);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(TypeIn(second), AL_EFFECT_REVERB);
}

TEST_F(EfxCalls, SlotsChangedWhileSuspended_ReachTheRendererAfterProcess) {
    const ALuint old = NewSlot();
    Copy();
    alcSuspendContext(Handle());
    const ALuint effect = NewEffect(AL_EFFECT_FLANGER);  // effects aren't suspended
    alEffectf(effect, AL_FLANGER_RATE, 2);
    const ALuint added = NewSlot();
    Bind(old, effect);
    Bind(added, effect);
    alAuxiliaryEffectSlotf(old, AL_EFFECTSLOT_GAIN, 0.5F);
    EXPECT_EQ(TypeIn(old), AL_EFFECT_FLANGER);
    Copy();
    EXPECT_FALSE(RenderedSlot(old).effect);
    EXPECT_EQ(RenderedSlot(old).gain, 1);
    EXPECT_EQ(context->snapshot.slots.size, 1u);

    alcProcessContext(Handle());
    Copy();
    EXPECT_EQ(RenderedSlot(old).gain, 0.5F);
    EXPECT_EQ(FloatOf(RenderedSlot(old).effect, AL_FLANGER_RATE), 2);
    EXPECT_EQ(FloatOf(RenderedSlot(added).effect, AL_FLANGER_RATE), 2);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
}

}  // namespace
