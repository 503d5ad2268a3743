// Whole blocks: what a scene puts on the spatial bus, whatever the block size and whatever a game sets.

#include "goal/render/renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "AL/tessarune.h"
#include "tests/support/allocationcounter.h"
#include "tests/support/scene.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

using namespace testing_support;

constexpr float unfit[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()};

TEST(Renderer, AnEmptyScene_IsSilentButForThePatternAtTheListenersGain) {
    Scene scene(512);
    scene.application.listenerGain = 0.5F;
    scene.Render();
    const float* const silence = scene.output.spatial.channels[3];
    for (std::uint32_t i = 0; i < 512; ++i)
        EXPECT_EQ(silence[i], i % 16 != 0 ? 0 : i % 32 == 0 ? 2.5e-8F : -2.5e-8F) << i;
}

TEST(Renderer, AOneChannelSource_StandsOnTheBusByItsDirection) {
    const double x = 2 / 3.0, y = 1 / 3.0, z = 2 / 3.0;
    const double polynomials[] = {
        1, x, y, z, x * y, x * x - y * y, x * z, y * z, z * z, x * x * x - 3 * x * y * y};
    constexpr int orders[] = {0, 1, 1, 1, 2, 2, 2, 2, 2, 3};
    float shares[5] = {1, 1, 1, 1, 1};
    for (const bool isRelative : {false, true}) {
        Scene scene(512);
        scene.application.listenerAt = {1, 0, 0};
        scene.application.listenerUp = {0, 0, 1};
        Source& source = scene.Add({1, 1, 1});
        source.relative = isRelative;
        Place(source, isRelative ? Vector3{-1, 2, -2} : Vector3{2, 1, 2});  // ahead, left and above
        source.gain = 0.5F;
        source.radius = isRelative ? 2.0F : 0.0F;
        if (isRelative) SourceRadiusTable(4).lookupRadiusGains(1.5F, shares);
        scene.Render();
        Signal expected;
        for (std::size_t i = 0; i < 10; ++i)
            expected.push_back(static_cast<float>(0.5 / 3 * polynomials[i] * shares[orders[i]]));
        EXPECT_THAT(scene.LastOf(10), IsNear(1e-6F, expected)) << isRelative;
    }
}

TEST(Renderer, StereoAngles_WeighTheHorizontalChannelsByTheirMultiples) {
    Scene scene(512);
    constexpr float a = 0.25F;
    Source& source = scene.Add({1, 0}, AL_FORMAT_STEREO_FLOAT32);
    source.stereoAngles = {a, 0};
    source.hasStereoAngles = true;
    scene.Render();
    Signal expected(25);
    expected[0] = 1, expected[1] = std::cos(a), expected[2] = std::sin(a);
    expected[4] = std::sin(2 * a) / 2, expected[5] = std::cos(2 * a);
    expected[9] = std::cos(3 * a), expected[10] = std::sin(3 * a);
    expected[16] = std::sin(4 * a) / 4, expected[17] = std::cos(4 * a);
    EXPECT_THAT(scene.LastOf(25), IsNear(2e-6F, expected));
}

TEST(Renderer, BFormat_TurnsIntoTheListenersAxes) {
    Scene scene(512);
    Source& source = scene.Add({0.5F, 0.1F, 0.2F, 0.3F}, AL_FORMAT_BFORMAT3D_FLOAT32);
    source.orientationAt = {1, 0, 0};  // so its front is above the listener, and its top behind
    source.orientationUp = {0, 0, 1};
    scene.application.listenerUp = {1, 0, 0};
    scene.Render();
    EXPECT_THAT(scene.LastOf(4), IsNear(1e-5F, {0.5F * std::sqrt(2.0F), -0.3F, 0.2F, 0.1F}));
}

TEST(Renderer, AStillScene_IsTheSameFieldInBlocksOfAnySize) {
    constexpr std::uint32_t total = 38400;
    for (const auto conversion :
         {orb3::SampleRateConversion::Linear, orb3::SampleRateConversion::SincMedium}) {
        Signal expected;
        for (const std::uint32_t frames : {512U, 128U, 256U, 300U, 1024U}) {
            Scene scene(frames, conversion, 2);
            for (unsigned i = 0; i < 5; ++i) {
                Source& source = scene.Add(Noise(5000 + i, i), AL_FORMAT_MONO_FLOAT32, 44100);
                Place(source, {static_cast<float>(i) - 2, 1, -1});
                source.directFilter.gainHF = 0.5F;
            }
            scene.Add(Noise(6000, 9), AL_FORMAT_STEREO_FLOAT32, 22050);
            const Signal played = scene.Play(total, 5);
            if (expected.empty()) expected = played;
            EXPECT_THAT(played, IsNear(2e-6F, expected)) << frames;
        }
    }
}

