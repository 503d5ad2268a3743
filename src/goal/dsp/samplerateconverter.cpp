#include "goal/dsp/samplerateconverter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>
#include <utility>

#include "numeric/kernels/sinckernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::uint32_t phasesLog2OfAll = 6;
constexpr std::uint32_t ringMask = converterRingFrames - 1;
constexpr std::uint32_t mostPlainTaps = 16;

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
    std::array<double, mostPlainTaps> values{};
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

struct SampleRateConverter::Tables {
    SincQuality quality;
    std::uint32_t tapsLog2, phasesLog2, filterCount;
    float ratioScale;
    hcml::AlignedFloats floats;
    std::optional<BlendedSincSeries> series;
};

SampleRateConverter::Tables SampleRateConverter::PlainTables(const Design& design) {
    const std::uint32_t phases = 1U << phasesLog2OfAll;
    const std::uint32_t taps = 1U << design.tapsLog2;
    hcml::AlignedFloats floats =
        hcml::AllocateAlignedFloats(std::uint64_t{design.filterCount} * phases * taps);
    float* row = floats.get();
    for (std::uint32_t filter = 0; filter < design.filterCount; ++filter) {
        const WindowPoint point = Interpolate(design.points, filter);
        const double logRatio = filter / static_cast<double>(design.ratioScale);
        const double cutoff = point.cutoffFactor * std::exp(-logRatio);
        // A little over 1, and more so for a narrow filter: that gives back some of what its slope takes off
        // the top of the band.
        const double sum = 1.0029 + 0.00425 * logRatio;
        for (std::uint32_t phase = 0; phase < phases; ++phase, row += taps)
            FillRow(row, taps, static_cast<double>(phase) / phases, point, cutoff, sum);
    }
    return {design.quality,    design.tapsLog2,   phasesLog2OfAll, design.filterCount,
            design.ratioScale, std::move(floats), std::nullopt};
}

SampleRateConverter::Tables SampleRateConverter::BestTables() {
    BlendedSincSeries series;
    const hcml::BlendedSincFilter& first = series.filters[0];
    const float scale = BlendedSincSeries::filtersPerOctave / std::numbers::ln2_v<float>;
    return {SincQuality::Best,
            static_cast<std::uint32_t>(std::countr_zero(first.taps)),
            first.phasesLog2,
            static_cast<std::uint32_t>(series.filters.size()),
            scale,
            nullptr,
            std::move(series)};
}

SampleRateConverter::SampleRateConverter(SincQuality quality)
    : SampleRateConverter(quality == SincQuality::Best ? BestTables() : PlainTables(DesignOf(quality))) {}

SampleRateConverter::SampleRateConverter(Tables tables)
    : quality(tables.quality),
      tapsLog2(tables.tapsLog2),
      phasesLog2(tables.phasesLog2),
      filterCount(tables.filterCount),
      ratioScale(tables.ratioScale),
      coefficients(tables.series ? tables.series->floats.get() : tables.floats.get()),
      series(std::move(tables.series)),
      start(Start()),
      table(std::move(tables.floats)) {}

ConverterCursor SampleRateConverter::Start() const {
    ConverterCursor cursor;
    cursor.coefficients = coefficients;
    cursor.tapsLog2 = tapsLog2;
    cursor.phasesLog2 = phasesLog2;
    cursor.filterCount = filterCount;
    cursor.taps = 1U << tapsLog2;
    cursor.preRoll = (series ? BlendedSincSeries::mostTaps : cursor.taps) / 2 - 1;
    cursor.ratioScale = ratioScale;
    cursor.filterShift = tapsLog2 + phasesLog2;
    if (series) cursor.series = series->filters.data();
    setRatio(cursor, 1);
    return cursor;
}

namespace {

// Of the filters for ratios below and above, the nearer one. Its window has the same two frames in the middle
// as that of the filter before.
void ChooseBlended(ConverterCursor& state, double ratio) {
    double index = 0;
    if (ratio > 1)
        index = std::min(std::log(ratio) * static_cast<double>(state.ratioScale) + 0.5,
                         static_cast<double>(state.filterCount - 1));
    const hcml::BlendedSincFilter& chosen = state.series[static_cast<std::size_t>(index)];
    // Unsigned, and so right for a longer window too.
    state.readPosition += (state.taps / 2 - chosen.taps / 2) << converterFractionBits;
    state.taps = chosen.taps;
    state.phasesLog2 = chosen.phasesLog2;
    state.filter = chosen.rows;
}

}  // namespace

void setRatio(ConverterCursor& state, double ratio) {
    constexpr double one = 1U << converterFractionBits;
    constexpr std::uint32_t top = 1U << 28;
    const double step = ratio * one + 0.5;
    if (!(step > 1))
        state.step = 1;
    else
        state.step = step > top ? top : static_cast<std::uint32_t>(step);
    if (state.series != nullptr) return ChooseBlended(state, ratio);
    state.filter = state.coefficients;
    if (!(ratio > 1)) return;
    const double index = std::min(std::log(ratio) * static_cast<double>(state.ratioScale),
                                  static_cast<double>(state.filterCount - 1));
    state.filter += static_cast<std::size_t>(index) << state.filterShift;
}

