#pragma once

// What values a parameter of an effect takes, found by asking it.

#include <cstdint>
#include <utility>
#include <vector>

#include "goal/state/effectprocessorparameters.h"

namespace testing_support {

/// Whether the parameter takes that value, in its form.
inline bool SetParameter(goal::EffectProcessorParameters& parameters, std::int32_t name, float value) {
    return parameters.setParameterf(name, value) || parameters.setParameteri(name, int(value));
}

/// The least and the greatest value that a parameter takes, of all the limits that there are. Both are 0 for
/// one that takes none of them.
inline std::pair<float, float> RangeOf(goal::EffectProcessorParameters& parameters, std::int32_t name) {
    std::vector<float> taken;
    for (const float limit :
         {-180.f, -1.f,   0.f,    0.004f, 0.01f, 0.016f, 0.04f, 0.075f, 0.1f,   0.126f, 0.207f, 0.25f,
          0.3f,   0.404f, 0.892f, 0.99f,  1.f,   2.f,    3.16f, 4.f,    7.943f, 10.f,   20.f,   50.f,
          80.f,   180.f,  200.f,  800.f,  1e3f,  3e3f,   4e3f,  8e3f,   16e3f,  20e3f,  24e3f})
        if (SetParameter(parameters, name, limit)) taken.push_back(limit);
    return taken.empty() ? std::pair(0.f, 0.f) : std::pair(taken.front(), taken.back());
}

}  // namespace testing_support
