#pragma once

// Moves a signal to another sample rate, with a linear-phase low-pass of long reach. For work at set-up, on
// one thread: a sample costs about 170 multiplications, between any two rates. The rates count in whole
// hertz.

#include <cstdint>

#include "numeric/firfilter.h"
#include "numeric/genericvector.h"

namespace hcml {

/// Resamples any number of vectors between the same two rates. It raises the rate by `up`, filters there, and
/// takes every `down`-th sample.
///
///     input ──> up - 1 zeros after every sample, times up ──> low-pass ──> every down-th ──> output
///
/// Of the filter only those taps are multiplied that meet a sample, for those outputs that are taken (the
/// polyphase form; Crochiere and Rabiner, 1983).
///
/// The low-pass passes what is below half the lower rate less about two transitions, stops what is above half
/// the lower rate, and is at -6 dB one transition below it. Its delay is taken out.
class VectorResampler {
public:
    /// `oldRate`, `newRate` and `transition` are in Hz. Throws slib::BadParameterException for a rate below
    /// 0.5 Hz or beyond 32 bits and for a transition that isn't above 0 or is too narrow to design for (more
    /// than 33 million taps at the raised rate), and slib::BadStateException for one of half the lower rate
    /// or more.
    VectorResampler(double oldRate, double newRate, double transition);

    /// Sets `output`, which may be `input`, to ceil(input.size * up / down) samples. Sample 0 of both is at
    /// the same time. What the low-pass spreads to before sample 0, or after the end, is cut off.
    void process(const GenericVector<float, 1>& input, GenericVector<float, 1>& output) const;

private:
    float SampleAt(std::uint64_t time, const GenericVector<float, 1>& input) const;

    std::uint32_t up = 1;
    std::uint32_t down = 1;
    std::uint32_t delay = 0;  // of the taps, at the raised rate
    FIRFilter lowPass;
};

/// Resamples one vector, as VectorResampler does: for those who have only one. The transforms of the format
/// library have many, and share a VectorResampler.
void resampleVector(const GenericVector<float, 1>& input, GenericVector<float, 1>& output, double oldRate,
                    double newRate, double transition);

}  // namespace hcml
