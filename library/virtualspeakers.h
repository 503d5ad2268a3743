#pragma once

// Speakers heard through headphones: what each of a layout's speakers sends to the ears of a head. Together
// with a decoder for the layout it makes a decoder for headphones. Called by the designer; pure functions,
// any thread.

#include "library/headdata.h"
#include "library/layouts.h"
#include "orb3core/transform/timedomaintransform.h"

namespace design {

/// Inputs are the layout's speakers, outputs the left ear and the right. Each decoded speaker is where the
/// head was measured nearest to it; a sub-woofer goes to both ears alike, at half its power each. Time zero
/// is the passing of the wave at the head's centre. What the decoder `gains`, of one sample a response, makes
/// of a diffuse field reaches the ears without colour. Throws slib::BadParameterException for an empty head.
orb3::strans::TimeDomainTransform<double, 1> EarsOfSpeakers(
    const HeadSpectra& head, const SpeakerLayout& layout,
    const orb3::strans::TimeDomainTransform<double, 1>& gains);

/// FrontalEnergy of the decoder `gains`, of one sample a response, followed by `ears`.
double FrontalEnergyOfChain(const orb3::strans::TimeDomainTransform<double, 1>& gains,
                            const orb3::strans::TimeDomainTransform<double, 1>& ears);

}  // namespace design
