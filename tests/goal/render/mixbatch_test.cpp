#include "goal/render/mixbatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace goal {
namespace {

constexpr std::uint32_t frames = 128;
constexpr float step = 1.0F / 64;

// Weights that are `distances` from their targets, which a row of ones moves. All of it is exact in a float.
void TestMovingHeads(const std::vector<float>& distances) {
    const auto count = static_cast<std::uint32_t>(distances.size());
    hcml::FloatTupleVector row(frames);
    std::fill_n(row.data, frames, 1.0F);
    hcml::ac::Bus bus(frames, count);
    std::vector<float> targets(count), weights(count);
    for (std::uint32_t c = 0; c < count; ++c) {
        targets[c] = static_cast<float>(c) / 32 - 0.25F;
        weights[c] = targets[c] + distances[c];
    }
    AddMovingHeads(row, weights.data(), targets.data(), step, bus);
    for (std::uint32_t c = 0; c < count; ++c) {
        // After k samples the distance is shorter by k steps; the sum over those that don't arrive.
        const float length = std::abs(distances[c]), sign = distances[c] < 0 ? -1.0F : 1.0F;
        const float moves = std::clamp(std::ceil(length / step) - 1, 0.0F, float{frames});
        const float left = moves == float{frames} ? length - moves * step : 0;
        EXPECT_EQ(weights[c], targets[c] + sign * left) << c << " from " << distances[c];
        EXPECT_EQ(std::accumulate(bus.channels[c], bus.channels[c] + frames, 0.0F),
                  sign * (moves * length - step * moves * (moves + 1) / 2))
            << c << " from " << distances[c];
    }
}

TEST(MixBatch, MovingWeights_AddTheirDistanceUntilTheyArrive) {
    constexpr float little = step / 1024;
    const std::vector<float> near{0, little, -little, step - little, little - step, step, -step};
    TestMovingHeads(near);
    TestMovingHeads({});
    for (const float far : {step + little, 2 * step, 10.5F * step, 128 * step, 129 * step, 192 * step})
        for (std::size_t place = 0; place <= near.size(); ++place)
            for (const float distance : {far, -far}) {
                std::vector<float> distances = near;
                distances.insert(distances.begin() + static_cast<std::ptrdiff_t>(place), distance);
                TestMovingHeads(distances);
            }
}

}  // namespace
}  // namespace goal
