// Prints the table of docs/sound.md: what each of the two sounds leaves audible, measured on the stages that
// differ. The figures are the same on every machine.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "bench/support/effectquality.h"
#include "goal/dsp/filterstage.h"
#include "orb3core/decoder/limiter.h"
#include "orb3core/decoder/limiter_v2.h"
#include "tests/support/heardchanges.h"

namespace {

using testing_support::Signal;

constexpr double rate = 48000;
constexpr std::uint32_t blockFrames = 256;
using testing_support::pi2;

Signal Sine(double frequency, std::size_t frames, double amplitude = 1) {
    Signal signal(frames);
    for (std::size_t i = 0; i < frames; ++i)
        signal[i] =
            static_cast<float>(amplitude * std::sin(pi2 * frequency * static_cast<double>(i) / rate + 0.4));
    return signal;
}

/// A tone through the filter of a path, whose gains are those of `before`, and then of `after`: what comes
/// out after the change.
Signal Filtered(bool isRefined, double frequency, const goal::FilterParameters& before,
                const goal::FilterParameters& after) {
    const auto tables = std::make_unique<goal::FilterGainTables>();
    goal::buildFilterTables(*tables, rate, false, isRefined);
    goal::SourceFilterState state;
    const Signal tone = Sine(frequency, std::size_t{blockFrames} * 160);
    Signal result;
    hcml::FloatTupleVector block(blockFrames);
    for (std::size_t i = 0; i < tone.size(); i += blockFrames) {
        std::copy_n(&tone[i], blockFrames, block.data);
        const goal::FilterParameters& filter = i < tone.size() / 2 ? before : after;
        if (goal::filterOne(filter, state, block, block, *tables, {})) block.clear();
        if (i + blockFrames >= tone.size() / 2)
            result.insert(result.end(), block.data, block.data + blockFrames);
    }
    return result;
}

/// The greatest step between two samples beyond the tone's own, in percent of its amplitude.
double Jump(const Signal& signal, double frequency) {
    double greatest = 0;
    for (std::size_t i = 1; i < signal.size(); ++i)
        greatest = std::max(greatest, std::fabs(double{signal[i]} - signal[i - 1]));
    return 100 * std::max(greatest - pi2 * frequency / rate, 0.0);
}

std::unique_ptr<orb3::BlockLimiter> MakeLimiter(bool isRefined) {
    if (isRefined) return std::make_unique<orb3::Limiter_v2>(rate);
    return std::make_unique<orb3::Limiter>(rate);
}

Signal Limited(bool isRefined, Signal signal) {
    const std::unique_ptr<orb3::BlockLimiter> limiter = MakeLimiter(isRefined);
    for (std::size_t i = 0; i + blockFrames <= signal.size(); i += blockFrames)
        limiter->limit(&signal[i], blockFrames, 1);
    return signal;
}

/// Frames above full scale after a tone of 1 kHz sets in at the worst place of a block.
double Clipped(bool isRefined, double gain) {
    std::ptrdiff_t most = 0;
    for (std::uint32_t place = 0; place < blockFrames; place += 8) {
        Signal signal = Sine(1000, std::size_t{blockFrames} * 20, gain * 0.9);
        std::fill_n(signal.begin(), blockFrames * 4 + place, 0.0F);
        const Signal limited = Limited(isRefined, signal);
        most = std::max(
            most, std::count_if(limited.begin(), limited.end(), [](float v) { return std::fabs(v) > 1; }));
    }
    return static_cast<double>(most);
}

/// What isn't the tone of 50 Hz itself in the last of three seconds, to it, in dB.
double BassDistortion(bool isRefined, double gain) {
    const Signal limited = Limited(isRefined, Sine(50, 3 * 48000 + blockFrames, gain));
    constexpr std::size_t start = 2 * 48000, length = 48000;
    std::complex<double> sum = 0;
    double power = 0;
    for (std::size_t i = start; i < start + length; ++i) {
        sum += std::polar(double{limited[i]}, -pi2 * 50 * static_cast<double>(i) / rate);
        power += double{limited[i]} * limited[i] / length;
    }
    const double tone = std::norm(sum) * 2 / (double{length} * length);
    return 10 * std::log10(std::max(power - tone, 1e-12 * power) / tone);
}

orb3::Sound SoundOf(bool isRefined) {
    return isRefined ? orb3::Sound::Refined : orb3::Sound::Classic;
}

void Print(const std::string& what, const char* format, const std::function<double(bool)>& measure) {
    std::printf("| %s | ", what.c_str());
    std::printf(format, measure(false));
    std::printf(" | ");
    std::printf(format, measure(true));
    std::printf(" |\n");
}

}  // namespace

int main() {
    std::puts("| what, in blocks of 256 frames at 48 kHz | Classic | Refined |\n| --- | --- | --- |");
    for (const double frequency : {50.0, 100.0}) {
        const std::string tone = std::to_string(static_cast<int>(frequency)) + " Hz";
        Print("jump while a tone of " + tone + " fades in", "%.1f%%", [&](bool isRefined) {
            return Jump(Filtered(isRefined, frequency, {.gain = 0}, {}), frequency);
        });
        for (const int order : {1, 2})
            Print(
                "jump when a high-pass of order " + std::to_string(order) + " is taken off a tone of " + tone,
                "%.1f%%", [&](bool isRefined) {
                    return Jump(
                        Filtered(isRefined, frequency, {.order = order, .gainLF = 0.05F}, {.order = order}),
                        frequency);
                });
    }
    for (const testing_support::Click& click : testing_support::Clicks())
        Print(std::string("click when ") + click.what, "%.0f dB", [&](bool isRefined) {
            return testing_support::ClickOf(SoundOf(isRefined), blockFrames, click.prepare, click.change);
        });
    for (const testing_support::Movement& movement : testing_support::Movements())
        Print(std::string("steps of ") + movement.what + ", set 60 times a second", "%.0f dB",
              [&](bool isRefined) {
                  return testing_support::StepsOf(SoundOf(isRefined), blockFrames, movement.move);
              });
    for (const double gain : {2.0, 4.0, 8.0})
        Print("frames above full scale at an onset of " + std::to_string(static_cast<int>(gain)) +
                  " times the ceiling",
              "%.0f", [&](bool isRefined) { return Clipped(isRefined, gain); });
    Print("distortion of a tone of 50 Hz at 4 times the ceiling", "%.0f dB",
          [](bool isRefined) { return BassDistortion(isRefined, 4 * 0.9); });
    PrintEffectRows(Print);
}
