// Prints the tables of docs/sound.md on reverberation: what each preset asks for, and what the two sounds
// make of it. Impulse responses of the late part at 48 kHz, in octaves by Schroeder's backward integration;
// levels and correlations by the decoder of the measured head, with pink weight, beside those of a diffuse
// field through it. `reverb_acceptance PRESET...` prints those presets only; with --low as first argument, in
// eight lines.

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "bench/support/headphones.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/reverbparameters.h"
#include "numeric/dft.h"
#include "numeric/directionpolynomials.h"
#include "tests/support/roommeasures.h"
#include "tools/presets/reverbpresets.h"

namespace {

using testing_support::Signal;
using Channels = std::vector<Signal>;
using Spectra = std::vector<std::vector<std::complex<double>>>;
using Parameters = goal::fx::EAXReverbParameters;

constexpr double rate = 48000;
constexpr std::uint32_t order = 4;
constexpr std::uint32_t channelCount = (order + 1) * (order + 1);
constexpr std::uint32_t transformLength = 1U << 17;
constexpr std::array<double, 8> octaves{63, 125, 250, 500, 1000, 2000, 4000, 8000};

Parameters ParametersOf(const presets::ReverbPreset& preset) {
    Parameters p;
    p.density = preset.density;
    p.diffusion = preset.diffusion;
    p.gain = preset.gain;
    p.decayTime = preset.decayTime;
    p.decayHFRatio = preset.decayHFRatio;
    p.decayLFRatio = preset.decayLFRatio;
    p.reflectionsGain = 0;
    p.reflectionsDelay = preset.reflectionsDelay;
    p.lateReverbGain = preset.lateReverbGain;
    p.lateReverbDelay = preset.lateReverbDelay;
    p.lateReverbPan = preset.lateReverbPan;
    p.echoTime = preset.echoTime;
    p.echoDepth = preset.echoDepth;
    p.modulationTime = preset.modulationTime;
    p.modulationDepth = preset.modulationDepth;
    p.airAbsorptionGainHF = preset.airAbsorptionGainHF;
    p.hfReference = preset.hfReference;
    p.lfReference = preset.lfReference;
    p.decayHFLimit = preset.decayHFLimit != 0;
    // Their shelves have the gain at the reference in both sounds: what is measured here is the room.
    p.gainHF = p.gainLF = 1;
    return p;
}

/// The bus after an impulse.
Channels ResponseOf(const Parameters& parameters, bool isRefined, bool isFull) {
    constexpr std::uint32_t blockFrames = 512;
    const goal::Basis listener;
    const auto state = parameters.createState({.sampleRate = rate,
                                               .order = order,
                                               .useFullLateReflections = isFull,
                                               .useDirectionalEarlyReflections = false,
                                               .blockFrames = blockFrames,
                                               .listenerBasis = &listener,
                                               .isRefined = isRefined});
    Channels response(channelCount);
    hcml::ac::Bus input(blockFrames, 1), output(blockFrames, channelCount);
    input.channels[0][0] = 1;
    const double longest = parameters.decayTime * std::max(parameters.decayLFRatio, 1.0F);
    for (double seconds = 0; seconds < 1.2 * longest + 0.8; seconds += blockFrames / rate) {
        output.clear();
        state->process({.parameters = &parameters,
                        .input = input.channels,
                        .output = output.channels,
                        .frames = blockFrames,
                        .vectors = input.vectors});
        input.clear();
        for (std::uint32_t c = 0; c < channelCount; ++c)
            response[c].insert(response[c].end(), output.channels[c], output.channels[c] + blockFrames);
    }
    return response;
}

double Decibels(double energy) {
    return 10 * std::log10(std::max(energy, 1e-30));
}

/// The root of the energy of the first-order channels in a band, frame by frame.
double BandTime(const Channels& response, double frequency) {
    std::vector<double> sum(response[0].size());
    for (std::uint32_t c = 0; c < 4; ++c) {
        const std::vector<double> band = testing_support::Band(response[c], frequency, rate);
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += band[i] * band[i];
    }
    std::transform(sum.begin(), sum.end(), sum.begin(), [](double energy) { return std::sqrt(energy); });
    return testing_support::DecayTime(sum, rate);
}

/// What the ratios ask for in a band: their rates of decay at and beyond the references, and between them and
/// 1 kHz the course of a shelf of the first order.
double AskedTime(const Parameters& p, double frequency) {
    const double time = p.decayTime, airRate = -20 * std::log10(p.airAbsorptionGainHF) * 343.3 / 60;
    const double highRate = std::max(1 / (time * p.decayHFRatio), p.decayHFLimit ? airRate : 0);
    const bool isHigh = frequency > 1000;
    const double reference = isHigh ? p.hfReference : p.lfReference;
    const double away = std::abs(std::log2(frequency / 1000)), most = std::abs(std::log2(reference / 1000));
    const double squared = std::exp2(2 * away - most), share = squared / (1 + squared);
    const double first = std::exp2(-most) / (1 + std::exp2(-most)), last = 1 - first;
    const double part = std::clamp((share - first) / (last - first), 0.0, 1.0);
    return 1 / ((1 - part) / time + part * (isHigh ? highRate : 1 / (time * p.decayLFRatio)));
}

/// Both ears, for spectra of the bus.
class Ears {
public:
    Ears() {
        const auto headphones = ReadHeadphones();
        const std::uint32_t length = headphones.Length();
        for (std::uint32_t c = 0; c < channelCount; ++c)
            for (std::uint32_t ear = 0; ear < 2; ++ear) {
                Signal response(transformLength);
                const auto& ring = headphones.impulses.data[std::size_t{c} * 2 + ear];
                for (std::uint32_t k = 0; k < headphones.width; ++k)
                    response[k] = ring.data[(headphones.start + k) % length];
                filters[ear].push_back(SpectrumOf(response));
            }
        MeasureDiffuseField();
    }

