#pragma once

// Turns in space as unit quaternions, on the bus's axes: X forward, Y left, Z up. Plain values; any thread,
// allocates nothing.

#include <algorithm>
#include <array>
#include <cmath>

#include "slib/realtime.h"

namespace hcml {

/// Row by row, for columns (X, Y, Z).
using RotationMatrix = std::array<std::array<double, 3>, 3>;

struct Quaternion {
    double w = 1, x = 0, y = 0, z = 0;

    bool operator==(const Quaternion&) const = default;
};

/// First `b`, then `a`.
inline Quaternion operator*(const Quaternion& a, const Quaternion& b) SLIB_NONBLOCKING {
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

/// Back again.
inline Quaternion Inverse(const Quaternion& q) SLIB_NONBLOCKING {
    return {q.w, -q.x, -q.y, -q.z};
}

inline double Dot(const Quaternion& a, const Quaternion& b) SLIB_NONBLOCKING {
    return a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Of length 1; no turn where the length is 0 or not finite.
inline Quaternion Normalised(const Quaternion& q) SLIB_NONBLOCKING {
    const double length = std::sqrt(Dot(q, q));
    if (!(length > 1e-9) || !std::isfinite(length)) return {};
    return {q.w / length, q.x / length, q.y / length, q.z / length};
}

/// The angle between two turns in radians, 0 to pi.
inline double AngleBetween(const Quaternion& a, const Quaternion& b) SLIB_NONBLOCKING {
    return 2 * std::acos(std::min(1.0, std::abs(Dot(a, b))));
}

/// From `a` at `share` 0 to `b` at 1, on the shorter way at an even speed (slerp: Shoemake 1985).
inline Quaternion Between(const Quaternion& a, Quaternion b, double share) SLIB_NONBLOCKING {
    double cosine = Dot(a, b);
    if (cosine < 0) b = {-b.w, -b.x, -b.y, -b.z}, cosine = -cosine;
    double shareOfA = 1 - share, shareOfB = share;
    if (cosine < 1 - 1e-9) {
        const double angle = std::acos(cosine);
        shareOfA = std::sin(shareOfA * angle) / std::sin(angle);
        shareOfB = std::sin(shareOfB * angle) / std::sin(angle);
    }
    return Normalised({shareOfA * a.w + shareOfB * b.w, shareOfA * a.x + shareOfB * b.x,
                       shareOfA * a.y + shareOfB * b.y, shareOfA * a.z + shareOfB * b.z});
}

inline RotationMatrix ToMatrix(const Quaternion& q) SLIB_NONBLOCKING {
    const auto& [w, x, y, z] = q;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

/// The turn of a head, angles in radians: first `roll` about forward, the right ear downwards, then `pitch`
/// upwards, then `yaw` to the left.
inline Quaternion FromYawPitchRoll(double yaw, double pitch, double roll) SLIB_NONBLOCKING {
    const Quaternion left{std::cos(yaw / 2), 0, 0, std::sin(yaw / 2)};
    const Quaternion upwards{std::cos(pitch / 2), 0, -std::sin(pitch / 2), 0};
    const Quaternion over{std::cos(roll / 2), std::sin(roll / 2), 0, 0};
    return left * upwards * over;
}

/// The inverse of FromYawPitchRoll: {yaw, pitch, roll}.
inline std::array<double, 3> ToYawPitchRoll(const Quaternion& q) SLIB_NONBLOCKING {
    const RotationMatrix m = ToMatrix(q);
    return {std::atan2(m[1][0], m[0][0]), std::asin(std::clamp(m[2][0], -1.0, 1.0)),
            std::atan2(m[2][1], m[2][2])};
}

}  // namespace hcml
