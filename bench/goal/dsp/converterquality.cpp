// Measures the sample rate converter's qualities beside libsamplerate and speexdsp, and prints the table of
// docs/performance.md. No benchmark of time: run it by hand after a change of the converter's tables.

#include <samplerate.h>
#include <speex/speex_resampler.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "goal/dsp/samplerateconverter.h"

namespace {

using Signal = std::vector<float>;

/// What came out, and the input frames that it took from one output frame to the next.
struct Output {
    Signal signal;
    double step;
};

struct Converter {
    std::string name;
    std::function<Output(const Signal& input, std::uint32_t from, std::uint32_t to)> convert;
};

Output Own(std::int32_t quality, const Signal& input, std::uint32_t from, std::uint32_t to) {
    // Built once, as in the server.
    using enum goal::SincQuality;
    static const std::array<goal::SampleRateConverter, 4> converters{
        goal::SampleRateConverter(Low), goal::SampleRateConverter(Medium), goal::SampleRateConverter(High),
        goal::SampleRateConverter(Best)};
    const goal::SampleRateConverter& converter = converters.at(static_cast<std::size_t>(quality) - 2);
    goal::ConverterState state;
    initialise(state, converter.start);
    setRatio(state, static_cast<double>(from) / to);
    Output output{{}, state.step / std::exp2(goal::converterFractionBits)};
    output.signal.reserve(input.size() * to / from + 1024);
    for (std::size_t position = 0; position < input.size();) {
        std::uint32_t toPush = 0;
        std::uint32_t toProduce = 0;
        planBlock(state, static_cast<std::uint32_t>(input.size() - position), 512, toPush, toProduce);
        for (std::uint32_t i = 0; i < toPush; ++i)
            push(state, input[position++]);
        const std::size_t done = output.signal.size();
        output.signal.resize(done + toProduce);
        produce(state, output.signal.data() + done, toProduce);
    }
    return output;
}

Output LibSampleRate(int type, const Signal& input, std::uint32_t from, std::uint32_t to) {
    Output output{Signal(input.size() * to / from + 1024), static_cast<double>(from) / to};
    SRC_DATA data{};
    data.data_in = input.data();
    data.data_out = output.signal.data();
    data.input_frames = static_cast<long>(input.size());
    data.output_frames = static_cast<long>(output.signal.size());
    data.src_ratio = static_cast<double>(to) / from;
    src_simple(&data, type, 1);
    output.signal.resize(static_cast<std::size_t>(data.output_frames_gen));
    return output;
}

Output Speex(int quality, const Signal& input, std::uint32_t from, std::uint32_t to) {
    Output output{Signal(input.size() * to / from + 1024), static_cast<double>(from) / to};
    int error = 0;
    SpeexResamplerState* state = speex_resampler_init(1, from, to, quality, &error);
    auto taken = static_cast<std::uint32_t>(input.size());
    auto given = static_cast<std::uint32_t>(output.signal.size());
    speex_resampler_process_float(state, 0, input.data(), &taken, output.signal.data(), &given);
    speex_resampler_destroy(state);
    output.signal.resize(given);
    return output;
}

/// One second of a sine of amplitude 0.5, and what stands before and behind the stretch that is measured.
constexpr double amplitude = 0.5;

Signal Sine(double hertz, std::uint32_t rate) {
    Signal signal(std::size_t{rate} * 3 / 2);
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] = static_cast<float>(
            amplitude * std::sin(2 * std::numbers::pi * hertz / rate * static_cast<double>(i)));
    return signal;
}

/// Least-squares fit of a sine of `frequency` (cycles a frame): returns its power and takes it out of
/// `signal`.
double TakeOutSine(std::vector<double>& signal, double frequency) {
    std::array<double, 5> m{};  // sums of cc, cs, ss, xc, xs
    const auto angle = [&](std::size_t i) {
        return 2 * std::numbers::pi * frequency * static_cast<double>(i);
    };
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double c = std::cos(angle(i));
        const double s = std::sin(angle(i));
        const std::array<double, 5> terms{c * c, c * s, s * s, signal[i] * c, signal[i] * s};
        for (std::size_t k = 0; k < terms.size(); ++k)
            m[k] += terms[k];
    }
    const double determinant = m[0] * m[2] - m[1] * m[1];
    const double a = (m[3] * m[2] - m[4] * m[1]) / determinant;
    const double b = (m[4] * m[0] - m[3] * m[1]) / determinant;
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] -= a * std::cos(angle(i)) + b * std::sin(angle(i));
    return (a * a + b * b) / 2;
}

double Power(const std::vector<double>& signal) {
    double sum = 0;
    for (const double value : signal)
        sum += value * value;
    return sum / static_cast<double>(signal.size());
}