TEST(Renderer, WhatIsNotANumber_NeverLeavesItsSource) {
    using Base = SourceBaseParameters;
    std::vector<std::function<void(Source&, float)>> properties;
    for (float Base::*field :
         {&Base::gain, &Base::minGain, &Base::maxGain, &Base::pitch, &Base::referenceDistance,
          &Base::maxDistance, &Base::rolloffFactor, &Base::coneOuterGain, &Base::radius,
          &Base::coneInnerHalfAngle, &Base::coneOuterHalfAngle, &Base::airAbsorptionFactor,
          &Base::roomRolloffFactor, &Base::coneOuterGainHF})
        properties.emplace_back([field](Source& source, float value) { source.*field = value; });
    for (Vector3 Base::*field : {&Base::position, &Base::velocity, &Base::direction, &Base::orientationAt})
        properties.emplace_back([field](Source& source, float value) { (source.*field)[1] = value; });
    properties.emplace_back([](Source& source, float value) { source.directFilter.gainHF = value; });
    properties.emplace_back([](Source& source, float value) { source.sends[0].filter.gain = value; });
    for (const auto& set : properties)
        for (const float value : unfit)
            for (const std::int32_t format : {AL_FORMAT_MONO_FLOAT32, AL_FORMAT_BFORMAT3D_FLOAT32}) {
                Scene scene(512);
                Place(scene.Add({0.5F}), {0, 0, -1});
                Source& source = scene.Add(Noise(400, 1), format);
                source.sends.append({1, 0, {}});
                scene.AddSlot(AL_EFFECT_EAXREVERB);
                set(source, value);
                for (int block = 0; block < 3; ++block)
                    scene.Render();
                for (std::uint32_t c = 0; c < 25; ++c)
                    ASSERT_TRUE(std::isfinite(scene.Last(c)))
                        << value << " in property " << &set - &properties[0];
            }
}

TEST(Renderer, SamplesThatAreNotNumbers_LeaveTheRestOfTheMixAsItIs) {
    for (const std::int32_t format : {AL_FORMAT_MONO_FLOAT32, AL_FORMAT_QUAD32}) {
        Scene scene(512);
        Place(scene.Add({0.5F}), {0, 0, -1});
        std::vector<float> samples = Noise(400, 1);
        samples[77] = unfit[0];
        scene.Add(samples, format);
        scene.Render();
        for (std::uint32_t i = 0; i < 512; ++i)
            ASSERT_NEAR(scene.output.spatial.channels[1][i], 0.5, 1e-6) << i;
    }
}

TEST(Renderer, ASteadyScene_AllocatesNothing) {
    for (const auto conversion : {orb3::SampleRateConversion::Off, orb3::SampleRateConversion::Linear,
                                  orb3::SampleRateConversion::SincMedium}) {
        Scene scene(512, conversion);
        for (unsigned i = 0; i < 100; ++i)
            Place(scene.Add(Noise(3000, i), AL_FORMAT_MONO_FLOAT32, 44100), {static_cast<float>(i), 0, -1});
        scene.Add(Noise(6000, 9), AL_FORMAT_51CHN32, 22050);
        scene.Add(Noise(6000, 9), AL_FORMAT_BFORMAT3D_FLOAT32, 22050);
        std::uint32_t slots = 0;
        for (std::int32_t type = AL_EFFECT_NULL; type <= 0xFFFF; ++type) {
            if (fx::MakeEffectParameters(type) == nullptr) continue;
            scene.AddSlot(type);
            scene.application.sources[slots].sends.append({slots + 1, 0, {}});
            ++slots;
        }
        ASSERT_EQ(slots, 11U);
        scene.Render();
        const std::size_t before = AllocationsOfThisThread();
        ASSERT_GT(before, 0U);  // what built the scene was counted
        for (int block = 0; block < 10; ++block)
            scene.Render();
        EXPECT_EQ(AllocationsOfThisThread(), before);
    }
}

}  // namespace
}  // namespace goal
