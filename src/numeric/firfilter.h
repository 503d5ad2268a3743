#pragma once

// The design of linear-phase low-pass filters by the windowed sinc. No state; usable from any thread, at
// set-up.

#include <cstdint>

#include "numeric/genericvector.h"

namespace hcml {

enum class FIRWindow : std::int32_t { None = 0, Hamming = 1, Blackman = 2 };

/// A filter and what it was designed for. The taps are symmetric: the filter delays by order/2 samples.
struct FIRFilter {
    GenericVector<float, 1> taps;  ///< order + 1 of them
    float inverseRate = 0;         ///< seconds a sample
    FIRWindow window = FIRWindow::None;
    std::int32_t order = 0;  ///< even, 0 or more
};

/// Sets `taps` to a low-pass of gain 1 at 0 Hz and about 1/2 at `cutoff`, in Hz and above 0, from the other
/// fields. Throws slib::BadParameterException for an order that is odd or below 0, and for another cutoff.
void designLowPass(FIRFilter& filter, float cutoff);

}  // namespace hcml
