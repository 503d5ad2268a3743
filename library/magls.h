#pragma once

// Decoders from the channels of a sound field to the two ears of a head: exact in level and phase at low
// frequencies, in level alone where few channels can't hold the phase. Called by the designer; pure function,
// any thread.

#include <cstdint>

#include "library/headdata.h"
#include "library/headdecoder.h"

namespace design {

struct MaglsOptions {
    unsigned order = 4;  ///< 1 or more: (order + 1)² inputs
    /// Hz, where phases are given up. 0: as far as the order holds them at a head, which is 700 Hz for each,
    /// and up to 1800 Hz, where hearing hardly uses them.
    double crossover = 0;
    std::uint32_t ringLength = 512;   ///< samples, a power of two, 128 up to headTransformLength
    std::uint32_t startLatency = 64;  ///< samples of a response before time zero, under ringLength / 2
    double frontalEnergy = 1;         ///< FrontalEnergy of the result, above 0
};

/// Outputs are the left ear and the right; inputs are the channels 4 pi Y(u) that a unit plane wave from the
/// direction u leaves. Time zero is the passing of the wave at the head's centre.
///
/// Below the crossover, the least-squares fit to the head's spectra, errors relative to the level
/// there. Above, magnitude least squares (Schoerkhuber, Zaunschirm & Hoeldrich 2018): phases follow
/// those that the bin below was decoded with, and are refined in alternation with the covariance of the ears,
/// which is made that of the head in a diffuse field (Zaunschirm, Schoerkhuber & Hoeldrich 2018). From there
/// EarRefinement goes on, which counts the level difference between the ears as well. Between, over an
/// octave, phases turn gradually. A symmetric head gives an exactly symmetric decoder.
///
/// Throws slib::BadParameterException for options outside their ranges or an empty head.
HeadTransform DesignMagls(const HeadSpectra& head, const MaglsOptions& options);

}  // namespace design
