#include "goal/dsp/blendedsincseries.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace goal {
namespace {

// The ripple beyond the edges of this window (Kaiser 1974) is at -97 dB and lower.
constexpr double kaiserBeta = 9.5;
// From the cut-off to where the stopband begins: so much of the Nyquist rate, divided by the taps.
constexpr double edgeTaps = 7.6;
constexpr std::uint32_t leastTaps = 64;

// The modified Bessel function of the first kind of order 0, by its power series.
double BesselI0(double x) {
    double sum = 1;
    double term = 1;
    for (double k = 1; term > sum * 1e-17; ++k) {
        term *= (x / 2 / k) * (x / 2 / k);
        sum += term;
    }
    return sum;
}

// Half of the window, from its middle at 0 to its end at 1, by lines between points: within 2e-8.
class KaiserWindow {
public:
    KaiserWindow() {
        const double peak = BesselI0(kaiserBeta);
        for (std::size_t i = 0; i <= intervals; ++i) {
            const double place = static_cast<double>(i) / intervals;
            values[i] = BesselI0(kaiserBeta * std::sqrt(1 - place * place)) / peak;
        }
    }

    // At its very end it is 0, as beyond, or the row of phase 1 would not be that of phase 0 a tap later.
    double At(double place) const {
        if (place >= 1) return 0;
        const double scaled = place * intervals;
        const auto index = static_cast<std::size_t>(scaled);
        return values[index] + (scaled - static_cast<double>(index)) * (values[index + 1] - values[index]);
    }

private:
    static constexpr std::size_t intervals = 8192;
    std::array<double, intervals + 1> values;
};

// What a filter for this ratio takes to pass 20 of 24 kHz: taps in proportion to the ratio, and some more.
std::uint32_t TapsFor(double ratio) {
    if (ratio <= 1) return leastTaps;
    const auto sixteens = static_cast<std::uint32_t>(std::ceil(leastTaps / 16.0 * ratio)) + 1;
    return std::min(16 * sixteens, BlendedSincSeries::mostTaps);
}

// A lower cut-off makes for smoother rows, of which fewer do: the lines between them err by the square of
// cut-off over phases.
std::uint32_t PhasesLog2For(double ratio) {
    return ratio <= 2 ? 8 : ratio <= 4 ? 7 : 6;
}

double CutoffFor(double ratio, std::uint32_t taps) {
    return ratio <= 1 ? 1 : 1 / ratio - edgeTaps / taps;
}

std::size_t FloatsOf(const hcml::BlendedSincFilter& filter) {
    return ((std::size_t{1} << filter.phasesLog2) + 1) * filter.taps;
}

// Not brought to a sum of 1, which would take 6 dB from the signal-to-noise ratio at 1 kHz to give them to
// that of a constant. The sines are a recurrence.
void FillRow(float* row, std::uint32_t taps, double phase, double cutoff, const KaiserWindow& window) {
    const double half = taps * 0.5;
    const double angle = std::numbers::pi * cutoff;
    const double twiceCosine = 2 * std::cos(angle);
    double x = 1 - half - phase;
    double sine = std::sin(angle * x);
    double sineBefore = std::sin(angle * (x - 1));
    for (std::uint32_t tap = 0; tap < taps; ++tap, ++x) {
        const double sinc = x == 0 ? cutoff : sine / (std::numbers::pi * x);
        row[tap] = static_cast<float>(sinc * window.At(std::abs(x) / half));
        sineBefore = std::exchange(sine, twiceCosine * sine - sineBefore);
    }
}

// The upper half of the rows is the lower one mirrored.
void FillFilter(float* rows, const hcml::BlendedSincFilter& filter, double cutoff,
                const KaiserWindow& window) {
    const std::uint32_t phases = 1U << filter.phasesLog2;
    for (std::uint32_t p = 0; p <= phases / 2; ++p) {
        float* row = rows + std::size_t{p} * filter.taps;
        FillRow(row, filter.taps, static_cast<double>(p) / phases, cutoff, window);
        std::reverse_copy(row, row + filter.taps, rows + std::size_t{phases - p} * filter.taps);
    }
}

double RatioOfFilter(std::size_t filter) {
    return std::exp2(static_cast<double>(filter) / BlendedSincSeries::filtersPerOctave);
}

}  // namespace

BlendedSincSeries::BlendedSincSeries() {
    std::size_t count = 0;
    for (std::size_t f = 0; f < filters.size(); ++f) {
        filters[f].taps = TapsFor(RatioOfFilter(f));
        filters[f].phasesLog2 = PhasesLog2For(RatioOfFilter(f));
        count += FloatsOf(filters[f]);
    }
    floats = hcml::AllocateAlignedFloats(count);
    const KaiserWindow window;
    float* rows = floats.get();
    for (std::size_t f = 0; f < filters.size(); ++f) {
        filters[f].rows = rows;
        FillFilter(rows, filters[f], CutoffFor(RatioOfFilter(f), filters[f].taps), window);
        rows += FloatsOf(filters[f]);
    }
}

}  // namespace goal
