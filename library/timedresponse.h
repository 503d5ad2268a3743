#pragma once

// Impulse responses with a place in time, and the filters from which decoders for speakers are made. Used by
// the speaker designer; plain values, usable from any thread.

#include <Eigen/Core>

namespace design {

/// taps[i] is at sample first + i; time zero is sample 0. Without taps it is silence.
struct TimedResponse {
    Eigen::Index first = 0;
    Eigen::VectorXd taps;

    static TimedResponse Impulse(double gain) { return {0, Eigen::VectorXd::Constant(1, gain)}; }

    /// One past the last sample.
    Eigen::Index End() const { return first + taps.size(); }

    /// Adds `gain` times `other`.
    void Add(const TimedResponse& other, double gain);
};

TimedResponse Convolve(const TimedResponse& a, const TimedResponse& b);

/// A low-pass of linear phase about time zero, with half amplitude at `frequency` (Hz) and unit gain at 0 Hz;
/// an impulse less this is the matching high-pass, so both together pass everything unchanged. Its length is
/// two periods to each side.
TimedResponse LowPass(double frequency, double sampleRate);

/// Passes everything at unit gain and advances (`sign` 1) or delays (`sign` -1) its phase by 90 degrees above
/// about 100 Hz, about time zero; below, and next to half the rate, the shift dwindles to nothing. 21 ms
/// long.
TimedResponse QuarterTurn(double sign, double sampleRate);

/// Delays by `seconds`, 0 or more, by a windowed sinc where that isn't a whole number of samples.
TimedResponse Delay(double seconds, double sampleRate);

/// What a speaker and a sub-woofer share a signal by.
enum class CrossoverPart {
    Bass,     ///< what goes to the sub-woofer
    Rest,     ///< what stays with a small speaker
    AllPass,  ///< both together, for the speakers that keep all of it: unit gain, the same phase
};

/// A crossover of 24 dB an octave at `frequency` Hz, whose parts add up to unit gain (Linkwitz 1976). Causal,
/// up to where it has died away by 100 dB.
TimedResponse LinkwitzRiley(CrossoverPart part, double frequency, double sampleRate);

/// Takes the nearness of a speaker at `distance` metres out of the harmonics of a degree, so that they add up
/// to a plane wave (Daniel 2003). Causal; below some 25 Hz it dwindles, as its response is let fade after 12
/// ms.
TimedResponse NearFieldCompensation(unsigned degree, double distance, double sampleRate);

}  // namespace design
