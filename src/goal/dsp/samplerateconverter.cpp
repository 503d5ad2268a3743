#include "goal/dsp/samplerateconverter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "numeric/kernels/sinckernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::uint32_t phasesLog2OfAll = 6;
constexpr std::uint32_t ringMask = converterRingFrames - 1;
constexpr std::uint32_t maximumTaps = 16;

// The window from one filter of the series on: 1 - sum of terms[k] * (1 - cos((k + 1) * pi * x / half)) at x
// frames from its middle, and the factor that corrects the nominal cut-off.
struct WindowPoint {
    double filter;
    double cutoffFactor;
    std::array<double, 3> terms;
};

WindowPoint Interpolate(const std::array<WindowPoint, 4>& points, double filter) {
    std::size_t upper = 1;
    while (points[upper].filter < filter)
        ++upper;
    const WindowPoint& a = points[upper - 1];
    const WindowPoint& b = points[upper];
    const double t = (filter - a.filter) / (b.filter - a.filter);
    WindowPoint result{filter, std::lerp(a.cutoffFactor, b.cutoffFactor, t), {}};
    for (std::size_t k = 0; k < result.terms.size(); ++k)
        result.terms[k] = std::lerp(a.terms[k], b.terms[k], t);
    return result;
}

double Window(const WindowPoint& point, double x, double half) {
    if (std::abs(x) >= half) return 0;
    double value = 1;
    for (std::size_t k = 0; k < point.terms.size(); ++k)
        value -= point.terms[k] * (1 - std::cos(static_cast<double>(k + 1) * std::numbers::pi * x / half));
    return value;
}

// Ideal low-pass: cut-off as a fraction of the Nyquist rate, x in frames.
double Sinc(double cutoff, double x) {
    return x == 0 ? cutoff : std::sin(std::numbers::pi * cutoff * x) / (std::numbers::pi * x);
}

// All phases of a row have the same sum, or a constant signal would come out with a ripple.
void FillRow(float* row, std::uint32_t taps, double phase, const WindowPoint& point, double cutoff,
             double sum) {
    const double half = taps * 0.5;
    std::array<double, maximumTaps> values{};
    double total = 0;
    for (std::uint32_t tap = 0; tap < taps; ++tap) {
        const double x = tap - (half - 1) - phase;
        values[tap] = Sinc(cutoff, x) * Window(point, x, half);
        total += values[tap];
    }
    for (std::uint32_t tap = 0; tap < taps; ++tap)
        row[tap] = static_cast<float>(values[tap] * sum / total);
}

}  // namespace

// The terms of the windows were found by a numerical search for the highest signal-to-noise ratio, in
// decibels averaged over the octaves from 1 kHz to 19 kHz at 44.1 kHz, together with the attenuation
// from 1.15 times the cut-off on, for cut-offs below the Nyquist rate. The search for SincHigh kept to its
// established kernels, which are wide in the passband, within 0.003 of a coefficient; without that tie it
// would gain 3 dB at 1 kHz. Filters between two points have a window between theirs.
struct SampleRateConverter::Design {
    SincQuality quality;
    std::uint32_t tapsLog2;
    std::uint32_t filterCount;
    float ratioScale;
    std::array<WindowPoint, 4> points;
};

const SampleRateConverter::Design& SampleRateConverter::DesignOf(SincQuality quality) {
    static constexpr std::array<Design, 3> designs{Design{SincQuality::Low,
                                                          2,
                                                          16,
                                                          23.0831F,
                                                          {WindowPoint{0, 1, {0.3659, -0.0024, -0.0343}},
                                                           {5, 1, {0.4680, 0.0019, 0.0197}},
                                                           {10, 1, {0.4849, 0.0215, 0}},
                                                           {15, 1, {0.3543, -0.0990, 0}}}},
                                                   Design{SincQuality::Medium,
                                                          3,
                                                          32,
                                                          23.0831F,
                                                          {WindowPoint{0, 1, {0.4579, -0.0226, 0.0045}},
                                                           {10, 1, {0.4920, -0.0419, 0}},
                                                           {20, 1, {0.4911, 0.0015, 0}},
                                                           {31, 1, {0.4613, 0.0129, 0}}}},
                                                   Design{SincQuality::High,
                                                          4,
                                                          64,
                                                          30.7775F,
                                                          {WindowPoint{0, 0.9969, {0.4745, -0.0644, -0.0229}},
                                                           {10, 1.0059, {0.4779, -0.0493, 0.0026}},
                                                           {32, 1.0035, {0.4522, -0.0370, 0.0184}},
                                                           {63, 0.9677, {0.4302, -0.0831, 0.0255}}}}};
    for (const Design& design : designs)
        if (design.quality == quality) return design;
    slib::ThrowUnreachable();
}

