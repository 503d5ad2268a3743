#pragma once

// Where the head is at the end of a block, as a run follows a tracker: at the newest pose, but never faster
// there than a head turns, so that a tracker that begins to speak or jumps isn't heard as a jump. One that
// falls silent lets the head ease back to ahead. On the server's thread; allocates nothing.

#include <cstdint>

#include "goal/trackerinput.h"
#include "numeric/quaternion.h"
#include "slib/realtime.h"

namespace goal {

class HeadFollower {
public:
    static constexpr double longest = 2;     ///< s without a packet, after which the head looks ahead
    static constexpr double fastest = 1000;  ///< degrees a second

    /// The place of the head at the end of a block that begins at `now` (ns of platform::NowNanoseconds) and
    /// plays for `seconds`.
    hcml::Quaternion Next(const TrackedPose& pose, std::int64_t now, double seconds) SLIB_NONBLOCKING;

private:
    hcml::Quaternion head;
};

}  // namespace goal
