#pragma once

// The delay between the ears: how it is measured on a head or a decoder, and how it is made that of a smaller
// or larger head. Used by the designer and its checks; pure functions, any thread.

#include "library/headdata.h"

namespace design {

/// Seconds that the right ear is behind the left (positive for sources to the left), for each direction: the
/// lag of the greatest cross-correlation of the ears, low-passed at 1.5 kHz.
Eigen::VectorXd InterauralDelays(const HeadSpectra& spectra);

/// The radius in metres of the rigid sphere whose delays between the ears come nearest to the head's, over
/// all directions by least squares: the effective radius of Algazi, Avendano & Duda (2001), by the delays of
/// the sphere itself (Woodworth 1938 for high frequencies, Kuhn 1977 for low ones) in place of a formula.
double EffectiveRadius(const HeadSpectra& head);

/// Makes the delays between the ears `ratio` times as long, half of the change at either ear. Those of
/// a sphere grow as its radius does, at low frequencies and at high ones (Kuhn 1977), so one delay for a
/// direction does.
void ScaleInterauralDelays(HeadSpectra& head, double ratio);

}  // namespace design
