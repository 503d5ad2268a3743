#pragma once

// The running equalizer: a low shelf, two peaks and a high shelf over the whole sound field of its slot.
//
//     each channel ──> low and high shelf, one section ──> peak 1 ──> peak 2 ──> gain ──> the same channel
//
// First-order shelves and second-order peaks around an all-pass filter, after P. A. Regalia and S. K. Mitra,
// "Tunable Digital Frequency Response Equalization Filters" (IEEE Transactions on Acoustics, Speech and
// Signal Processing, 1987), in the form of U. Zölzer (ed.), "DAFX: Digital Audio Effects". A cut is the
// inverse of the boost by the same factor. Made and run by the renderer on the server's thread.

#include <vector>

#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/equalizerparameters.h"
#include "numeric/fixedcascadeprocessor.h"
#include "slib/realtime.h"

namespace goal::fx {

class EqualizerState_v2 : public EffectProcessorState {
public:
    EqualizerState_v2(const EqualizerParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    using Cascade = hcml::dsp::FixedCascadeProcessor<3>;

    double Tangent(double frequency) const;
    hcml::SecondOrderCoefficients Shelves(const orb3::fx::ParametricEQParameters& parameters) const;
    hcml::SecondOrderCoefficients Peak(double gain, double center, double width) const;

    const double sampleRate;  // Hz
    const double piOverRate, twoPiOverRate;
    std::vector<Cascade> cascades;       // one a channel
    std::vector<hcml::CascadeRow> rows;  // of the current block
};

}  // namespace goal::fx
