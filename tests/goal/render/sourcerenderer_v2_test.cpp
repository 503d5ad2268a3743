// What the refined sound promises: no change is heard as a click, and no movement as steps.

#include "goal/render/sourcerenderer_v2.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "tests/support/heardchanges.h"

namespace goal {
namespace {

using namespace testing_support;

constexpr auto refined = orb3::Sound::Refined;

TEST(RefinedSound, NoChangeClicks) {
    for (const std::uint32_t frames : {64U, 256U, 600U})
        for (const Click& click : Clicks())
            EXPECT_LE(ClickOf(refined, frames, click.prepare, click.change), -50)
                << "when " << click.what << ", in blocks of " << frames;
}

TEST(RefinedSound, WhatMovesSixtyTimesASecond_MovesEvenly) {
    for (const Movement& movement : Movements())
        EXPECT_LE(StepsOf(refined, 256, movement.move), movement.limit) << movement.what;
}

// The constant 1 at unit distance, so that what is heard is where the source is.
struct Constant : Scene {
    explicit Constant(std::uint32_t frames) : Scene(frames) {
        Place(Add({1}), {0, 0, -1});
        application.distanceModel = DistanceModel::None;
    }
};

TEST(RefinedSound, AStartKeepsItsAttack) {
    Constant scene(64);
    scene.Render();
    EXPECT_NEAR(scene.output.spatial.channels[0][0], 1, 1e-6);
}

TEST(RefinedSound, AMovement_ArrivesWithin25Milliseconds) {
    for (const std::uint32_t frames : {128U, 256U, 512U}) {
        Constant scene(frames);
        scene.Play(4800, 0);
        Place(scene.Change(), {-0.2F, 0, -std::sqrt(0.96F)});
        scene.Play(1200, 2);
        EXPECT_NEAR(scene.Last(2), 0.2, 1e-5) << frames;
    }
}

TEST(RefinedSound, AJump_IsThereAtTheEndOfItsBlock) {
    Constant scene(256);
    scene.Play(4800, 0);
    Place(scene.Change(), {0, 0, 1});
    scene.Render();
    EXPECT_NEAR(scene.Last(1), -1, 1e-5);
}

TEST(RefinedSound, AMovementWhoseVelocityIsKnown_IsHeardWhereItIs) {
    constexpr std::uint32_t frames = 200;
    constexpr double speed = 0.5;  // a second, on a line to the left
    Constant scene(frames);
    for (int block = 0; block < 240; ++block) {
        const double seconds = block * frames / sceneRate, left = speed * seconds - 0.5;
        if (block % 4 == 0) {
            Place(scene.Change(), {static_cast<float>(-left), 0, -1});
            scene.application.sources[0].velocity = {static_cast<float>(-speed), 0, 0};
        }
        scene.Render();
        const double ahead = scene.Last(1), heard = scene.Last(2) / ahead, delay = (left - heard) / speed;
        EXPECT_NEAR(block > 60 ? delay : 0, 0, 0.005) << block;
    }
}

TEST(RefinedSound, ABufferWithoutAName_StaysUntilItsLastSourceHasFadedOut) {
    Scene scene(64);
    scene.Add(Tone(200, 240));
    scene.Render();
    Source& source = scene.Change();
    source.state = SourceState::Stopped;
    source.stateChanged = source.queueDirty = true;
    source.queue.clear();
    scene.application.deletedBuffers = std::make_unique<DeletedBuffers>();
    scene.application.deletedBuffers->buffers.append(scene.buffers.back().release());
    Signal heard = scene.Play(192, 0);  // 4 ms
    scene.retired.Empty();
    int held = 0;
    scene.snapshot.heldBuffers.ForEach([&](const DeletedBuffers&) { ++held; });
    EXPECT_EQ(held, 1);
    EXPECT_GT(heard[20], 0.5);
    scene.Render();
    scene.snapshot.heldBuffers.ForEach([](const DeletedBuffers&) { FAIL(); });
}

TEST(RefinedSound, AnEffectThatIsTakenOff_DiesAwayInATenthOfASecond) {
    Scene scene(256);
    scene.Add(Tone(200, 240));
    SendIntoTheRoom(scene);
    scene.Play(24000, 0);
    TouchSlot(scene, [](AuxSlotParameters& slot) { slot.deleted = true; });
    scene.Render();
    EXPECT_TRUE(scene.snapshot.slots[0].effect->isLeaving);
    scene.Play(4600, 0);
    EXPECT_NE(scene.snapshot.slots[0].tail, nullptr);
    scene.Play(1024, 0);
    EXPECT_EQ(scene.snapshot.slots[0].tail, nullptr);
    EXPECT_FALSE(scene.snapshot.activeSlots.Contains(0));
}

}  // namespace
}  // namespace goal
