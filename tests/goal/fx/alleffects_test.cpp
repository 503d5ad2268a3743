// What holds for every effect, whatever its parameters are.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "tests/goal/fx/effectfixture.h"
#include "tests/support/dice.h"

namespace goal::fx {
namespace {

using namespace testing_support;

class AllEffects : public testing::TestWithParam<std::int32_t> {};

// Sets each parameter to its least or its greatest value or to one between them.
void SetAnywhere(EffectProcessorParameters& p, Dice& dice) {
    for (std::int32_t name = 1; name <= AL_EAXREVERB_DECAY_HFLIMIT; ++name) {
        const auto [least, greatest] = RangeOf(p, name);
        SetParameter(p, name, dice.Of(std::array{least, greatest, dice.Between(least, greatest)}));
    }
}

TEST_P(AllEffects, AtAllLimits_StayFiniteAndBoundedAndAllocateNothing) {
    constexpr std::size_t broken = 2048;
    Signal signal(broken);
    signal[7] = std::numeric_limits<float>::quiet_NaN();
    signal[1500] = std::numeric_limits<float>::infinity();
    const auto frames = std::size_t(StretchSeconds(0.1) * 48000);
    for (const Signal& part : {Noise(frames), Signal(1000, 1), Impulse(frames), Signal(frames, 1e-39f)})
        signal.insert(signal.end(), part.begin(), part.end());
    const auto parameters = fx::MakeEffectParameters(GetParam());
    Dice dice(1);
    for (int round = 0; round < 100; ++round) {
        SetAnywhere(*parameters, dice);
        for (const double rate : {8000.0, 22050.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
            RunningEffect effect(*parameters, {.sampleRate = rate,
                                               .blockFrames = dice.Of(std::array{128u, 257u, 512u, 1024u}),
                                               .order = 1,
                                               .isDirectional = dice.OneIn(2),
                                               .isFull = dice.OneIn(2)});
            for (const Signal& output : effect.Feed(*parameters, signal))
                for (std::size_t i = broken; i < output.size(); ++i)
                    ASSERT_LT(std::abs(output[i]), 3e4F) << i << " in round " << round << ", " << rate;
            EXPECT_EQ(effect.allocations, 0u);
        }
    }
}

TEST_P(AllEffects, DieAwayAndGiveTheSameInBlocksOfAnySize) {
    const auto parameters = fx::MakeEffectParameters(GetParam());
    const bool isReverb = GetParam() == AL_EFFECT_REVERB || GetParam() == AL_EFFECT_EAXREVERB;
    const float silence = isReverb ? 2e-8f : 0;  // what keeps denormals out of a reverb goes on for ever
    const std::pair<std::int32_t, float> lively[] = {
        {AL_EAXREVERB_DENSITY, 0.9F},       {AL_EAXREVERB_DIFFUSION, 0.7F},
        {AL_EAXREVERB_ECHO_DEPTH, 0.6F},    {AL_EAXREVERB_MODULATION_DEPTH, 0.4F},
        {AL_EAXREVERB_GAINLF, 0.5F},        {AL_EAXREVERB_DECAY_HFRATIO, 1.5F},
        {AL_EAXREVERB_DECAY_LFRATIO, 0.6F}, {AL_EAXREVERB_DECAY_HFLIMIT, AL_FALSE}};
    for (const auto& [name, value] : lively)
        if (isReverb) SetParameter(*parameters, name, value);
    Channels input(isReverb ? 4 : 1, Noise(8000));
    for (Signal& channel : input)
        channel.resize(180'000);
    for (const double rate : {8000.0, 48000.0}) {
        if (rate > 8000 && !isReverb) continue;
        Channels expected;
        for (const std::uint32_t blockFrames : {512U, 32U, 67U, 301U, 1024U}) {
            RunningEffect effect(*parameters, {rate, blockFrames, 1, true, true});
            const Channels output = effect.Feed(*parameters, input);
            if (expected.empty()) expected = output;
            for (std::size_t c = 0; c < output.size(); ++c) {
                EXPECT_THAT(output[c], IsNear(2e-5f, expected[c])) << rate << " " << blockFrames;
                const Signal end(output[c].end() - 10'000, output[c].end());
                EXPECT_THAT(end, IsNear(rate > 8000 ? 1 : silence, Signal(10'000)));  // after 22 s, not 4
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Types, AllEffects,
                         testing::Values(AL_EFFECT_REVERB, AL_EFFECT_EAXREVERB, AL_EFFECT_CHORUS,
                                         AL_EFFECT_FLANGER, AL_EFFECT_ECHO, AL_EFFECT_DISTORTION,
                                         AL_EFFECT_RING_MODULATOR, AL_EFFECT_COMPRESSOR, AL_EFFECT_EQUALIZER,
                                         AL_EFFECT_DEDICATED_DIALOGUE));

}  // namespace
}  // namespace goal::fx