    struct Figures {
        double level = 0;        ///< dB of both ears, against a diffuse field whose W has the energy 1
        double correlation = 0;  ///< of the left and the right
        double diffuse = 0;      ///< that of a diffuse field with the spectrum of this one's W
    };

    Figures Measure(const Channels& response) {
        Spectra spectra;
        for (Signal channel : response) {
            channel.resize(transformLength);
            spectra.push_back(SpectrumOf(channel));
        }
        Powers heard, ofSpectrum, ofPink;
        for (std::uint32_t k = firstBin; k < lastBin; ++k) {
            heard.Add(EarsAt(k, [&](std::uint32_t c) { return spectra[c][k]; }), 1.0 / k);
            ofSpectrum.Add(diffuse[k], std::norm(spectra[0][k]) / k);
            ofPink.Add(diffuse[k], 1.0 / k);
        }
        return {Decibels((heard.left + heard.right) / (ofPink.left + ofPink.right)), heard.Correlation(),
                ofSpectrum.Correlation()};
    }

private:
    static constexpr std::uint32_t firstBin = 50 * transformLength / 48000;
    static constexpr std::uint32_t lastBin = transformLength / 3;  // 16 kHz

    struct Powers {
        double left = 0, right = 0, both = 0;

        double Correlation() const { return both / std::sqrt(left * right); }
        void Add(const Powers& other, double weight) {
            left += other.left * weight;
            right += other.right * weight;
            both += other.both * weight;
        }
    };

    template <typename Field>
    Powers EarsAt(std::uint32_t bin, const Field& field) const {
        std::array<std::complex<double>, 2> ears;
        for (std::uint32_t ear = 0; ear < 2; ++ear)
            for (std::uint32_t c = 0; c < channelCount; ++c)
                ears[ear] += field(c) * filters[ear][c][bin];
        return {std::norm(ears[0]), std::norm(ears[1]), (ears[0] * std::conj(ears[1])).real()};
    }

    // Plane waves of unequal signals from directions on Fibonacci's spiral.
    void MeasureDiffuseField() {
        constexpr int directions = 60;
        diffuse.resize(lastBin);
        for (int i = 0; i < directions; ++i) {
            const double z = (2 * i + 1.0) / directions - 1;
            const double around = i * std::numbers::pi * (3 - std::sqrt(5.0));
            const double flat = std::sqrt(1 - z * z);
            std::array<float, channelCount> e{};
            hcml::directionPolynomials(flat * std::cos(around), flat * std::sin(around), z, order, e.data());
            for (std::uint32_t k = firstBin; k < lastBin; ++k)
                diffuse[k].Add(EarsAt(k, [&](std::uint32_t c) { return double{e[c]}; }), 1.0 / directions);
        }
    }

    std::vector<std::complex<double>> SpectrumOf(const Signal& signal) {
        transform.setSize(transformLength);
        std::copy(signal.begin(), signal.end(), transform.timeBuffer);
        transform.ExecuteForward();
        return {transform.frequencyBuffer, transform.frequencyBuffer + transformLength / 2 + 1};
    }

