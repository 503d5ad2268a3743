#include "goal/dsp/oversampler.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "numeric/firfilter.h"
#include "numeric/kernels/firkernel.h"

namespace goal {
namespace {

// Of `tapsPerPhase` * factor + 1 taps, for a lower rate of 1.
hcml::FIRFilter Prototype(std::uint32_t factor, std::uint32_t tapsPerPhase, float cutoff) {
    hcml::FIRFilter filter;
    filter.inverseRate = 1 / static_cast<float>(factor);
    filter.window = hcml::FIRWindow::Hamming;
    filter.order = static_cast<std::int32_t>(factor * tapsPerPhase);
    hcml::designLowPass(filter, cutoff);
    return filter;
}

// Every factor-th tap from `first` down, in the order of time, with a sum of `sum`. So a constant is the same
// in all phases.
hcml::FloatTupleVector TapsOfPhase(const hcml::FIRFilter& filter, std::uint32_t factor, std::uint32_t first,
                                   std::uint32_t count, double sum) {
    hcml::FloatTupleVector taps(count);
    for (std::uint32_t t = 0; t < count; ++t) {
        const std::uint32_t place = first - t * factor;
        taps.data[t] = place < filter.taps.size ? filter.taps[place] : 0;
    }
    const double whole = std::accumulate(taps.data, taps.data + count, 0.0);
    for (std::uint32_t t = 0; t < count; ++t)
        taps.data[t] = static_cast<float>(taps.data[t] * (sum / whole));
    return taps;
}

// Lets the last `kept` samples before the end of a chunk be those before the next one.
void KeepLast(hcml::FloatTupleVector& row, std::uint32_t kept, std::uint32_t count) {
    std::copy(row.data + count, row.data + count + kept, row.data);
}

}  // namespace

Oversampler::Oversampler(const Design& design, std::uint32_t chunkFrames)
    : design(design), input(design.upTaps + chunkFrames) {
    const std::uint32_t factor = design.factor;
    const auto there = Prototype(factor, design.upTaps, 0.5F);
    const auto back = Prototype(factor, design.downTaps, design.passed);
    for (std::uint32_t p = 0; p < factor; ++p) {
        phases[p].resize(design.downTaps + chunkFrames);
        // Sample p of frame n is that of p/factor frames later: taps p, p + factor, ... times the input at n,
        // n - 1, ...
        up[p] = TapsOfPhase(there, factor, p + (design.upTaps - 1) * factor, design.upTaps, 1);
        // Tap 0 is that of sample 0 of frame n, tap 1 that of the sample before, in frame n - 1, and so on.
        down[p] = TapsOfPhase(back, factor, design.downTaps * factor - p, design.downTaps + 1, 1.0 / factor);
    }
}

// At half the rate the filter is 0 but for its middle: phase 0 is the input itself, later.
void Oversampler::Up(std::uint32_t count) {
    std::copy_n(input.data + design.upTaps / 2, count, Phase(0));
    for (std::uint32_t p = 1; p < design.factor; ++p) {
        const hcml::FilteredRow row{input.data + 1, up[p].data};
        hcml::FilterRows(Phase(p), count, &row, 1, design.upTaps);
    }
    KeepLast(input, design.upTaps, count);
}

void Oversampler::Down(float* output, std::uint32_t count) {
    std::array<hcml::FilteredRow, mostFactor> rows;
    for (std::uint32_t p = 0; p < design.factor; ++p)
        rows[p] = {phases[p].data, down[p].data};
    hcml::FilterRows(output, count, rows.data(), design.factor, design.downTaps + 1);
    for (std::uint32_t p = 0; p < design.factor; ++p)
        KeepLast(phases[p], design.downTaps, count);
}

}  // namespace goal
