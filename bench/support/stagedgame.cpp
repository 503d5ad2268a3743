#include "bench/support/stagedgame.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "goal/dsp/antidenormal.h"

namespace {

constexpr std::uint32_t frames = GameScene::frames;
constexpr std::uint32_t channels = GameScene::channels;

std::unique_ptr<goal::FilterGainTables> MakeTables() {
    auto tables = std::make_unique<goal::FilterGainTables>();
    goal::buildFilterTables(*tables, GameScene::sampleRate, false);
    return tables;
}

// Tells the decoder's time from its own.
class TimedPipe : public TakingPipe {
public:
    explicit TimedPipe(StageClock& clock) : TakingPipe(frames, GameScene::sampleRate), clock(clock) {}
    void Write(const float* playback, float* recording) override {
        clock.Mark(Stage::Decode);
        TakingPipe::Write(playback, recording);
        clock.Mark(Stage::Output);
    }

private:
    StageClock& clock;
};

}  // namespace

double StageClock::Sum() const {
    return std::accumulate(seconds.begin(), seconds.end(), 0.0);
}

StagedGame::StagedGame(const GameSettings& settings)
    : scene(settings),
      tables(MakeTables()),
      reader(settings.conversion),
      radiusTable(GameScene::order),
      arrays(scene.configuration.arraySet, frames, channels),
      effects({.sampleRate = GameScene::sampleRate,
               .order = GameScene::order,
               .blockFrames = frames,
               .listenerBasis = &listener},
              channels),
      batch(frames, channels),
      renderer({.reader = reader,
                .radiusTable = radiusTable,
                .tables = *tables,
                .arrays = arrays,
                .batch = batch,
                .listener = listener,
                .sampleRate = GameScene::sampleRate,
                .order = GameScene::order,
                .blockFrames = frames,
                .defaultFilterOrder = 1}),
      pipe(new TimedPipe(clock)),
      decoder(MakeHeadphoneDecoder(pipe)) {
    Shape(output);
    goal::BeginRun(scene.snapshot, scene.application, scene.converter ? &scene.converter->start : nullptr,
                   effects.Builder(), renderer.FadeBlocks());
    for (hcml::FloatTupleVector& row : rows)
        row.resize(frames);
}

void StagedGame::Block() {
    clock.Start();
    scene.Copy();
    clock.Mark(Stage::Copy);
    StartBlock();
    for (std::uint32_t first = 0; first < scene.snapshot.sourceCount; first += groupSize)
        RunGroup(first, std::min(groupSize, scene.snapshot.sourceCount - first));
    FinishBlock();
    scene.Merge();
    clock.Mark(Stage::Copy);
    decoder->writeBus(output.spatial, {});
    clock.Mark(Stage::Decode);
}

void StagedGame::StartBlock() {
    listener = renderer.Listen(scene.snapshot);
    clock.Mark(Stage::Geometry);
    effects.Renew(scene.snapshot);
    goal::ClearInputs(scene.snapshot);
    clock.Mark(Stage::Sends);
    output.spatial.clear();
    goal::ApplyAntiDenormalPattern(output.spatial);
    output.lowFrequencyWritten = output.dialogueWritten = false;
    clock.Mark(Stage::Mix);
}

void StagedGame::RunGroup(std::uint32_t first, std::uint32_t count) {
    Locate(first, count);
    clock.Mark(Stage::Geometry);
    Read(first, count);
    clock.Mark(Stage::Readers);
    Send(first, count);
    clock.Mark(Stage::Sends);
    Filter(first, count);
    clock.Mark(Stage::Filters);
    Add(first, count);
    clock.Mark(Stage::Mix);
}

void StagedGame::Locate(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        if (!renderer.Locate(Voice(first + k), scene.snapshot, places[k]))
            throw std::runtime_error("A source of the scene is nowhere.");
}

void StagedGame::Read(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        scales[k] = renderer.Read(Voice(first + k), places[k], rows[k]);
}

void StagedGame::Send(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        renderer.Send(Voice(first + k), scene.snapshot, places[k], rows[k], scales[k]);
}

void StagedGame::Filter(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        if (!renderer.FilterDirect(Voice(first + k), places[k], rows[k]))
            throw std::runtime_error("A source of the scene is silent.");
    batch.Waiting().Run();
}

void StagedGame::Add(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k) {
        std::swap(rows[k], batch.Row());
        goal::Voice& voice = Voice(first + k);
        renderer.AddDirect(voice, places[k], scales[k], output.spatial);
        voice.memory.keepsAttack = false;
    }
}

void StagedGame::FinishBlock() {
    batch.Flush(output.spatial);
    clock.Mark(Stage::Mix);
    for (std::uint32_t slot = 0; slot < scene.snapshot.slotCount; ++slot)
        goal::Gather(goal::EffectOf(scene.snapshot.slots[slot]));
    clock.Mark(Stage::Sends);
    effects.Run(scene.snapshot, arrays, output);
    arrays.MixInto(output.spatial);
    clock.Mark(Stage::Effects);
    renderer.Finish(scene.snapshot, output);
    clock.Mark(Stage::Mix);
}
