#pragma once

// Second-order sections in series, for one channel. Owned by an effect; the kernel runs the sections of many
// channels side by side (numeric/kernels/cascadekernel.h). A plain record; any thread.

#include <array>
#include <cstddef>

#include "numeric/kernels/cascadekernel.h"

namespace hcml::dsp {

template <std::size_t count>
struct FixedCascadeProcessor {
    std::array<SecondOrderSection, count> sections{};

    /// The new coefficients go on with the old memory.
    void SetCoefficients(const std::array<SecondOrderCoefficients, count>& coefficients) {
        for (std::size_t s = 0; s < count; ++s)
            static_cast<SecondOrderCoefficients&>(sections[s]) = coefficients[s];
    }
};

}  // namespace hcml::dsp
