// How long a game waits for its context: the whole of alcCreateContext on a stored configuration, and the
// steps that it consists of. Order 4 on measured headphones, SincMedium, into silence.

#include <benchmark/benchmark.h>

#include <fstream>
#include <memory>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/render/renderer.h"
#include "orb3core/acoustics/busbasis.h"
#include "orb3core/decoder/transformedpipe.h"
#include "tests/support/temporaryfolder.h"

namespace {

constexpr orb3::OutputRequest request{
    .order = 4, .sampleRate = 48000, .bufferLength = 512, .bufferCount = 4, .gain = 0.45};

// A user's store after the first start.
class StartedBefore {
public:
    StartedBefore() {
        store.ChooseSilence();
        std::ofstream(store.UserFile(), std::ios::app) << "SpeakerSetting=Headphone Stereo\n";
        orb3::Configuration configuration;
        configuration.goalConfig.order = request.order;
        configuration.goalConfig.sampleRateConversion = orb3::SampleRateConversion::SincMedium;
        process.engine.configuration.StoreConfiguration(configuration);
        alcDestroyContext(alcCreateContext(alcOpenDevice(nullptr), nullptr));
    }
    orb3::Configuration Configuration() {
        return process.engine.configuration.Read([](const orb3::Configuration& c) { return c; });
    }

    testing_support::TemporaryStore store;
    goal::Process& process = goal::TheProcess();
    goal::OutputMachinery machinery;
};

StartedBefore& Machine() {
    static StartedBefore machine;
    return machine;
}

goal::FormatLibrary OpenLibrary(StartedBefore& machine) {
    return machine.machinery.OpenFormatLibrary(machine.store.FormatLibrary(), &machine.process.log);
}

goal::OutputSetUp SetUp(StartedBefore& machine, const goal::FormatLibrary& library) {
    orb3::Configuration configuration = machine.Configuration();
    slib::ErrorLog log(&machine.process.log);
    return machine.machinery.SetUp(request, &log, &log, configuration, library);
}

void CreateContext(benchmark::State& state) {
    Machine();
    ALCdevice* const device = alcOpenDevice(nullptr);
    for (auto _ : state) {
        ALCcontext* const context = alcCreateContext(device, nullptr);
        state.PauseTiming();
        if (context == nullptr) state.SkipWithError("There was no context.");
        alcDestroyContext(context);
        state.ResumeTiming();
    }
}
BENCHMARK(CreateContext)->Unit(benchmark::kMicrosecond)->UseRealTime();

void OpenFormatLibrary(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(OpenLibrary(Machine()));
}
BENCHMARK(OpenFormatLibrary)->Unit(benchmark::kMicrosecond);

void LayoutDeviceAndTransform(benchmark::State& state) {
    const auto library = OpenLibrary(Machine());
    for (auto _ : state)
        benchmark::DoNotOptimize(SetUp(Machine(), library));
}
BENCHMARK(LayoutDeviceAndTransform)->Unit(benchmark::kMicrosecond)->UseRealTime();

void Decoder(benchmark::State& state) {
    const auto library = OpenLibrary(Machine());
    goal::OutputSetUp output = SetUp(Machine(), library);
    slib::ErrorLog log(&Machine().process.log);
    for (auto _ : state) {
        orb3::strans::TimeDomainTransform<float, 1> transform = output.transform;
        orb3::convertTransformToBusBasis(transform);
        benchmark::DoNotOptimize(orb3::createTransformedPipe(
            transform, &log, output.pipe, orb3::DecoderMode::Serial, orb3::Limiting::Refined));
    }
}
BENCHMARK(Decoder)->Unit(benchmark::kMicrosecond);

void Renderer(benchmark::State& state) {
    const orb3::Configuration configuration = Machine().Configuration();
    for (auto _ : state)
        benchmark::DoNotOptimize(std::make_unique<goal::Renderer>(48000, configuration, 1, 512));
}
BENCHMARK(Renderer)->Unit(benchmark::kMicrosecond);

void ConverterTables(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(std::make_unique<goal::SampleRateConverter>(goal::SincQuality::Medium));
}
BENCHMARK(ConverterTables)->Unit(benchmark::kMicrosecond);

void LineOfTheLog(benchmark::State& state) {
    for (auto _ : state)
        Machine().process.log.Write("Rendering started.", false);
}
BENCHMARK(LineOfTheLog)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
