#include "bench/support/wholegame.h"

#include "bench/support/headphones.h"

std::unique_ptr<orb3::TransformedPipeUPT> MakeHeadphoneDecoder(TakingPipe* pipe) {
    const audiopipe::PipePtr owner(pipe);
    static const auto headphones = ReadHeadphones();
    return orb3::createTransformedPipe(headphones, ErrorsToConsole(), owner, orb3::DecoderMode::Serial,
                                       orb3::Limiting::Refined);
}

void Shape(goal::RenderOutput& output) {
    output.spatial.resize(GameScene::frames, GameScene::channels);
    output.lowFrequency.resize(GameScene::frames);
    output.dialogue.resize(GameScene::frames);
}

WholeGame::WholeGame(const GameSettings& settings)
    : scene(settings),
      pipe(new TakingPipe(GameScene::frames, GameScene::sampleRate)),
      decoder(MakeHeadphoneDecoder(pipe)),
      renderer(GameScene::sampleRate, scene.configuration, 1, GameScene::frames) {
    Shape(output);
    goal::BeginRun(scene.snapshot, scene.application, scene.converter ? &scene.converter->start : nullptr,
                   renderer.Effects(), renderer.FadeBlocks());
}

void WholeGame::Block() {
    scene.Copy();
    renderer.renderBlock(scene.snapshot, output);
    scene.Merge();
    decoder->writeBus(output.spatial, {});
}