    hcml::DFT<double> transform;
    std::array<Spectra, 2> filters;
    std::vector<Powers> diffuse;  // by bin
};

struct Figures {
    std::array<double, octaves.size()> times{};
    double onset = 0;                     // ms
    double level = 0;                     // dB, against a diffuse field of energy 1
    double density = 0;                   // of echoes, 150 ms after the onset
    double correlation = 0, diffuse = 0;  // of the ears
};

Figures FiguresOf(const Parameters& parameters, bool isRefined, bool isFull, Ears& ears) {
    const Channels response = ResponseOf(parameters, isRefined, isFull);
    Figures figures;
    std::transform(octaves.begin(), octaves.end(), figures.times.begin(),
                   [&](double frequency) { return BandTime(response, frequency); });
    const double onset = static_cast<double>(testing_support::Onset(response[0])) / rate;
    figures.onset = 1000 * onset;
    for (const double moment : {0.14, 0.15, 0.16})
        figures.density += testing_support::EchoDensity(response[0], onset + moment, rate) / 3;
    const Ears::Figures heard = ears.Measure(response);
    // What comes after the part that is heard.
    const auto end = response[0].begin() +
                     static_cast<std::ptrdiff_t>(std::min<std::size_t>(transformLength, response[0].size()));
    const double rest =
        testing_support::Energy(response[0]) / testing_support::Energy(Signal(response[0].begin(), end));
    figures.level = heard.level + Decibels(rest);
    figures.correlation = heard.correlation;
    figures.diffuse = heard.diffuse;
    return figures;
}

struct Row {
    const presets::ReverbPreset* preset;
    Parameters asked;
    Figures classic, refined;
};

/// A figure of a sound, or a dash where there is none to be heard.
std::string Shown(const Figures& figures, double value, int digits) {
    if (!(figures.level > -100)) return "-";
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

void PrintTimes(const std::vector<Row>& rows) {
    std::printf("| decay times in seconds: asked, Classic, Refined |");
    for (const double frequency : octaves)
        std::printf(" %.0f Hz |", frequency);
    std::printf("\n| --- |");
    for (std::size_t i = 0; i < octaves.size(); ++i)
        std::printf(" --- |");
    for (const Row& row : rows) {
        std::printf("\n| %s |", std::string(row.preset->name).c_str());
        for (std::size_t i = 0; i < octaves.size(); ++i)
            std::printf(" %.2f, %s, %.2f |", AskedTime(row.asked, octaves[i]),
                        Shown(row.classic, row.classic.times[i], 2).c_str(), row.refined.times[i]);
    }
    std::puts("\n");
}

void PrintRest(const std::vector<Row>& rows) {
    std::puts(
        "| asked, Classic, Refined | begins, ms | level, dB | echo density | correlation of the ears |\n"
        "| --- | --- | --- | --- | --- |");
    for (const Row& row : rows) {
        const Parameters& asked = row.asked;
        const Figures &c = row.classic, &r = row.refined;
        std::printf("| %s | %.0f, %s, %.0f | %.1f, %s, %.1f | %s, %.2f | %.2f, %s, %.2f |\n",
                    std::string(row.preset->name).c_str(),
                    1000 * (asked.reflectionsDelay + asked.lateReverbDelay), Shown(c, c.onset, 0).c_str(),
                    r.onset, 20 * std::log10(asked.gain * asked.lateReverbGain), Shown(c, c.level, 1).c_str(),
                    r.level, Shown(c, c.density, 2).c_str(), r.density, r.diffuse,
                    Shown(c, c.correlation, 2).c_str(), r.correlation);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bool isFull = argc < 2 || std::strcmp(argv[1], "--low") != 0;
    const std::vector<std::string> names(argv + (isFull ? 1 : 2), argv + argc);
    Ears ears;
    std::vector<Row> rows;
    for (const presets::ReverbPreset& preset : presets::ReverbPresets()) {
        if (!names.empty() && std::find(names.begin(), names.end(), preset.name) == names.end()) continue;
        const Parameters asked = ParametersOf(preset);
        rows.push_back(
            {&preset, asked, FiguresOf(asked, false, isFull, ears), FiguresOf(asked, true, isFull, ears)});
    }
    PrintTimes(rows);
    PrintRest(rows);
}