SampleRateConverter::SampleRateConverter(SincQuality quality)
    : SampleRateConverter(DesignOf(quality),
                          hcml::AllocateAlignedFloats(std::uint64_t{DesignOf(quality).filterCount}
                                                      << (DesignOf(quality).tapsLog2 + phasesLog2OfAll))) {}

SampleRateConverter::SampleRateConverter(const Design& design, hcml::AlignedFloats floats)
    : quality(design.quality),
      tapsLog2(design.tapsLog2),
      phasesLog2(phasesLog2OfAll),
      filterCount(design.filterCount),
      ratioScale(design.ratioScale),
      coefficients(floats.get()),
      start(Start()),
      table(std::move(floats)) {
    const std::uint32_t phases = 1U << phasesLog2;
    const std::uint32_t taps = 1U << tapsLog2;
    float* row = table.get();
    for (std::uint32_t filter = 0; filter < filterCount; ++filter) {
        const WindowPoint point = Interpolate(design.points, filter);
        const double logRatio = filter / static_cast<double>(ratioScale);
        const double cutoff = point.cutoffFactor * std::exp(-logRatio);
        // A little over 1, and more so for a narrow filter: that gives back some of what its slope takes off
        // the top of the band.
        const double sum = 1.0029 + 0.00425 * logRatio;
        for (std::uint32_t phase = 0; phase < phases; ++phase, row += taps)
            FillRow(row, taps, static_cast<double>(phase) / phases, point, cutoff, sum);
    }
}

ConverterCursor SampleRateConverter::Start() const {
    ConverterCursor cursor;
    cursor.coefficients = coefficients;
    cursor.tapsLog2 = tapsLog2;
    cursor.phasesLog2 = phasesLog2;
    cursor.filterCount = filterCount;
    cursor.phaseShift = converterFractionBits - phasesLog2;
    cursor.phaseMask = (1U << phasesLog2) - 1;
    cursor.taps = 1U << tapsLog2;
    cursor.preRoll = cursor.taps / 2 - 1;
    cursor.ratioScale = ratioScale;
    cursor.filterShift = tapsLog2 + phasesLog2;
    setRatio(cursor, 1);
    return cursor;
}

void setRatio(ConverterCursor& state, double ratio) {
    constexpr double one = 1U << converterFractionBits;
    constexpr std::uint32_t top = 1U << 28;
    const double step = ratio * one + 0.5;
    if (!(step > 1))
        state.step = 1;
    else
        state.step = step > top ? top : static_cast<std::uint32_t>(step);
    state.filter = state.coefficients;
    if (!(ratio > 1)) return;
    const double index = std::min(std::log(ratio) * static_cast<double>(state.ratioScale),
                                  static_cast<double>(state.filterCount - 1));
    state.filter += static_cast<std::size_t>(index) << state.filterShift;
}

void planBlock(ConverterCursor& state, std::uint32_t available, std::uint32_t wanted, std::uint32_t& toPush,
               std::uint32_t& toProduce) {
    constexpr std::uint32_t ring = converterRingFrames << converterFractionBits;
    if (state.writeIndex >= converterRingFrames && state.readPosition >= ring) {
        state.writeIndex -= converterRingFrames;
        state.readPosition -= ring;
    }
    // In 64 bits, for `available` may be a whole buffer. All are 19-bit fixed point.
    const auto frames = [](std::uint64_t count) { return count << converterFractionBits; };
    const std::uint64_t written = frames(state.writeIndex);
    const std::uint64_t read = state.readPosition;
    const std::uint64_t ringEnd = frames((read >> converterFractionBits) + converterRingFrames);
    const std::uint64_t limit = std::min(ringEnd, written + frames(available));
    const std::uint64_t lastTap = read + frames(state.taps - 1);
    const std::uint64_t possible = limit > lastTap ? (limit - lastTap) / state.step : 0;
    if (possible == 0 || wanted == 0) {
        toProduce = 0;
        toPush = wanted == 0 ? 0 : static_cast<std::uint32_t>((limit - written) >> converterFractionBits);
        return;
    }
    toProduce = static_cast<std::uint32_t>(std::min<std::uint64_t>(possible, wanted));
    const std::uint64_t end = read + std::uint64_t{toProduce - 1} * state.step + frames(state.taps);
    toPush = end < written ? 0 : static_cast<std::uint32_t>((end - written) >> converterFractionBits);
}