double Decibels(double power) {
    return 10 * std::log10(std::max(power, 1e-30));
}

/// The middle of the output, clear of the filter's start and end.
std::vector<double> Middle(const Signal& signal) {
    const auto quarter = static_cast<std::ptrdiff_t>(signal.size() / 6);
    return {signal.begin() + quarter, signal.end() - quarter};
}

struct Purity {
    double noise;      ///< all but the sine, dB below it
    double harmonics;  ///< the harmonics 2 to 9, folded where they must, dB below it
};

Purity MeasurePurity(const Converter& converter, double hertz, std::uint32_t from, std::uint32_t to) {
    const Output output = converter.convert(Sine(hertz, from), from, to);
    const double frequency = hertz / from * output.step;
    std::vector<double> signal = Middle(output.signal);
    const double sine = TakeOutSine(signal, frequency);
    const double noise = Power(signal);
    double harmonics = 0;
    for (int k = 2; k <= 9; ++k)
        harmonics += TakeOutSine(signal, frequency * k);
    return {Decibels(sine / noise), Decibels(sine / harmonics)};
}

/// How far below a tone the output is that should be silent, in dB.
double MeasureRejection(const Converter& converter, double hertz, std::uint32_t from, std::uint32_t to) {
    const Output output = converter.convert(Sine(hertz, from), from, to);
    return Decibels(amplitude * amplitude / 2 / Power(Middle(output.signal)));
}

/// Loss at a frequency that should pass, in dB.
double MeasureLoss(const Converter& converter, double hertz, std::uint32_t from, std::uint32_t to) {
    const Output output = converter.convert(Sine(hertz, from), from, to);
    std::vector<double> signal = Middle(output.signal);
    return Decibels(amplitude * amplitude / 2 / TakeOutSine(signal, hertz / from * output.step));
}

/// Best of some runs, nanoseconds per output frame, set-up included.
double MeasureTime(const Converter& converter) {
    const Signal input = Sine(1000, 44100);
    double best = 1e9;
    for (int run = 0; run < 7; ++run) {
        const auto start = std::chrono::steady_clock::now();
        const Output output = converter.convert(input, 44100, 48000);
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
        best = std::min(best, time.count() / static_cast<double>(output.signal.size()));
    }
    return best;
}

std::vector<Converter> AllConverters() {
    std::vector<Converter> all;
    const auto add = [&](std::string name, auto convert, int quality) {
        all.push_back({std::move(name), [=](const Signal& input, std::uint32_t from, std::uint32_t to) {
                           return convert(quality, input, from, to);
                       }});
    };
    add("SincLow, 4 taps", Own, 2);
    add("SincMedium, 8 taps", Own, 3);
    add("SincHigh, 16 taps", Own, 4);
    add("SincBest, 64 taps", Own, 5);
    add("libsamplerate linear", LibSampleRate, SRC_LINEAR);
    add("libsamplerate sinc fastest", LibSampleRate, SRC_SINC_FASTEST);
    add("libsamplerate sinc medium", LibSampleRate, SRC_SINC_MEDIUM_QUALITY);
    add("libsamplerate sinc best", LibSampleRate, SRC_SINC_BEST_QUALITY);
    add("speexdsp 0", Speex, 0);
    add("speexdsp 3", Speex, 3);
    add("speexdsp 5", Speex, 5);
    add("speexdsp 10", Speex, 10);
    return all;
}

}  // namespace

int main() {
    std::puts(
        "| converter | SNR 1 kHz | SNR 10 kHz | SNR 15 kHz | THD 1 kHz | THD 10 kHz | loss 15 kHz | loss 20 "
        "kHz "
        "| 24 kHz, 2:1 | 30 kHz, 2:1 | 40 kHz, 2:1 | 23.5 kHz, 48 to 44.1 | ns |");
    std::puts("| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |");
    for (const Converter& converter : AllConverters()) {
        const Purity low = MeasurePurity(converter, 1000, 44100, 48000);
        const Purity high = MeasurePurity(converter, 10000, 44100, 48000);
        const Purity highest = MeasurePurity(converter, 15000, 44100, 48000);
        std::printf(
            "| %s | %.1f | %.1f | %.1f | %.0f | %.0f | %.2f | %.2f | %.1f | %.1f | %.1f | %.1f | %.1f |\n",
            converter.name.c_str(), low.noise, high.noise, highest.noise, -low.harmonics, -high.harmonics,
            MeasureLoss(converter, 15000, 44100, 48000), MeasureLoss(converter, 20000, 44100, 48000),
            MeasureRejection(converter, 24010, 96000, 48000),
            MeasureRejection(converter, 30000, 96000, 48000),
            MeasureRejection(converter, 40000, 96000, 48000),
            MeasureRejection(converter, 23500, 48000, 44100), MeasureTime(converter));
    }
}
