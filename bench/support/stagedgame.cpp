#include "bench/support/stagedgame.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/filterstage.h"

namespace {

constexpr std::uint32_t frames = GameScene::frames;
constexpr std::uint32_t channels = GameScene::channels;
constexpr float directStep = 0.05F;  // of the weights per sample, as in the renderer

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
      sends(frames, channels, *tables, 1),
      effects({.sampleRate = GameScene::sampleRate,
               .order = GameScene::order,
               .blockFrames = frames,
               .listenerBasis = &listener},
              channels),
      batch(frames, channels),
      spatialGain(*tables),
      pipe(new TimedPipe(clock)),
      decoder(MakeHeadphoneDecoder(pipe)) {
    Shape(output);
    goal::BeginRun(scene.snapshot, scene.application, scene.converter ? &scene.converter->start : nullptr,
                   effects.Builder());
    const std::array<float, channels> silence{};
    for (hcml::FloatTupleVector*& row : rows) {
        row = &batch.Row();
        batch.Add(silence.data(), output.spatial);
    }
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
    listener = goal::BuildBasis(scene.snapshot.listenerAt, scene.snapshot.listenerUp);
    clock.Mark(Stage::Geometry);
    effects.Renew(scene.snapshot);
    sends.Sync(scene.snapshot);
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
    for (std::uint32_t k = 0; k < count; ++k) {
        places[k] =
            goal::LocateSource(Source(first + k), scene.snapshot, listener, radiusTable, GameScene::order);
        if (!goal::IsFinite(places[k])) throw std::runtime_error("A source of the scene is nowhere.");
    }
}

void StagedGame::Read(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k) {
        goal::SourceRendererState& state = State(first + k);
        hcml::FloatTupleVector& row = Row(first + k);
        scales[k] = reader.ReadMono(Source(first + k), state.previousFrame, state.converter,
                                    {places[k].pitch, GameScene::sampleRate}, row.data, row.size);
        goal::ApplyAntiDenormalPattern(row);
    }
}

void StagedGame::Send(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k)
        sends.SendMono(Source(first + k), State(first + k), scene.snapshot, places[k], Row(first + k),
                       scales[k]);
}

void StagedGame::Filter(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k) {
        const goal::FilterStageSettings path{
            .gainFactor = places[k].gain, .hfFactor = places[k].gainHF, .defaultOrder = 1};
        if (goal::FilterOneLater(Source(first + k).directFilter, State(first + k).direct, Row(first + k),
                                 *tables, path, batch.Waiting()))
            throw std::runtime_error("A source of the scene is silent.");
    }
    batch.Waiting().Run();
}

void StagedGame::Add(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t k = 0; k < count; ++k) {
        std::array<float, channels> weights{};
        for (std::uint32_t c = 0; c < channels; ++c)
            weights[c] = places[k].encode[c] * scales[k];
        batch.AddMoving(weights.data(), State(first + k).direct, directStep, output.spatial);
    }
}

void StagedGame::FinishBlock() {
    batch.Flush(output.spatial);
    clock.Mark(Stage::Mix);
    for (std::uint32_t slot = 0; slot < scene.snapshot.slotCount; ++slot)
        sends.Gather(goal::EffectOf(scene.snapshot.slots[slot]));
    clock.Mark(Stage::Sends);
    effects.Run(scene.snapshot, sends, arrays, output);
    arrays.MixInto(output.spatial);
    clock.Mark(Stage::Effects);
    spatialGain.Apply(scene.snapshot.listenerGain, output.spatial);
    clock.Mark(Stage::Mix);
}
