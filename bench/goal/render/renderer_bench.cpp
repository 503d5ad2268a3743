// Whole blocks of a scene: 512 frames at 48 kHz, sources that loop 64 sounds of a second. `core_share` is the
// part of one core that rendering in real time takes.
//
//     Game     as most games have them: float data at 44.1 kHz, air absorption, a bus of order 4
//     Plain    what costs least to read: float data at 48 kHz and pitch 1, no filter

#include "goal/render/renderer.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/render/sourcereader.h"

namespace {

constexpr std::uint32_t frames = 512;
constexpr double sampleRate = 48000;

using Conversion = orb3::SampleRateConversion;

struct SceneSettings {
    Conversion conversion = Conversion::Linear;
    float rate = 44100;  // Hz, of the sounds
    int order = 4;
    bool isFiltered = true;
    orb3::Sound sound = orb3::Sound::Refined;
};

class Scene {
public:
    Scene(std::int64_t sources, const SceneSettings& settings) : isFiltered(settings.isFiltered) {
        if (const auto quality = goal::SincQualityOf(settings.conversion))
            converter = std::make_unique<goal::SampleRateConverter>(*quality);
        configuration.goalConfig.order = settings.order;
        configuration.goalConfig.sampleRateConversion = settings.conversion;
        configuration.goalConfig.sound = settings.sound;
        renderer = std::make_unique<goal::Renderer>(sampleRate, configuration, 1, frames);
        output.spatial.resize(frames,
                              static_cast<std::uint32_t>((settings.order + 1) * (settings.order + 1)));
        output.lowFrequency.resize(frames);
        output.dialogue.resize(frames);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = std::sin(static_cast<float>(i) * 0.05F);
        for (auto& buffer : buffers)
            buffer = std::make_unique<goal::Buffer>(1, AL_FORMAT_MONO_FLOAT32, settings.rate, samples.data(),
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
        source.queue.append(buffers[static_cast<std::size_t>(i) % buffers.size()].get());
        source.looping = true;
        source.state = goal::SourceState::Playing;
        source.position = static_cast<std::uint64_t>(i * 977 % 40000) << 16;
        source.airAbsorptionFactor = isFiltered ? 1 : 0;
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

    const bool isFiltered;
    orb3::Configuration configuration;
    std::vector<float> samples = std::vector<float>(48000);
    std::array<std::unique_ptr<goal::Buffer>, 64> buffers;
    goal::ApplicationState application;
    goal::RenderSnapshot snapshot;
    slib::RetireList retired;
    std::unique_ptr<goal::SampleRateConverter> converter;
    std::unique_ptr<goal::Renderer> renderer;
    goal::RenderOutput output;
    float time = 0;
};

void Measure(benchmark::State& state, const SceneSettings& settings, bool isMoving) {
    Scene scene(state.range(0), settings);
    for (auto _ : state)
        scene.Render(isMoving);
    state.counters["core_share"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * frames / sampleRate,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Still(benchmark::State& state, const SceneSettings& settings) {
    Measure(state, settings, false);
}
void Moving(benchmark::State& state, const SceneSettings& settings) {
    Measure(state, settings, true);
}

SceneSettings Plain(Conversion conversion, int order = 4, orb3::Sound sound = orb3::Sound::Refined) {
    return {.conversion = conversion, .rate = 48000, .order = order, .isFiltered = false, .sound = sound};
}

constexpr auto classic = orb3::Sound::Classic;
const SceneSettings linear{}, sincMedium{.conversion = Conversion::SincMedium};

void Alone(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(255)->Unit(benchmark::kMicrosecond);
}
BENCHMARK_CAPTURE(Still, game_linear, linear)->Apply(Alone)->Arg(1)->Arg(16)->Arg(1024)->Arg(4096);
BENCHMARK_CAPTURE(Moving, game_linear, linear)->Apply(Alone);
BENCHMARK_CAPTURE(Moving, game_linear_classic, SceneSettings{.sound = classic})->Apply(Alone);
BENCHMARK_CAPTURE(Still, game_sinc_medium, sincMedium)->Apply(Alone);
BENCHMARK_CAPTURE(Moving, game_sinc_medium, sincMedium)->Apply(Alone);
BENCHMARK_CAPTURE(Moving, game_sinc_best, SceneSettings{.conversion = Conversion::SincBest})->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_linear_order_3, Plain(Conversion::Linear, 3))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_linear_order_3_classic, Plain(Conversion::Linear, 3, classic))->Apply(Alone);
BENCHMARK_CAPTURE(Still, plain_linear, Plain(Conversion::Linear))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_linear, Plain(Conversion::Linear))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_linear_classic, Plain(Conversion::Linear, 4, classic))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_sinc_medium, Plain(Conversion::SincMedium))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_sinc_high, Plain(Conversion::SincHigh))->Apply(Alone);
BENCHMARK_CAPTURE(Moving, plain_off, Plain(Conversion::Off))->Apply(Alone);

}  // namespace
