#include "goal/dsp/bandlimitedwave.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numeric/firfilter.h"
#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::uint32_t taps = 16;       // samples that a jump is spread over
constexpr std::uint32_t places = 64;     // of a jump between two samples, with lines between them
constexpr float cutoff = 0.44F;          // of the rate
constexpr Phase halfTurn = 0x80000000U;  // where a sawtooth and a square fall

// Both have the value after the jump where they jump.
float PlainSawtooth(Phase phase) {
    return static_cast<float>(static_cast<std::int32_t>(phase)) * 0x1p-31F;
}

float PlainSquare(Phase phase) {
    return static_cast<std::int32_t>(phase) < 0 ? -1.0F : 1.0F;
}

hcml::FIRFilter LowPass() {
    hcml::FIRFilter filter;
    filter.inverseRate = 1.0F / places;
    filter.window = hcml::FIRWindow::Hamming;
    filter.order = taps * places;
    hcml::designLowPass(filter, cutoff);
    return filter;
}

}  // namespace

// Sample k of row p lies k - taps/2 + p/places after the jump.
BandLimitedWaves::BandLimitedWaves() : rows(std::size_t{places + 1} * taps) {
    const hcml::FIRFilter filter = LowPass();
    double step = 0;
    for (std::uint32_t i = 0; i <= taps * places; ++i) {
        const double here = step + filter.taps[i] * 0.5;
        step += filter.taps[i];
        const std::uint32_t k = i / places, p = i % places;
        if (k < taps) rows[std::size_t{p} * taps + k] = static_cast<float>(k < taps / 2 ? here : here - 1);
        if (p == 0 && k > 0)
            rows[std::size_t{places} * taps + k - 1] = static_cast<float>(k - 1 < taps / 2 ? here : here - 1);
    }
}

void BandLimitedWaves::Fill(float* values, std::uint32_t count, Waveform waveform, const Oscillator& phase,
                            std::uint64_t step) const {
    const Phase first = phase.First(), small = Oscillator::SmallStep(step);
    switch (waveform) {
        case Waveform::Sinusoid:
            return phase.Fill(values, count, step, 0, SineAt);
        case Waveform::Square:
            phase.Fill(values, count, step, 0, PlainSquare);
            RoundJumps(values, count, 0 - first, small, 2);
            return RoundJumps(values, count, halfTurn - first, small, -2);
        case Waveform::Sawtooth:
            phase.Fill(values, count, step, 0, PlainSawtooth);
            return RoundJumps(values, count, halfTurn - first, small, -2);
        case Waveform::Triangle:
            break;
    }
    slib::ThrowUnreachable();
}

// The first sample is `toJump` before a jump of this height, and there is one in each turn, before it and
// after it.
void BandLimitedWaves::RoundJumps(float* values, std::uint32_t count, Phase toJump, Phase step,
                                  float height) const {
    if (step == 0) return;
    constexpr double half = taps * 0.5;
    const double samplesPerTurn = 0x1p32 / step;
    double jump = toJump / static_cast<double>(step);  // in samples from the first
    jump -= std::floor((jump + half) / samplesPerTurn) * samplesPerTurn;
    while (jump < count + half) {
        const double after = std::ceil(jump);
        const double place = (after - jump) * places;
        const auto row = static_cast<std::size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(row));
        const float* lower = rows.data() + row * taps;
        const auto first = static_cast<std::int32_t>(after - half);
        const std::int32_t begin = std::max(0, -first);
        const std::int32_t end =
            std::min(static_cast<std::int32_t>(taps), static_cast<std::int32_t>(count) - first);
        for (std::int32_t k = begin; k < end; ++k)
            values[first + k] += height * (lower[k] + part * (lower[k + std::int32_t{taps}] - lower[k]));
        jump += samplesPerTurn;
    }
}

}  // namespace goal
