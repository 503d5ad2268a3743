#include "goal/headfollower.h"

#include <algorithm>
#include <numbers>

namespace goal {
namespace {

// From 0 to 1 and level at both ends.
double Eased(double share) {
    const double within = std::clamp(share, 0.0, 1.0);
    return within * within * (3 - 2 * within);
}

}  // namespace

hcml::Quaternion HeadFollower::Next(const TrackedPose& pose, std::int64_t now, double seconds) {
    constexpr double farthest = fastest * std::numbers::pi / 180;  // a second
    const hcml::Quaternion ahead;
    const double age = pose.time == 0 ? longest : pose.Age(now);
    const double back = Eased((age - TrackedPose::silence) / (longest - TrackedPose::silence));
    const hcml::Quaternion wanted = back < 1 ? Between(pose.head, ahead, back) : ahead;
    const double angle = AngleBetween(head, wanted), most = farthest * seconds;
    head = angle > most ? Between(head, wanted, most / angle) : wanted;
    return head;
}

}  // namespace goal
