// The readers: blocks of 512 frames at 48 kHz, by quality, sample format, rate and channels. `per_sample` is
// the time for one sample of output, of each channel. One source finds its sound in a near cache; 255 sources
// play 64 sounds of a second at places of their own, as a game has them, and wait for them.

#include "goal/render/sourcereader.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"

namespace {

using Quality = orb3::SampleRateConversion;
constexpr std::uint32_t frames = 512;
constexpr std::uint32_t gameSources = 255, gameSounds = 64, gameSoundBytes = 192000;
constexpr std::uint32_t batchRows = 64;  // which the renderer fills before it mixes them

struct Sound {
    ALenum format;
    float frequency;  // in Hz
};

struct Voice {
    goal::Source source;
    goal::PreviousFrame previousFrame{};
    goal::ConverterState mono;
    goal::MultiChannelConverterState multi;
};

class Voices {
public:
    Voices(Quality quality, Sound sound, std::uint32_t sources, std::uint32_t sounds,
           std::uint32_t soundBytes)
        : reader(quality) {
        const std::vector<char> bytes(soundBytes);
        for (std::uint32_t i = 0; i < sounds; ++i)
            buffers.push_back(std::make_unique<goal::Buffer>(1, sound.format, sound.frequency, bytes.data(),
                                                             soundBytes, true));
        rows.resize(batchRows * frames);
        block.resize(frames, buffers[0]->channels);
        if (const auto sinc = goal::SincQualityOf(quality))
            converter = std::make_unique<goal::SampleRateConverter>(*sinc);
        for (std::uint32_t i = 0; i < sources; ++i)
            Add(i);
    }

    void ReadBlock() {
        for (std::size_t i = 0; i < voices.size(); ++i) {
            Voice& voice = *voices[i];
            if (block.channelCount == 1)
                reader.ReadMono(voice.source, voice.previousFrame, voice.mono, {1, 48000},
                                rows.data() + i % batchRows * frames, frames);
            else
                reader.ReadMultiChannel(voice.source, voice.previousFrame, voice.multi, {1, 48000}, block);
        }
        benchmark::ClobberMemory();
    }

    double Samples() const { return static_cast<double>(voices.size()) * frames * block.channelCount; }

private:
    void Add(std::uint32_t i) {
        voices.push_back(std::make_unique<Voice>());
        Voice& voice = *voices.back();
        goal::Buffer& buffer = *buffers[i % buffers.size()];
        voice.source.queue.append(&buffer);
        voice.source.looping = true;
        voice.source.state = goal::SourceState::Playing;
        voice.source.position = std::uint64_t{i * 977 % buffer.frames} << 16;
        if (!converter) return;
        voice.multi.channels = buffer.channels;
        goal::initialise(voice.mono, converter->start);
        goal::initialise(voice.multi, converter->start);
    }

    goal::SourceReader reader;
    std::unique_ptr<goal::SampleRateConverter> converter;
    std::vector<std::unique_ptr<goal::Buffer>> buffers;
    std::vector<std::unique_ptr<Voice>> voices;
    std::vector<float> rows;
    hcml::ac::Bus block;
};

void Measure(benchmark::State& state, Voices& voices) {
    for (auto _ : state)
        voices.ReadBlock();
    state.counters["per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * voices.Samples(),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Read(benchmark::State& state, Quality quality, ALenum format) {
    Voices voices(quality, {format, 44100}, 1, 1, 36 * 4000);
    Measure(state, voices);
}

void ReadGame(benchmark::State& state, Quality quality, Sound sound) {
    Voices voices(quality, sound, gameSources, gameSounds, gameSoundBytes);
    Measure(state, voices);
}

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
BENCHMARK_CAPTURE(Read, sinchigh_stereo_float, Quality::SincHigh, AL_FORMAT_STEREO_FLOAT32);
BENCHMARK_CAPTURE(Read, sinchigh_stereo_16bit, Quality::SincHigh, AL_FORMAT_STEREO16);
BENCHMARK_CAPTURE(Read, sinchigh_71_float, Quality::SincHigh, AL_FORMAT_71CHN32);
BENCHMARK_CAPTURE(Read, sinchigh_71_16bit, Quality::SincHigh, AL_FORMAT_71CHN16);

constexpr Sound even{AL_FORMAT_MONO_FLOAT32, 48000}, converted{AL_FORMAT_MONO_FLOAT32, 44100},
    compact{AL_FORMAT_MONO16, 44100};
BENCHMARK_CAPTURE(ReadGame, off_48k_float, Quality::Off, even)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, linear_48k_float, Quality::Linear, even)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sincmedium_48k_float, Quality::SincMedium, even)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sinchigh_48k_float, Quality::SincHigh, even)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sincbest_48k_float, Quality::SincBest, even)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, off_float, Quality::Off, converted)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, linear_float, Quality::Linear, converted)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sincmedium_float, Quality::SincMedium, converted)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sinchigh_float, Quality::SincHigh, converted)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, off_16bit, Quality::Off, compact)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, linear_16bit, Quality::Linear, compact)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sincmedium_16bit, Quality::SincMedium, compact)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadGame, sinchigh_16bit, Quality::SincHigh, compact)->Unit(benchmark::kMicrosecond);

}  // namespace
