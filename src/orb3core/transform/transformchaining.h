#pragma once

// Chains transforms, for the format library: the result does in one step what the signal's way through all of
// them does. At set-up, in double precision; no state.

#include <complex>
#include <cstdint>

#include "numeric/dft.h"
#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"
#include "orb3core/transform/timedomaintransform.h"

namespace orb3::strans {

/// A transform whose rings are stored as their spectra, of length/2 + 1 bins each. A working form.
struct FrequencyDomainTransform {
    double sampleRate = 0;    ///< Hz
    std::uint32_t start = 0;  ///< samples, as in the time domain
    std::uint32_t width = 0;
    hcml::GenericMatrix<hcml::GenericVector<std::complex<double>, 1>, 0> impulses;  ///< inputs by outputs
};

/// Makes all rings `length` samples long, which is no less than they are. A window that reaches over the end
/// of the ring still does, so that what comes before time zero stays before it; any other one stays put.
template <typename T>
void GrowRings(TimeDomainTransform<T, 1>& transform, std::uint32_t length);

/// The spectra of `transform`, grown to the size of `dft`, which is no less than its length.
FrequencyDomainTransform ToFrequencyDomain(const TimeDomainTransform<double, 1>& transform,
                                           hcml::DFT<double>& dft);

/// The way back, times `gain`.
TimeDomainTransform<double, 1> ToTimeDomain(const FrequencyDomainTransform& transform, hcml::DFT<double>& dft,
                                            double gain);

/// `first`, followed by `second`: the matrix product, bin by bin. Throws slib::BadDataException for
/// transforms whose channels, rings or rates don't match, for a window of no width, and for rings that can't
/// hold both windows, one after the other.
FrequencyDomainTransform chain(const FrequencyDomainTransform& first, const FrequencyDomainTransform& second);

extern template void GrowRings(TimeDomainTransform<float, 1>&, std::uint32_t);
extern template void GrowRings(TimeDomainTransform<double, 1>&, std::uint32_t);

}  // namespace orb3::strans
