// What holds for every effect but the reverbs, at the corners of all ranges.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "effectfixture.h"
#include "goal/fx/effecttypes.h"

namespace goal::fx {
namespace {

using namespace testing_support;

class AllEffects : public testing::TestWithParam<std::int32_t> {};

// Sets each parameter to the first or the last of the limits that it takes, as the bits of `corner` say.
void SetCorner(EffectProcessorParameters& p, std::uint32_t corner) {
    for (std::int32_t name = 1; name <= 10; ++name, corner >>= 1)
        for (const float limit :
             {-180.f, -1.f, 0.f,  0.004f, 0.01f, 0.016f, 0.126f, 0.207f, 0.404f, 0.99f, 1.f,   2.f,  7.943f,
              10.f,   50.f, 80.f, 180.f,  200.f, 800.f,  1e3f,   3e3f,   4e3f,   8e3f,  16e3f, 24e3f})
            if ((p.setParameterf(name, limit) || p.setParameteri(name, int(limit))) && corner % 2 == 0) break;
}

Signal Noise(std::size_t frames) {
    static std::minstd_rand generator;
    std::uniform_real_distribution<float> noise(-1, 1);
    Signal signal(frames);
    std::ranges::generate(signal, [&] { return noise(generator); });
    return signal;
}

TEST_P(AllEffects, AtEveryCorner_StayFiniteAndBoundedAndAllocateNothing) {
    constexpr std::size_t broken = 2048;
    Signal signal(broken);
    signal[7] = std::numeric_limits<float>::quiet_NaN();
    signal[1500] = std::numeric_limits<float>::infinity();
    const auto frames = std::size_t(StretchSeconds(0.1) * 48000);
    for (const Signal& part : {Noise(frames), Signal(1000, 1), Impulse(frames), Signal(frames, 1e-39f)})
        signal.insert(signal.end(), part.begin(), part.end());
    const auto parameters = MakeEffectParameters(GetParam());
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
    const auto parameters = MakeEffectParameters(GetParam());
    Signal input = Noise(8000);
    input.resize(180'000);
    const Channels expected = RunningEffect(*parameters, {.sampleRate = 8000}).Feed(*parameters, input);
    RunningEffect odd(*parameters, {.sampleRate = 8000, .blockFrames = 301});
    const Channels output = odd.Feed(*parameters, input);
    for (std::size_t c = 0; c < output.size(); ++c)
        for (std::size_t i = 0; i < input.size(); ++i)
            ASSERT_NEAR(output[c][i], expected[c][i], i < 170'000 ? 2e-5 : 0) << i;
    EXPECT_EQ(output[0].back(), 0);
}

INSTANTIATE_TEST_SUITE_P(Types, AllEffects,
                         testing::Values(AL_EFFECT_CHORUS, AL_EFFECT_FLANGER, AL_EFFECT_ECHO,
                                         AL_EFFECT_DISTORTION, AL_EFFECT_RING_MODULATOR, AL_EFFECT_COMPRESSOR,
                                         AL_EFFECT_EQUALIZER, AL_EFFECT_DEDICATED_DIALOGUE));

}  // namespace
}  // namespace goal::fx
