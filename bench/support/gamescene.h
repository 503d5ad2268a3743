#pragma once

// A game with many sources that all move, as its calls leave it in the application's state: each source loops
// one of 64 sounds of a second, floats and 16-bit in turn at 44.1 kHz, at a pitch and on a circle of its own,
// with Doppler shift and air absorption. For the benchmark programs, from one thread.

#include <cstdint>
#include <memory>
#include <vector>

#include "goal/dsp/samplerateconverter.h"
#include "goal/state/enginestate.h"
#include "orb3core/settings/configuration.h"

struct GameSettings {
    std::uint32_t sources;
    orb3::SampleRateConversion conversion;
    bool hasReverb;  ///< each source sends into one slot, an EAX reverb of the highest quality
};

class GameScene {
public:
    static constexpr std::uint32_t frames = 512;   // of a block
    static constexpr double sampleRate = 48000;    // Hz
    static constexpr std::int32_t order = 4;       // of the spatial bus
    static constexpr std::uint32_t channels = 25;  // of the spatial bus

    explicit GameScene(const GameSettings& settings);
    GameScene(const GameScene&) = delete;
    GameScene& operator=(const GameScene&) = delete;

    /// What a server does before and after a block.
    void Copy() { goal::CopyToSnapshot(snapshot, application, retired); }
    void Merge() { goal::MergeProgress(snapshot, application, retired); }

    /// What the game does in a block's time: every source gets a new position and velocity.
    void Move();

    orb3::Configuration configuration;                     // of the renderer that is to render it
    std::unique_ptr<goal::SampleRateConverter> converter;  // null for Linear
    goal::ApplicationState application;
    goal::RenderSnapshot snapshot;  // empty until the first copy
    slib::RetireList retired;       // what a game's calls would free

private:
    void AddSource(std::uint32_t index, bool sends);
    void AddReverb();
    void Place(std::uint32_t index);

    float time = 0;  // seconds
};
