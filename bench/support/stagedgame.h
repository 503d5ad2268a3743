#pragma once

// The block of a WholeGame taken to pieces: to the same bits, out of the same classes, but stage by stage,
// with the clock read between them. So the product keeps no clocks, and yet each stage works on the data that
// it gets in the whole. A stage takes 16 sources at a time, as many as the filters run side by side, so that
// their rows stay in the nearest cache as they do in the renderer, which takes one source after the other
// through all stages. For the benchmark programs, from one thread.

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "bench/support/gamescene.h"
#include "bench/support/wholegame.h"
#include "goal/render/arraybuses.h"
#include "goal/render/effectstage.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sourcereader.h"
#include "goal/render/sourcerenderer_v2.h"

struct Stage {
    enum Name : std::size_t {
        Copy,      ///< from the game's state and, of what moved, back
        Geometry,  ///< direction, distance, Doppler shift and weights of each source
        Readers,
        Sends,  ///< their filters, and the sums in the slot's input
        Filters,
        Mix,  ///< with the bus's clearing and the listener's gain
        Effects,
        Decode,  ///< with the limiter
        Output,  ///< the pipe's Write
        count
    };
};

inline constexpr std::array<const char*, Stage::count> stageNames{
    "copy", "geometry", "readers", "sends", "filters", "mix", "effects", "decode", "output"};

class StageClock {
public:
    void Start() { last = Clock::now(); }

    /// What passed since the last call was `stage`.
    void Mark(Stage::Name stage) {
        const Clock::time_point now = Clock::now();
        seconds[stage] += std::chrono::duration<double>(now - last).count();
        last = now;
    }

    double Sum() const;

    std::array<double, Stage::count> seconds{};

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point last;
};

class StagedGame {
public:
    explicit StagedGame(const GameSettings& settings);
    StagedGame(const StagedGame&) = delete;
    StagedGame& operator=(const StagedGame&) = delete;

    /// As of a WholeGame. Adds the time of each stage to `clock`. Throws std::runtime_error when a source
    /// would not be mixed.
    void Block();

    /// As of a WholeGame.
    const std::vector<float>& Heard() const { return pipe->block; }

    GameScene scene;
    StageClock clock;

private:
    static constexpr std::uint32_t groupSize = 16;

    void StartBlock();
    void RunGroup(std::uint32_t first, std::uint32_t count);
    void Locate(std::uint32_t first, std::uint32_t count);
    void Read(std::uint32_t first, std::uint32_t count);
    void Send(std::uint32_t first, std::uint32_t count);
    void Filter(std::uint32_t first, std::uint32_t count);
    void Add(std::uint32_t first, std::uint32_t count);
    void FinishBlock();

    goal::Voice& Voice(std::uint32_t source) { return *scene.snapshot.voices[source]; }

    const std::unique_ptr<goal::FilterGainTables> tables;
    goal::Basis listener;
    goal::SourceReader reader;
    goal::SourceRadiusTable radiusTable;
    goal::ArrayBuses arrays;
    goal::EffectStage effects;
    goal::MixBatch batch;
    goal::SourceRenderer_v2 renderer;
    goal::RenderOutput output;
    TakingPipe* const pipe;  // the decoder's
    const std::unique_ptr<orb3::TransformedPipeUPT> decoder;

    // Of the group in hand.
    std::array<hcml::FloatTupleVector, groupSize> rows;
    std::array<goal::SourceGeometry, groupSize> places;
    std::array<float, groupSize> scales{};
};