void planBlock(ConverterCursor& state, std::uint32_t available, std::uint32_t wanted, std::uint32_t& toPush,
               std::uint32_t& toProduce) {
    constexpr std::uint32_t ring = converterRingFrames << converterFractionBits;
    // A longer filter finds the frames before the window.
    const std::uint32_t history = historyOf(state);
    if (state.writeIndex >= converterRingFrames &&
        state.readPosition >= ring + (history << converterFractionBits)) {
        state.writeIndex -= converterRingFrames;
        state.readPosition -= ring;
    }
    // In 64 bits, for `available` may be a whole buffer. All are 19-bit fixed point.
    const auto frames = [](std::uint64_t count) { return count << converterFractionBits; };
    const std::uint64_t written = frames(state.writeIndex);
    const std::uint64_t read = state.readPosition;
    const std::uint64_t ringEnd = frames((read >> converterFractionBits) + converterRingFrames - history);
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

constexpr std::uint32_t fractionMask = (1U << converterFractionBits) - 1;

// Outputs whose windows start before frame `end`, the first at `position`.
std::uint32_t OutputsBefore(std::uint32_t end, std::uint32_t position, std::uint32_t step) {
    return ((end << converterFractionBits) - position - 1) / step + 1;
}

// Windows that lie one after the other in `input`, the first of them at `position`.
void Filter(const ConverterCursor& state, float* target, std::uint32_t count, const float* input,
            std::uint32_t position) {
    const hcml::SincWalk walk{position, state.step};
    if (state.series != nullptr)
        hcml::ProduceBlendedSinc(target, count, input, {state.filter, state.taps, state.phasesLog2}, walk);
    else
        hcml::ProduceSinc(target, count, input, {state.filter, state.taps}, walk);
}

// One channel: what its ring holds, and the frames that follow.
struct ChannelInput {
    const float* ring;
    const float* frames;
    std::uint32_t count;
};

// So many more windows than begin in the ring are filtered with those that do: a kernel is quicker with whole
// vectors.
constexpr std::uint32_t windowsBeyondRing = 16;

// A run of windows that begin in the ring, the first at `position`, in a copy of it with the first of the
// frames that follow. Returns the outputs made.
std::uint32_t FilterFromRing(const ConverterCursor& state, std::uint32_t position, const ChannelInput& input,
                             float* target, std::uint32_t count) {
    std::array<float, std::size_t{2} * BlendedSincSeries::mostTaps> windows;
    const std::uint32_t first = position >> converterFractionBits;
    const auto room = static_cast<std::uint32_t>(windows.size());
    const std::uint32_t old = std::min(state.writeIndex - first, room);
    for (std::uint32_t i = 0; i < old; ++i)
        windows[i] = input.ring[(first + i) & ringMask];
    const std::uint32_t fresh = std::min({input.count, state.taps - 1 + windowsBeyondRing, room - old});
    std::copy_n(input.frames, fresh, windows.begin() + old);
    position &= fractionMask;
    count = std::min(count, OutputsBefore(old + fresh + 1 - state.taps, position, state.step));
    Filter(state, target, count, windows.data(), position);
    return count;
}

void ConvertChannel(const ConverterCursor& state, const ChannelInput& input, float* target,
                    std::uint32_t count) {
    std::uint32_t position = state.readPosition;
    while (count > 0 && position >> converterFractionBits < state.writeIndex) {
        const std::uint32_t made = FilterFromRing(state, position, input, target, count);
        position += made * state.step;
        target += made;
        count -= made;
    }
    if (count == 0) return;
    position -= state.writeIndex << converterFractionBits;
    Filter(state, target, count, input.frames, position);
}

// Adds frames to a ring that holds some up to `end`, in one piece up to its own end and one from its start.
void Append(float* ring, std::uint32_t end, const float* frames, std::uint32_t count) {
    while (count > 0) {
        const std::uint32_t place = end & ringMask;
        const std::uint32_t run = std::min(count, converterRingFrames - place);
        std::copy_n(frames, run, ring + place);
        end += run;
        frames += run;
        count -= run;
    }
}

// Moves on by some outputs. Where no later window reaches back to what is in the ring, that begins anew, at
// its start. Returns how many of the `count` frames that follow it no window reaches back to, either.
std::uint32_t Advance(ConverterCursor& state, std::uint32_t count, std::uint32_t outputs) {
    state.readPosition += outputs * state.step;
    const std::uint32_t needed = (state.readPosition >> converterFractionBits) - historyOf(state);
    if (needed < state.writeIndex) return 0;
    const std::uint32_t passed = std::min(needed - state.writeIndex, count);
    state.readPosition -= (state.writeIndex + passed) << converterFractionBits;
    state.writeIndex = 0;
    return passed;
}

std::uint32_t ChannelsOf(const ConverterState&) {
    return 1;
}

std::uint32_t ChannelsOf(const MultiChannelConverterState& state) {
    return state.channels;
}

template <typename State>
void Convert(State& state, const ConverterInput& input, const ConverterOutput& output) {
    const std::uint32_t channels = ChannelsOf(state);
    const auto ringOf = [&](std::size_t c) { return state.ring.data + c * converterRingStride; };
    for (std::uint32_t c = 0; c < channels; ++c)
        ConvertChannel(state, {ringOf(c), input.channels[c], input.count}, output.channels[c] + output.offset,
                       output.count);
    const std::uint32_t passed = Advance(state, input.count, output.count);
    const std::uint32_t kept = input.count - passed;
    for (std::uint32_t c = 0; c < channels; ++c)
        Append(ringOf(c), state.writeIndex, input.channels[c] + passed, kept);
    state.writeIndex += kept;
}

}  // namespace

float produce(ConverterState& state) {
    float value = 0;
    produce(state, &value, 1);
    return value;
}

void produce(ConverterState& state, float* target, std::uint32_t count) {
    const float* nothing = nullptr;
    Convert(state, {&nothing, 0}, {&target, 0, count});
}

void convert(ConverterState& state, const ConverterInput& input, const ConverterOutput& output) {
    Convert(state, input, output);
}

void convert(MultiChannelConverterState& state, const ConverterInput& input, const ConverterOutput& output) {
    Convert(state, input, output);
}

}  // namespace goal
