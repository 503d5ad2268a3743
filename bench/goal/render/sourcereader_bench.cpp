// The readers: a block of 512 frames from a source at 44.1 kHz into 48 kHz, by quality and sample format.
// `per_sample` is the time for one sample of output.

#include "goal/render/sourcereader.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"

namespace {

constexpr std::uint32_t frames = 512;

void Read(benchmark::State& state, orb3::SampleRateConversion quality, ALenum format) {
    const std::vector<char> bytes(36 * 4000);
    const goal::Buffer buffer(1, format, 44100, bytes.data(), static_cast<std::uint32_t>(bytes.size()), true);
    goal::Source source;
    source.queue.append(const_cast<goal::Buffer*>(&buffer));
    source.looping = true;
    source.state = goal::SourceState::Playing;
    goal::PreviousFrame previousFrame{};
    goal::ConverterState converterState;
    std::unique_ptr<goal::SampleRateConverter> converter;
    if (const auto sinc = goal::SincQualityOf(quality)) {
        converter = std::make_unique<goal::SampleRateConverter>(*sinc);
        goal::initialise(converterState, converter->start);
    }
    goal::SourceReader reader(quality);
    std::vector<float> block(frames);
    for (auto _ : state) {
        reader.ReadMono(source, previousFrame, converterState, {1, 48000}, block.data(), frames);
        benchmark::ClobberMemory();
    }
    state.counters["per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * frames,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

using Quality = orb3::SampleRateConversion;
BENCHMARK_CAPTURE(Read, off_float, Quality::Off, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, off_16bit, Quality::Off, AL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Read, linear_float, Quality::Linear, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, linear_16bit, Quality::Linear, AL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Read, linear_mulaw, Quality::Linear, AL_FORMAT_MONO_MULAW);
BENCHMARK_CAPTURE(Read, linear_ima4, Quality::Linear, AL_FORMAT_MONO_IMA4);
BENCHMARK_CAPTURE(Read, sinclow_float, Quality::SincLow, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, sinclow_16bit, Quality::SincLow, AL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Read, sincmedium_float, Quality::SincMedium, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, sincmedium_16bit, Quality::SincMedium, AL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Read, sinchigh_float, Quality::SincHigh, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, sinchigh_16bit, Quality::SincHigh, AL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Read, sincbest_float, Quality::SincBest, AL_FORMAT_MONO_FLOAT32);
BENCHMARK_CAPTURE(Read, sincbest_16bit, Quality::SincBest, AL_FORMAT_MONO16);

}  // namespace
