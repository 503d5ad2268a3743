#include "numeric/sumofsquares.h"

#include <array>
#include <numeric>

namespace hcml {

float SumOfSquares(const float* samples, std::size_t count) {
    std::array<float, 16> lanes{};
    std::size_t i = 0;
    for (; count - i >= lanes.size(); i += lanes.size())
        for (std::size_t lane = 0; lane < lanes.size(); ++lane)
            lanes[lane] += samples[i + lane] * samples[i + lane];
    for (; i < count; ++i)
        lanes[0] += samples[i] * samples[i];
    return std::accumulate(lanes.begin(), lanes.end(), 0.0F);
}

}  // namespace hcml
