#pragma once

// The static curve of the compressor. Called by its states on the server's thread.

#include <bit>
#include <cstdint>
#include <numbers>

namespace goal::fx {

/// What is added to each power, so that silence has a gain too.
inline constexpr double lowestPower = 1e-5;

/// The logarithm to base 2, within 2e-7 of itself or of 1, for what isn't denormal or 0. In m = 2^e * r, with
/// r from sqrt(1/2) to sqrt(2), the logarithm of r is the series of the inverse hyperbolic tangent. Any bits,
/// those of what isn't a number too, give a number within ±130.
inline float Log2(float value) {
    constexpr auto rootOfHalf = std::bit_cast<std::int32_t>(std::numbers::sqrt2_v<float> / 2);
    constexpr float scale = 2 / std::numbers::ln2_v<float>;
    const auto bits = std::bit_cast<std::int32_t>(value);
    const std::int32_t e = (bits - rootOfHalf) >> 23;
    const auto r = std::bit_cast<float>(bits - e * (1 << 23));
    const float s = (r - 1) / (r + 1);
    const float s2 = s * s;
    return static_cast<float>(e) + scale * s * (1 + s2 * (1.0F / 3 + s2 * (1.0F / 5 + s2 * (1.0F / 7))));
}

/// 2^value within 3e-7, for values within ±120: the power of the nearest integer, and the series of the rest.
inline float Exp2(float value) {
    constexpr std::int32_t bias = 127;
    const std::int32_t whole = static_cast<std::int32_t>(value + (bias + 0.5F)) - bias;
    const float x = (value - static_cast<float>(whole)) * std::numbers::ln2_v<float>;
    const float power =
        1 + x * (1 + x * (1.0F / 2 + x * (1.0F / 6 + x * (1.0F / 24 + x * (1.0F / 120 + x * (1.0F / 720))))));
    return power * std::bit_cast<float>((whole + bias) * (1 << 23));
}

/// The gain at a power, above 0: a compression by 3 to 1.
inline float CurveAt(float power) {
    return Exp2(-0.3333F * Log2(power));
}

}  // namespace goal::fx
