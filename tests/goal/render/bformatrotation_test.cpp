#include "goal/render/bformatrotation.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(BFormatRotation, OfAPlaneWave_IsThatWaveHeardByTheListener) {
    std::mt19937 random(5);
    std::normal_distribution<float> normal;
    const auto vector = [&] { return goal::Vector3{normal(random), normal(random), normal(random)}; };
    const goal::SourceRadiusTable points(1);
    for (int round = 0; round < 1000; ++round) {
        const goal::Basis listener = goal::BuildBasis(vector(), vector()),
                          source = goal::BuildBasis(vector(), vector());
        // A one-channel source far away, heard by one turned as the source is.
        goal::SourceBaseParameters wave;
        wave.position = vector();
        const goal::Vector3 recorded = goal::LocateSource(wave, {}, source, points, 1).direction;
        for (const bool relative : {false, true}) {
            wave.relative = relative;
            const goal::Vector3 heard = goal::LocateSource(wave, {}, listener, points, 1).direction;
            const goal::RotationMatrix m = goal::BFormatRotation(listener, source, relative);
            for (std::size_t i = 0; i < 3; ++i)
                ASSERT_NEAR(m[i][0] * recorded[0] + m[i][1] * recorded[1] + m[i][2] * recorded[2], heard[i],
                            1e-6);
        }
    }
}

}  // namespace
