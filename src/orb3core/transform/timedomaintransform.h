#pragma once

// A transform in memory: the matrix of impulse responses that decodes one format into another. Made by the
// format library at set-up, read by the decoder; owned by one thread at a time.

#include <cstdint>

#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"

namespace orb3::strans {

/// Every impulse is a ring, and all have one length, a power of two where the decoder is to run it. Sample k
/// of a response, for k below `width`, is stored at index (start + k) modulo that length; the others are 0.
/// Index 0 is time zero: with a `start` above 0 the response begins length - start samples before it.
template <typename T, int Plain>
struct TimeDomainTransform {
    double sampleRate = 0;                                           ///< Hz
    std::uint32_t start = 0;                                         ///< index of a response's first sample
    std::uint32_t width = 0;                                         ///< samples of a response that count
    hcml::GenericMatrix<hcml::GenericVector<T, Plain>, 0> impulses;  ///< inputs by outputs

    /// Samples of each ring; 0 without impulses.
    std::uint32_t Length() const { return impulses.size == 0 ? 0 : impulses.data[0].size; }

    /// Throws slib::BadDataException, with all faults of the header or the first of the impulses, unless the
    /// rate is finite and above 0, the width above 0, the window inside the ring and all rings of one length.
    void validate() const;
};

extern template struct TimeDomainTransform<float, 1>;
extern template struct TimeDomainTransform<double, 1>;

}  // namespace orb3::strans
