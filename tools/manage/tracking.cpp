#include "tools/manage/tracking.h"

#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <numbers>
#include <string_view>
#include <thread>

#include "goal/trackerinput.h"
#include "orb3core/settings/choicetexts.h"
#include "platform/clock.h"
#include "platform/packetsocket.h"
#include "slib/exception.h"
#include "tools/manage/history.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/gamestatus.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::HeadTracking;
using Angles = std::optional<HeadAngles>;

constexpr auto pause = std::chrono::milliseconds(50);

Tracking Of(const orb3::Configuration& configuration) {
    const orb3::GoalConfig& settings = configuration.goalConfig;
    return {settings.headTracking, static_cast<std::uint16_t>(settings.headTrackingPort)};
}

double Rounded(double degrees) {
    return std::round(degrees * 10) / 10 + 0.0;  // no "-0"
}

double Degrees(double radians) {
    return Rounded(radians * 180 / std::numbers::pi);
}

Angles Heard(const goal::TrackerInput& input) {
    const goal::TrackedPose pose = input.Newest();
    if (!pose.IsFresh(platform::NowNanoseconds())) return std::nullopt;
    const auto [yaw, pitch, roll] = hcml::ToYawPitchRoll(pose.head);
    return HeadAngles{Degrees(yaw), Degrees(pitch), Degrees(roll)};
}

Angles HeardByGames() {
    for (const GameStatus& game : StatusOfGames())
        if (game.isTrackerHeard)
            return HeadAngles{Rounded(game.headYaw), Rounded(game.headPitch), Rounded(game.headRoll)};
    return std::nullopt;
}

bool IsFree(std::uint16_t port) {
    try {
        const platform::PacketSocket socket(port);
        return true;
    } catch (const slib::OperatingSystemErrnoException&) {
        return false;
    }
}

bool IsSame(const Angles& a, const Angles& b) {
    return a.has_value() == b.has_value() &&
           (!a || (a->yaw == b->yaw && a->pitch == b->pitch && a->roll == b->roll));
}

}  // namespace

Tracking ReadTracking() {
    return Of(PeekDocument());
}

Tracking SetTracking(std::optional<HeadTracking> mode, std::optional<std::uint16_t> port) {
    if (!mode && !port)
        throw WrongUse("Name what to change: whether a head tracker is followed, or its port.");
    const ChangeStep step("head tracking" +
                          (mode ? " " + orb3::choiceTexts<HeadTracking>.TextOf(*mode) : "") +
                          (port ? " at port " + std::to_string(*port) : ""));
    Tracking tracking;
    ChangeDocument([&](orb3::Configuration& configuration) {
        if (mode) configuration.goalConfig.headTracking = *mode;
        if (port) configuration.goalConfig.headTrackingPort = *port;
        tracking = Of(configuration);
    });
    return tracking;
}

void CentreTracking() {
    constexpr std::string_view message("/centre\0,\0\0\0", 12);
    const Tracking tracking = ReadTracking();
    if (tracking.mode == HeadTracking::Off)
        throw WrongUse("Head tracking is off. 'tessarune-config tracker on' switches it on.");
    if (!platform::PacketSocket::Send(tracking.port, std::as_bytes(std::span(message))))
        throw slib::BadStateException("Port " + std::to_string(tracking.port) +
                                      " of this machine can't be sent to.");
}

// A game that has the port is looked at afresh each time, as it may end.
void WatchTracker(const std::function<void(const Angles&)>& tell, const std::function<bool()>& isOver) {
    class Quiet : public slib::Log {
        void Write(const std::string&, bool) override {}
    } log;
    const std::uint16_t port = ReadTracking().port;
    std::unique_ptr<const goal::TrackerInput> own;
    if (IsFree(port)) own = std::make_unique<goal::TrackerInput>(port, &log);
    Angles last{HeadAngles{NAN, NAN, NAN}};
    while (!isOver()) {
        const Angles now = own ? Heard(*own) : HeardByGames();
        if (!IsSame(now, last)) tell(last = now);
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace tool
