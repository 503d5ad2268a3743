// What holds for every effect but the reverbs, at the corners of all ranges.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "tests/goal/fx/effectfixture.h"

namespace goal::fx {
namespace {

using namespace testing_support;

class AllEffects : public testing::TestWithParam<std::int32_t> {};

// Sets each parameter to the least or the greatest value that it takes, as the bits of `corner` say.
void SetCorner(EffectProcessorParameters& p, std::uint32_t corner) {
    for (std::int32_t name = 1; name <= 10; ++name, corner >>= 1) {
        const auto [least, greatest] = RangeOf(p, name);
        SetParameter(p, name, corner % 2 == 0 ? least : greatest);
    }
}

TEST_P(AllEffects, AtEveryCorner_StayFiniteAndBoundedAndAllocateNothing) {
    constexpr std::size_t broken = 2048;
    Signal signal(broken);
    signal[7] = std::numeric_limits<float>::quiet_NaN();
    signal[1500] = std::numeric_limits<float>::infinity();
    const auto frames = std::size_t(StretchSeconds(0.1) * 48000);
    for (const Signal& part : {Noise(frames), Signal(1000, 1), Impulse(frames), Signal(frames, 1e-39f)})
        signal.insert(signal.end(), part.begin(), part.end());
    const auto parameters = fx::MakeEffectParameters(GetParam());
    std::minstd_rand generator;
    for (std::uint32_t corner = 0, block = 128; corner < 64; ++corner) {
        SetCorner(*parameters, GetParam() == AL_EFFECT_EQUALIZER ? std::uint32_t(generator()) : corner);
        for (const double rate : {8000.0, 22050.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
            RunningEffect effect(*parameters, {.sampleRate = rate, .blockFrames = block, .order = 1});
            for (const Signal& output : effect.Feed(*parameters, signal))
                for (std::size_t i = broken; i < output.size(); ++i)
                    ASSERT_LT(std::abs(output[i]), 3e4F) << i << " at corner " << corner << ", " << rate;
            EXPECT_EQ(effect.allocations, 0u);
            block = block == 1024 ? 128 : 2 * block;
        }
    }
}

TEST_P(AllEffects, DieAwayToExactSilenceAndGiveTheSameInBlocksOfAnySize) {
    const auto parameters = fx::MakeEffectParameters(GetParam());
    Signal input = Noise(8000);
    input.resize(180'000);
    const Channels expected = RunningEffect(*parameters, {.sampleRate = 8000}).Feed(*parameters, input);
    RunningEffect odd(*parameters, {.sampleRate = 8000, .blockFrames = 301});
    const Channels output = odd.Feed(*parameters, input);
    for (std::size_t c = 0; c < output.size(); ++c) {
        EXPECT_THAT(output[c], IsNear(2e-5f, expected[c]));
        for (const Signal& signal : {expected[c], output[c]})
            EXPECT_EQ(Signal(signal.end() - 10'000, signal.end()), Signal(10'000));
    }
}

INSTANTIATE_TEST_SUITE_P(Types, AllEffects,
                         testing::Values(AL_EFFECT_CHORUS, AL_EFFECT_FLANGER, AL_EFFECT_ECHO,
                                         AL_EFFECT_DISTORTION, AL_EFFECT_RING_MODULATOR, AL_EFFECT_COMPRESSOR,
                                         AL_EFFECT_EQUALIZER, AL_EFFECT_DEDICATED_DIALOGUE));

}  // namespace
}  // namespace goal::fx
