#include "bench/support/headphones.h"

#include <fstream>
#include <stdexcept>

#include "bench/support/gamescene.h"
#include "goal/outputmachinery.h"
#include "orb3core/acoustics/busbasis.h"
#include "tests/support/temporaryfolder.h"

slib::Log* ErrorsToConsole() {
    static slib::Log console;
    static slib::ErrorLog errors(&console);
    return &errors;
}

orb3::strans::TimeDomainTransform<float, 1> ReadHeadphones() {
    const testing_support::TemporaryStore store;
    store.ChooseSilence();
    std::ofstream(store.UserFile(), std::ios::app) << "SpeakerSetting=Headphone Stereo\n";
    goal::OutputMachinery machinery;
    const auto library = machinery.OpenFormatLibrary(store.FormatLibrary(), ErrorsToConsole());
    orb3::Configuration configuration;
    const orb3::OutputRequest request{.order = GameScene::order,
                                      .sampleRate = static_cast<std::uint32_t>(GameScene::sampleRate),
                                      .bufferLength = GameScene::frames,
                                      .bufferCount = 4,
                                      .gain = 0.45};
    goal::OutputSetUp output =
        machinery.SetUp(request, ErrorsToConsole(), ErrorsToConsole(), configuration, library);
    if (output.transform.impulses.rows != GameScene::channels || output.transform.impulses.columns != 2)
        throw std::runtime_error("The library has no decoder of this order for headphones.");
    orb3::convertTransformToBusBasis(output.transform);
    return output.transform;
}
