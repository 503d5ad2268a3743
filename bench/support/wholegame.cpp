#include "bench/support/wholegame.h"

#include <fstream>
#include <stdexcept>

#include "goal/outputmachinery.h"
#include "orb3core/acoustics/busbasis.h"
#include "tests/support/temporaryfolder.h"

namespace {

using Transform = orb3::strans::TimeDomainTransform<float, 1>;

slib::Log* Log() {
    static slib::Log console;
    static slib::ErrorLog errors(&console);
    return &errors;
}

Transform ReadHeadphones() {
    const testing_support::TemporaryStore store;
    store.ChooseSilence();
    std::ofstream(store.UserFile(), std::ios::app) << "SpeakerSetting=Headphone Stereo\n";
    goal::OutputMachinery machinery;
    const auto library = machinery.OpenFormatLibrary(store.FormatLibrary(), Log());
    orb3::Configuration configuration;
    const orb3::OutputRequest request{.order = GameScene::order,
                                      .sampleRate = static_cast<std::uint32_t>(GameScene::sampleRate),
                                      .bufferLength = GameScene::frames,
                                      .bufferCount = 4,
                                      .gain = 0.45};
    goal::OutputSetUp output = machinery.SetUp(request, Log(), Log(), configuration, library);
    if (output.transform.impulses.rows != GameScene::channels || output.transform.impulses.columns != 2)
        throw std::runtime_error("The library has no decoder of this order for headphones.");
    orb3::convertTransformToBusBasis(output.transform);
    return output.transform;
}

}  // namespace

std::unique_ptr<orb3::TransformedPipeUPT> MakeHeadphoneDecoder(TakingPipe* pipe) {
    const audiopipe::PipePtr owner(pipe);
    static const Transform headphones = ReadHeadphones();
    return orb3::createTransformedPipe(headphones, Log(), owner, orb3::DecoderMode::Serial,
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
