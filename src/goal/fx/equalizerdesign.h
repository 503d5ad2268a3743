#pragma once

// The sections of the equalizer: a low and a high shelf in one, and two peaks.
//
// First-order shelves and second-order peaks around an all-pass filter, after P. A. Regalia and S. K. Mitra,
// "Tunable Digital Frequency Response Equalization Filters" (IEEE Transactions on Acoustics, Speech and
// Signal Processing, 1987), in the form of U. Zölzer (ed.), "DAFX: Digital Audio Effects". A cut is the
// inverse of the boost by the same factor. Called by the equalizer's states on the server's thread.

#include <array>

#include "goal/dsp/onepole.h"
#include "goal/fx/equalizerparameters.h"
#include "numeric/kernels/cascadekernel.h"

namespace goal::fx {

class EqualizerDesign {
public:
    /// For a rate in Hz.
    explicit EqualizerDesign(double sampleRate);

    /// The shelves, the first peak, the second.
    std::array<hcml::SecondOrderCoefficients, hcml::sectionsPerCascade> Sections(
        const orb3::fx::ParametricEQParameters& parameters) const;

private:
    double Tangent(double frequency) const;
    hcml::SecondOrderCoefficients Shelves(const orb3::fx::ParametricEQParameters& parameters) const;
    hcml::SecondOrderCoefficients Peak(double gain, double center, double width) const;

    const double sampleRate;  // Hz
    const double piOverRate, twoPiOverRate;
};

/// What the section remembers from block to block, as KeptInMemory has it.
inline void Settle(hcml::SecondOrderSection& section) {
    section.s0 = KeptInMemory(section.s0);
    section.s1 = KeptInMemory(section.s1);
}

}  // namespace goal::fx
