// Whole blocks of a scene: 512 frames at 48 kHz into a bus of order 4, float data at 44.1 kHz. `core_share`
// is the part of one core that rendering in real time takes.

#include "goal/render/renderer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"

namespace {

constexpr std::uint32_t frames = 512;
constexpr double sampleRate = 48000;

class Scene {
public:
    Scene(std::int64_t sources, orb3::SampleRateConversion conversion)
        : converter(conversion == orb3::SampleRateConversion::SincMedium
                        ? std::make_unique<goal::SampleRateConverter>(goal::SincQuality::Medium)
                        : nullptr) {
        configuration.goalConfig.order = 4;
        configuration.goalConfig.sampleRateConversion = conversion;
        renderer = std::make_unique<goal::Renderer>(sampleRate, configuration, 1, frames);
        output.spatial.resize(frames, 25);
        output.lowFrequency.resize(frames);
        output.dialogue.resize(frames);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = std::sin(static_cast<float>(i) * 0.05F);
        buffer = std::make_unique<goal::Buffer>(1, AL_FORMAT_MONO_FLOAT32, 44100.0F, samples.data(),
                                                static_cast<std::uint32_t>(samples.size() * 4), true);
        goal::BeginRun(snapshot, application, converter ? &converter->start : nullptr, renderer->Effects(),
                       renderer->FadeBlocks());
        for (std::int64_t i = 0; i < sources; ++i)
            Add(i);
        Render(false);
    }

    void Render(bool isMoving) {
        if (isMoving) Move();
        goal::CopyToSnapshot(snapshot, application, retired);
        renderer->renderBlock(snapshot, output);
        goal::MergeProgress(snapshot, application, retired);
    }

private:
    void Add(std::int64_t i) {
        goal::Source source;
        source.queue.append(buffer.get());
        source.looping = true;
        source.state = goal::SourceState::Playing;
        source.position = static_cast<std::uint64_t>(i * 37) << 16;
        source.airAbsorptionFactor = 1;  // so that every source is filtered
        Place(source, static_cast<float>(i));
        application.touched.Insert(application.sources.Take(source));
    }

    static void Place(goal::Source& source, float angle) {
        source.SourceBaseParameters::position = {3 * std::sin(angle), std::sin(angle * 0.7F),
                                                 3 * std::cos(angle)};
    }

    void Move() {
        time += 0.02F;
        for (std::uint32_t i = 0; i < application.sources.size; ++i) {
            Place(application.sources[i], static_cast<float>(i) + time);
            application.sources[i].parametersDirty = true;
            application.touched.Insert(i);
        }
    }

    orb3::Configuration configuration;
    std::vector<float> samples = std::vector<float>(48000);
    std::unique_ptr<goal::Buffer> buffer;
    goal::ApplicationState application;
    goal::RenderSnapshot snapshot;
    slib::RetireList retired;
    std::unique_ptr<goal::SampleRateConverter> converter;
    std::unique_ptr<goal::Renderer> renderer;
    goal::RenderOutput output;
    float time = 0;
};

void Measure(benchmark::State& state, orb3::SampleRateConversion conversion, bool isMoving) {
    Scene scene(state.range(0), conversion);
    for (auto _ : state)
        scene.Render(isMoving);
    state.counters["core_share"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * frames / sampleRate,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void StillLinear(benchmark::State& state) {
    Measure(state, orb3::SampleRateConversion::Linear, false);
}
void MovingLinear(benchmark::State& state) {
    Measure(state, orb3::SampleRateConversion::Linear, true);
}
void StillSincMedium(benchmark::State& state) {
    Measure(state, orb3::SampleRateConversion::SincMedium, false);
}
void MovingSincMedium(benchmark::State& state) {
    Measure(state, orb3::SampleRateConversion::SincMedium, true);
}

BENCHMARK(StillLinear)->Arg(1)->Arg(16)->Arg(255)->Arg(1024)->Arg(4096)->Unit(benchmark::kMicrosecond);
BENCHMARK(MovingLinear)->Arg(255)->Unit(benchmark::kMicrosecond);
BENCHMARK(StillSincMedium)->Arg(255)->Unit(benchmark::kMicrosecond);
BENCHMARK(MovingSincMedium)->Arg(255)->Unit(benchmark::kMicrosecond);

}  // namespace
