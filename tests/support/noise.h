#pragma once

// Noise for tests: from -1 to 1, and the same in every run.

#include <algorithm>
#include <cstdint>
#include <random>
#include <type_traits>
#include <vector>

namespace testing_support {

using Signal = std::vector<float>;

/// Takes the samples from `generator`, a standard one, as it stands.
template <typename Samples, typename Generator>
void FillWithNoise(Samples& samples, Generator&& generator) {
    using Sample = std::remove_reference_t<decltype(*samples.begin())>;
    std::uniform_real_distribution<Sample> noise(-1, 1);
    std::generate(samples.begin(), samples.end(), [&] { return noise(generator); });
}

/// `count` samples, the same for the same seed.
template <typename Samples>
Samples Noise(std::uint32_t count, unsigned seed = 1) {
    Samples samples(count);
    FillWithNoise(samples, std::minstd_rand(seed));
    return samples;
}

}  // namespace testing_support
