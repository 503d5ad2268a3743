#include "goal/render/sourcegeometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace {

using goal::Vector3;
const goal::SourceRadiusTable table(4);
const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();

struct Scene {
    goal::SourceBaseParameters source;
    goal::GlobalParameters globals;
    goal::SourceGeometry Locate() const {
        const goal::Basis listener = goal::BuildBasis(globals.listenerAt, globals.listenerUp);
        return goal::LocateSource(source, globals, listener, table, 4);
    }
};

/// A source 2 units (10 m) ahead of the listener. Its cone of 0.5 to 1.5 is turned by `angle` from the
/// listener.
Scene WithCone(double angle) {
    Scene scene;
    scene.source.position = {0, 0, -2};
    scene.source.direction = {float(std::sin(angle)), 0, float(std::cos(angle))};
    scene.source.coneInnerHalfAngle = 0.5F;
    scene.source.coneOuterHalfAngle = 1.5F;
    scene.source.coneOuterGain = 0.2F;
    scene.source.coneOuterGainHF = 0.4F;
    scene.source.airAbsorptionFactor = 3;
    scene.globals.metersPerUnit = 5;
    return scene;
}

TEST(LocateSource, AtTheListener_IsEverywhereAlike) {
    const goal::SourceGeometry g = Scene{}.Locate();
    EXPECT_EQ(g.encode[0], 1);
    EXPECT_EQ(std::count(g.encode.begin(), g.encode.end(), 0.0F), 24);
    EXPECT_TRUE(goal::IsFinite(g));
}

TEST(BuildBasis, UnfitOrientations_StillGiveARotation) {
    for (const Vector3& at :
         {Vector3{0, 0, 0}, {nan, 0, 0}, {0, 5, 0}, {inf, 1, 0}, {1e30F, 0, 0}, {0, 0, 1e-30F}})
        for (const Vector3& up :
             {Vector3{0, 0, 0}, {0, inf, 0}, {0, 1e30F, 0}, {2, 0, 0}, {0, 0, -3}, {1, 2, 3}}) {
            const auto [r, u, b] = goal::BuildBasis(at, up);
            EXPECT_NEAR(std::hypot(u[0], u[1], u[2]) * std::hypot(b[0], b[1], b[2]), 1, 1e-6);
            EXPECT_NEAR(u[1] * b[2] - u[2] * b[1], r[0], 1e-6);
            EXPECT_NEAR(u[2] * b[0] - u[0] * b[2], r[1], 1e-6);
            EXPECT_NEAR(u[0] * b[1] - u[1] * b[0], r[2], 1e-6);
        }
}

TEST(LocateSource, AtTheSpeedOfSoundAndBeyond_HasAPitchAllTheSame) {
    Scene scene;
    scene.source.position = {0, 0, -1};
    scene.globals.speedOfSound = 0;
    EXPECT_EQ(scene.Locate().pitch, 1);
    scene.globals.speedOfSound = 300;
    scene.source.velocity = {0, 0, 600};
    EXPECT_EQ(scene.Locate().pitch, -1);
}

// The shares of the sphere that the cones fill, and a reverb's air over 30 m.
const double half = ((1 - std::cos(0.5)) + (std::cos(0.5) - std::cos(1.5)) / 2) / 2;
const double cap = (1 - std::cos(0.5)) / 2, small = (1 - std::cos(0.4)) / 2, air = std::pow(0.9, 30);

using enum goal::EffectInput;

struct Send {
    goal::EffectInput kind = Reverb;
    bool isAuto = true, gainAuto = true, gainHFAuto = true;
    double inner = 0.5, outer = 1.5, gain, gainHF = 1;
};

// The room's gain is 1 / 1.5 for the source's rolloff of 0.5, and 1 / 2.5 with a reverb's own of 1.
const Send sends[] = {
    {.isAuto = false, .gain = 0.2 * 0.8 / 2},
    {.kind = Mono, .gain = 0.8 * (0.2 + 0.8 * half) / 1.5, .gainHF = 0.4 + 0.6 * half},
    {.kind = Field, .gainHFAuto = false, .outer = 0.4, .gain = 0.8 * (0.2 + 0.8 * small) / 1.5},
    {.outer = 0.5, .gain = 0.8 * (0.2 + 0.8 * cap) / 2.5, .gainHF = (0.4 + 0.6 * cap) * air},
    {.gainAuto = false, .gainHFAuto = false, .gain = 0.8, .gainHF = air},
    {.kind = Mono, .inner = std::acos(-1), .outer = std::acos(-1), .gain = 0.8 / 1.5}};

TEST(ComputeSendGains, WithConeAndRoom_AreTheClosedForms) {
    for (const Send& send : sends) {
        Scene scene = WithCone(3);  // turned away, which only the direct path hears
        scene.source.gain = 0.8F;
        scene.source.roomRolloffFactor = 0.5F;
        scene.source.coneInnerHalfAngle = float(send.inner);
        scene.source.coneOuterHalfAngle = float(send.outer);
        scene.source.auxSendFilterGainAuto = send.gainAuto;
        scene.source.auxSendFilterGainHFAuto = send.gainHFAuto;
        const auto gains = goal::ComputeSendGains(scene.source, scene.globals, scene.Locate(),
                                                  {send.kind, send.isAuto, {0.9F, 1}});
        EXPECT_NEAR(gains.gain, send.gain, 1e-6) << "row " << &send - sends;
        EXPECT_NEAR(gains.gainHF, send.gainHF, 1e-6) << "row " << &send - sends;
    }
}

// clang-format off
TEST(IsFinite, UnfitProperties_SilenceTheSourceOrItsSendOrDoNoHarm) {
    // What is finite all the same.
    struct { std::function<void(Scene&)> spoil; bool direct, send; } cases[] = {
        {.spoil = [](Scene& s) { s.source.position[1] = nan; }, .direct = false, .send = true},
        {.spoil = [](Scene& s) { s.globals.listenerPosition[0] = -inf; }, .direct = false, .send = true},
        {.spoil = [](Scene& s) { s.source.position = {3e38F, 3e38F, 0}; }, .direct = true, .send = true},
        {.spoil = [](Scene& s) { s.source.direction[2] = nan; }, .direct = false, .send = true},
        {.spoil = [](Scene& s) { s.source.velocity[2] = nan; }, .direct = false, .send = true},
        {.spoil = [](Scene& s) { s.source.velocity[2] = 343.3F; }, .direct = true, .send = true},
        {.spoil = [](Scene& s) { s.source.pitch = 1e20F; }, .direct = true, .send = true},
        {.spoil = [](Scene& s) { s.source.gain = nan; }, .direct = false, .send = false},
        {.spoil = [](Scene& s) { s.source.gain = inf; }, .direct = true, .send = false},
        {.spoil = [](Scene& s) { s.source.coneOuterGainHF = nan; }, .direct = false, .send = false},
        {.spoil = [](Scene& s) { s.source.radius = inf; }, .direct = true, .send = true},
        {.spoil = [](Scene& s) { s.source.radius = nan; }, .direct = true, .send = true},
        {.spoil = [](Scene& s) { s.globals.metersPerUnit = inf; }, .direct = true, .send = true}};
    for (const auto& c : cases) {
        Scene scene = WithCone(1);
        c.spoil(scene);
        const goal::SourceGeometry g = scene.Locate();
        EXPECT_EQ(goal::IsFinite(g), c.direct) << &c - cases;
        const auto gains = goal::ComputeSendGains(scene.source, scene.globals, g, {});
        EXPECT_EQ(goal::IsFinite(gains), c.send) << &c - cases;
    }
}
// clang-format on

}  // namespace
