// What the refined sound promises of slots and their effects: nothing that a game changes on them is heard as
// a click.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "tests/support/heardchanges.h"
#include "tests/support/parameterrange.h"

namespace goal {
namespace {

using namespace testing_support;

class EffectChanges : public testing::TestWithParam<std::int32_t> {
protected:
    using Slots = std::function<void(AuxSlotParameters&)>;

    // From a slot with the effect as `before` makes it to what `after` makes of it.
    static void ExpectNoClick(const Slots& before, const Slots& after, const char* what, int name = 0) {
        const auto prepare = [&](Scene& scene) {
            SendTo(scene, GetParam());
            TouchSlot(scene, before);
        };
        const auto change = [&](Scene& scene) { TouchSlot(scene, after); };
        EXPECT_LE(ClickBeyondWhatLasts(orb3::Sound::Refined, prepare, change), -50) << what << " " << name;
    }
};

class ParameterChanges : public EffectChanges {};

TEST_P(ParameterChanges, FromEndToEnd_DontClick) {
    const auto parameters = fx::MakeEffectParameters(GetParam());
    for (std::int32_t name = 1; name <= AL_EQUALIZER_HIGH_CUTOFF; ++name) {
        auto [least, greatest] = RangeOf(*parameters, name);
        if (GetParam() == AL_EFFECT_DEDICATED_DIALOGUE && greatest > 0) least = -1, greatest = 1;
        if (least == greatest) continue;
        const auto to = [name](float value) {
            return [name, value](AuxSlotParameters& slot) { SetParameter(*slot.effect, name, value); };
        };
        ExpectNoClick(to(least), to(greatest), "up", name);
        ExpectNoClick(to(greatest), to(least), "down", name);
    }
}

TEST_P(EffectChanges, OfTheSlot_DontClick) {
    const auto gain = [](float value) { return [value](AuxSlotParameters& slot) { slot.gain = value; }; };
    const auto type = [](std::int32_t value) {
        return [value](AuxSlotParameters& slot) { fx::SetEffectType(slot.effect, value); };
    };
    ExpectNoClick(gain(1), gain(0), "gain to 0");
    ExpectNoClick(gain(0), gain(1), "gain to 1");
    ExpectNoClick(type(GetParam()), type(AL_EFFECT_NULL), "the effect is taken off");
    ExpectNoClick(type(AL_EFFECT_NULL), type(GetParam()), "the effect is new");
    ExpectNoClick(type(AL_EFFECT_DEDICATED_DIALOGUE), type(GetParam()),
                  "the effect takes the place of another");
    ExpectNoClick(
        type(GetParam()), [](AuxSlotParameters& slot) { slot.deleted = true; }, "the slot is deleted");
}

INSTANTIATE_TEST_SUITE_P(Types, ParameterChanges,
                         testing::Values(AL_EFFECT_CHORUS, AL_EFFECT_FLANGER, AL_EFFECT_ECHO,
                                         AL_EFFECT_DISTORTION, AL_EFFECT_RING_MODULATOR, AL_EFFECT_COMPRESSOR,
                                         AL_EFFECT_EQUALIZER, AL_EFFECT_DEDICATED_DIALOGUE));

INSTANTIATE_TEST_SUITE_P(Types, EffectChanges,
                         testing::Values(AL_EFFECT_EAXREVERB, AL_EFFECT_CHORUS, AL_EFFECT_FLANGER,
                                         AL_EFFECT_ECHO, AL_EFFECT_DISTORTION, AL_EFFECT_RING_MODULATOR,
                                         AL_EFFECT_COMPRESSOR, AL_EFFECT_EQUALIZER,
                                         AL_EFFECT_DEDICATED_DIALOGUE));

// The first effect still dies away when the third one comes, and has to make room.
TEST(EffectChangesInARow, DontClick) {
    Scene scene(64, orb3::SampleRateConversion::Linear, 1);
    Place(scene.Add(Tone(200, 240)), {0, 0, -1});
    SendTo(scene, AL_EFFECT_ECHO);
    scene.Play(24'000, 0);
    Signal heard = scene.Play(2560, 0);
    for (const std::int32_t type : {AL_EFFECT_EQUALIZER, AL_EFFECT_CHORUS, AL_EFFECT_DEDICATED_DIALOGUE,
                                    AL_EFFECT_NULL, AL_EFFECT_ECHO}) {
        TouchSlot(scene, [type](AuxSlotParameters& slot) { fx::SetEffectType(slot.effect, type); });
        const Signal next = scene.Play(1280, 0);
        heard.insert(heard.end(), next.begin(), next.end());
    }
    EXPECT_LE(20 * std::log10(PeakAboveTheTone(heard)), -50);
}

}  // namespace
}  // namespace goal