namespace {

// The outputs of one pass of the loops below: their four partial sums each, then the rest of the sums.
constexpr std::uint32_t passOutputs = 64;
using PartialSums = std::array<float, std::size_t{4} * passOutputs>;

// Sums `taps` products by halves, down to four.
template <std::uint32_t taps>
void SumToFour(const float* row, const float* window, float* sums) {
    for (std::uint32_t lane = 0; lane < 4; ++lane) {
        if constexpr (taps == 16)
            sums[lane] = (row[lane] * window[lane] + row[lane + 8] * window[lane + 8]) +
                         (row[lane + 4] * window[lane + 4] + row[lane + 12] * window[lane + 12]);
        else if constexpr (taps == 8)
            sums[lane] = row[lane] * window[lane] + row[lane + 4] * window[lane + 4];
        else
            sums[lane] = row[lane] * window[lane];
    }
}

// Sums by halves from four to one. Apart from the sums to four, so that both loops run in vectors.
void SumToOne(const PartialSums& sums, float* target, std::uint32_t count) {
    const float* four = sums.data();
    for (std::uint32_t i = 0; i < count; ++i, four += 4)
        target[i] = (four[0] + four[2]) + (four[1] + four[3]);
}

const float* Row(const ConverterCursor& state, std::uint32_t position, std::uint32_t taps) {
    return state.filter + static_cast<std::size_t>((position >> state.phaseShift) & state.phaseMask) * taps;
}

// Copies `taps` samples of one channel from the ring, across its end where it must.
template <std::uint32_t taps>
void Gather(const float* ring, std::uint32_t channels, std::uint32_t start,
            std::array<float, maximumTaps>& window) {
    for (std::uint32_t tap = 0; tap < taps; ++tap)
        window[tap] = ring[std::size_t{(start + tap) & ringMask} * channels];
}

// The sums to four of one channel at `count` positions, at most passOutputs.
template <std::uint32_t taps>
void Filter(const ConverterCursor& state, const float* ring, std::uint32_t channels, PartialSums& sums,
            std::uint32_t count) {
    std::array<float, maximumTaps> window;
    std::uint32_t position = state.readPosition;
    for (std::uint32_t i = 0; i < count; ++i, position += state.step) {
        const std::uint32_t start = (position >> converterFractionBits) & ringMask;
        const float* row = Row(state, position, taps);
        if (channels == 1 && start <= converterRingFrames - taps) {
            SumToFour<taps>(row, ring + start, &sums[std::size_t{4} * i]);
        } else {
            Gather<taps>(ring, channels, start, window);
            SumToFour<taps>(row, window.data(), &sums[std::size_t{4} * i]);
        }
    }
}

// Outputs of a run of windows that starts at `position` before the windows start at frame `end`.
std::uint32_t OutputsBefore(std::uint32_t end, std::uint32_t position, std::uint32_t step) {
    return ((end << converterFractionBits) - position - 1) / step + 1;
}

// One run of windows that lie in the ring as they are, or, where they reach around its end, in a copy.
// Returns the outputs made.
std::uint32_t ProduceRun(const ConverterState& state, float* target, std::uint32_t count) {
    constexpr std::uint32_t mostTaps = 16;
    const hcml::SincFilter filter{state.filter, state.taps};
    const std::uint32_t firstAround = converterRingFrames + 1 - state.taps;
    const std::uint32_t position = state.readPosition & ((converterRingFrames << converterFractionBits) - 1);
    if (position >> converterFractionBits < firstAround) {
        count = std::min(count, OutputsBefore(firstAround, position, state.step));
        hcml::ProduceSinc(target, count, state.ring.data, filter, {position, state.step});
        return count;
    }
    std::array<float, std::size_t{2} * mostTaps> around{};
    for (std::uint32_t i = 0; i < 2 * (state.taps - 1); ++i)
        around[i] = state.ring.data[(firstAround + i) & (converterRingFrames - 1)];
    count = std::min(count, OutputsBefore(converterRingFrames, position, state.step));
    hcml::ProduceSinc(target, count, around.data(), filter,
                      {position - (firstAround << converterFractionBits), state.step});
    return count;
}

template <std::uint32_t taps>
void ProduceMany(MultiChannelConverterState& state, float* const* targets, std::uint32_t offset,
                 std::uint32_t count) {
    PartialSums sums;
    for (std::uint32_t done = 0; done < count; done += passOutputs) {
        const std::uint32_t part = std::min(count - done, passOutputs);
        for (std::uint32_t channel = 0; channel < state.channels; ++channel) {
            Filter<taps>(state, state.ring.data + channel, state.channels, sums, part);
            SumToOne(sums, targets[channel] + offset + done, part);
        }
        state.readPosition += part * state.step;
    }
}

}  // namespace

float produce(ConverterState& state) {
    float value = 0;
    produce(state, &value, 1);
    return value;
}

void produce(ConverterState& state, float* target, std::uint32_t count) {
    while (count > 0) {
        const std::uint32_t made = ProduceRun(state, target, count);
        state.readPosition += made * state.step;
        target += made;
        count -= made;
    }
}

void produce(MultiChannelConverterState& state, float* const* targets, std::uint32_t offset,
             std::uint32_t count) {
    if (state.taps == 4) return ProduceMany<4>(state, targets, offset, count);
    if (state.taps == 8) return ProduceMany<8>(state, targets, offset, count);
    ProduceMany<16>(state, targets, offset, count);
}

}  // namespace goal
