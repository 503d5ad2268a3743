#pragma once

// What head trackers send: the six doubles of opentrack's "UDP over network", and messages of Open Sound
// Control 1.0. Nothing in a packet is trusted. Plain functions; any thread, allocates nothing.
//
//     opentrack        x, y, z in cm, then yaw, pitch, roll in degrees; little-endian, 48 bytes
//     .../ypr          three numbers: yaw, pitch, roll in degrees
//     .../quaternion   four numbers: w, x, y, z on the axes forward, left, up; "quaternions" too
//     .../centre       where the head is now is ahead; "center" too
//
// Yaw is positive to the left, pitch upwards, roll with the right ear downwards.

#include <cstddef>
#include <span>

#include "numeric/quaternion.h"

namespace goal {

struct TrackerPacket {
    enum class Kind {
        Unknown,  ///< nothing of ours
        Pose,
        Centre,
    };

    Kind kind = Kind::Unknown;
    hcml::Quaternion head;  ///< of a pose: where the head is turned to
};

/// Of several messages in a bundle the last one counts. A pose with a number that isn't finite is unknown.
TrackerPacket ParseTrackerPacket(std::span<const std::byte> packet);

}  // namespace goal
