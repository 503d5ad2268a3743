#include "bench/support/effectquality.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "tests/support/heardchanges.h"
#include "tests/support/parameterrange.h"

namespace {

using testing_support::Signal;

constexpr double rate = 48000;

using Parameters = std::unique_ptr<goal::EffectProcessorParameters>;

// The first channel of what an effect makes of a signal, in blocks of 256 frames.
Signal Process(const goal::EffectProcessorParameters& parameters, const Signal& input, bool isRefined) {
    constexpr std::uint32_t frames = 256;
    goal::Basis listener;
    const auto state = parameters.createState(
        {.sampleRate = rate, .blockFrames = frames, .listenerBasis = &listener, .isRefined = isRefined});
    hcml::ac::Bus in(frames, 4), out(frames, 4);
    Signal made;
    for (std::size_t first = 0; first + frames <= input.size(); first += frames) {
        out.clear();
        std::copy_n(&input[first], frames, in.channels[0]);
        state->process({&parameters, in.channels, out.channels, frames, in.vectors, 1});
        made.insert(made.end(), out.channels[0], out.channels[0] + frames);
    }
    return made;
}

double PeakOf(const Signal& signal) {
    double peak = 0;
    for (const float sample : signal)
        peak = std::max(peak, std::fabs(double{sample}));
    return peak;
}

Signal ToneOf(double frequency, double amplitude, std::size_t frames, std::size_t silence = 0) {
    Signal signal(silence + frames);
    for (std::size_t i = 0; i < frames; ++i)
        signal[silence + i] = static_cast<float>(
            amplitude * std::sin(testing_support::pi2 * frequency * static_cast<double>(i) / rate));
    return signal;
}

// What isn't at one of the frequencies, in whole Hz, to all of it, over a second, in dB.
double Aliases(const Signal& signal, const std::set<long>& lines) {
    constexpr std::size_t length = 48000;
    const float* last = signal.data() + signal.size() - length;
    double all = 0, meant = 0;
    for (std::size_t i = 0; i < length; ++i)
        all += double{last[i]} * last[i];
    for (const long line : lines) {
        std::complex<double> sum = 0;
        for (std::size_t i = 0; i < length; ++i)
            sum += std::polar(double{last[i]}, -testing_support::pi2 * static_cast<double>(line) *
                                                   static_cast<double>(i) / rate);
        meant += 2 * std::norm(sum) / length;
    }
    return 10 * std::log10(std::max(all - meant, 1e-12 * all) / all);
}

double DistortionAliases(bool isRefined) {
    std::set<long> harmonics;
    for (long line = 5003; line < 24000; line += 5003)
        harmonics.insert(line);
    const Parameters parameters = goal::fx::MakeEffectParameters(AL_EFFECT_DISTORTION);
    return Aliases(Process(*parameters, ToneOf(5003, 1, 53'248), isRefined), harmonics);
}

double RingModulatorAliases(bool isRefined, int waveform) {
    std::set<long> lines;
    for (long harmonic = 0; harmonic < 48'000; harmonic += 440)
        for (const long line : {std::abs(harmonic - 5003), harmonic + 5003})
            if (line < 24'000) lines.insert(line);
    const Parameters parameters = goal::fx::MakeEffectParameters(AL_EFFECT_RING_MODULATOR);
    parameters->setParameteri(AL_RING_MODULATOR_WAVEFORM, waveform);
    return Aliases(Process(*parameters, ToneOf(5003, 1, 53'248), isRefined), lines);
}

double AfterAMinute(bool isRefined, std::int32_t type, std::int32_t feedback) {
    const Parameters parameters = goal::fx::MakeEffectParameters(type);
    parameters->setParameterf(feedback, 1);
    return PeakOf(Process(*parameters, Signal(60 * 48'000, 0.02F), isRefined)) / 0.02;
}

// Of all parameters of the effect, from end to end and back.
double WorstClick(bool isRefined, std::int32_t type) {
    using namespace testing_support;
    const orb3::Sound sound = isRefined ? orb3::Sound::Refined : orb3::Sound::Classic;
    const Parameters parameters = goal::fx::MakeEffectParameters(type);
    double worst = -180;
    for (std::int32_t name = 1; name <= AL_EQUALIZER_HIGH_CUTOFF; ++name) {
        const auto [least, greatest] = RangeOf(*parameters, name);
        const auto to = [name](float value) {
            return [name, value](Scene& scene) {
                TouchSlot(scene, [&](auto& slot) { SetParameter(*slot.effect, name, value); });
            };
        };
        const auto click = [&](float from, float until) {
            const auto prepare = [&](Scene& scene) {
                SendTo(scene, type);
                to(from)(scene);
            };
            worst = std::max(worst, ClickBeyondWhatLasts(sound, prepare, to(until)));
        };
        if (least == greatest) continue;
        click(least, greatest);
        click(greatest, least);
    }
    return worst;
}

}  // namespace

void PrintEffectRows(const PrintRow& print) {
    const struct {
        const char* name;
        std::int32_t type, feedback;
    } effects[] = {{"an echo", AL_EFFECT_ECHO, AL_ECHO_FEEDBACK},
                   {"a chorus", AL_EFFECT_CHORUS, AL_CHORUS_FEEDBACK},
                   {"a flanger", AL_EFFECT_FLANGER, AL_FLANGER_FEEDBACK},
                   {"a distortion", AL_EFFECT_DISTORTION, 0},
                   {"a ring modulator", AL_EFFECT_RING_MODULATOR, 0},
                   {"a compressor", AL_EFFECT_COMPRESSOR, 0},
                   {"an equalizer", AL_EFFECT_EQUALIZER, 0}};
    for (const auto& effect : effects)
        print(std::string("click when a parameter of ") + effect.name + " goes from end to end, the worst",
              "%.0f dB", [&](bool isRefined) { return WorstClick(isRefined, effect.type); });
    for (const auto& effect : effects)
        if (effect.feedback != 0)
            print(std::string("a constant after a minute of ") + effect.name + " at feedback 1, to itself",
                  "%.1f",
                  [&](bool isRefined) { return AfterAMinute(isRefined, effect.type, effect.feedback); });
    print("peak of a tone of 1 kHz at 0.5 after silence, compressed", "%.2f", [](bool isRefined) {
        const Parameters parameters = goal::fx::MakeEffectParameters(AL_EFFECT_COMPRESSOR);
        return PeakOf(Process(*parameters, ToneOf(1000, 0.5, 48'000, 96'000), isRefined));
    });
    print("aliases of a tone of 5 kHz in the distortion", "%.0f dB", DistortionAliases);
    print("aliases of a tone of 5 kHz times a sawtooth of 440 Hz", "%.0f dB",
          [](bool isRefined) { return RingModulatorAliases(isRefined, AL_RING_MODULATOR_SAWTOOTH); });
    print("aliases of a tone of 5 kHz times a square of 440 Hz", "%.0f dB",
          [](bool isRefined) { return RingModulatorAliases(isRefined, AL_RING_MODULATOR_SQUARE); });
}
