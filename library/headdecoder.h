#pragma once

// What a decoder for headphones makes of a source: the spectra at both ears, and how loud it is. Used by the
// designer of such decoders and by the checks of them; pure functions, any thread.

#include <vector>

#include "library/headdata.h"
#include "orb3core/transform/timedomaintransform.h"

namespace design {

using HeadTransform = orb3::strans::TimeDomainTransform<double, 1>;

/// Spectra at the ears for unit plane waves from `directions`, like those of a head, of at least
/// `headTransformLength` / 2 + 1 bins. Throws slib::BadParameterException unless `transform` has (N + 1)²
/// inputs and two outputs.
HeadSpectra DecodedSpectra(const HeadTransform& transform, const std::vector<Direction>& directions);

/// Power of a unit source straight ahead, both ears added: the mean over the auditory bands one bandwidth
/// apart from 100 Hz to 16 kHz, so that each band counts the same, as it does for loudness. Throws as above.
double FrontalEnergy(const HeadTransform& transform);

/// The same of a diffuse field of unit power, over 4 pi. Throws as above.
double DiffuseEnergy(const HeadTransform& transform);

}  // namespace design
