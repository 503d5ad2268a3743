// What it costs a block of 512 frames to tell the status page how it fared: the report itself with so many
// sources that play, and the levels that are measured for it, of the sources and of the outputs.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "bench/support/wholegame.h"
#include "goal/statusreport.h"
#include "numeric/sumofsquares.h"
#include "orb3core/decoder/levelmeter.h"

namespace {

constexpr std::uint32_t frames = GameScene::frames;

void Report(benchmark::State& state) {
    const auto sources = static_cast<std::uint32_t>(state.range(0));
    GameScene scene({sources, orb3::SampleRateConversion::Linear, true});
    goal::Renderer renderer(GameScene::sampleRate, scene.configuration, 1, frames);
    goal::BeginRun(scene.snapshot, scene.application, nullptr, renderer.Effects(), renderer.FadeBlocks());
    goal::RenderOutput block;
    Shape(block);
    scene.Copy();
    renderer.renderBlock(scene.snapshot, block);
    const auto decoder = MakeHeadphoneDecoder(new TakingPipe(frames, GameScene::sampleRate));
    orb3::OutputSetUp output;
    output.pipe = audiopipe::PipePtr(new TakingPipe(frames, GameScene::sampleRate));
    goal::StatusPage page;
    goal::StatusReport report(page, output, *decoder, GameScene::order);
    for (auto _ : state) {
        report.BeginRendering();
        report.EndRendering();
        report.NoteBlock(scene.snapshot, true);
    }
}

// Each source is measured in one block of four.
void SourceLevels(benchmark::State& state) {
    const std::vector<float> row(frames, 0.5F);
    for (auto _ : state)
        for (std::int64_t i = 0; i < state.range(0) / 4; ++i)
            benchmark::DoNotOptimize(hcml::SumOfSquares(row.data(), row.size()));
}

void OutputLevels(benchmark::State& state) {
    const auto channels = static_cast<std::uint32_t>(state.range(0));
    const std::vector<float> block(std::size_t{frames} * channels, 0.5F);
    orb3::LevelMeter meter(GameScene::sampleRate, frames, channels);
    for (auto _ : state) {
        meter.Note(block.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(Report)->Arg(0)->Arg(64)->Arg(255);
BENCHMARK(SourceLevels)->Arg(64);
BENCHMARK(OutputLevels)->Arg(2)->Arg(8)->Arg(24)->Arg(64);

}  // namespace
