// What head trackers send, and where a run takes the head from it. Packets are written out here, as the
// programs that send them write them.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

#include "goal/headfollower.h"
#include "goal/trackerinput.h"
#include "goal/trackerpacket.h"
#include "platform/clock.h"
#include "platform/packetsocket.h"
#include "tests/support/recordinglog.h"

namespace goal {
namespace {

using Kind = TrackerPacket::Kind;
constexpr double degree = std::numbers::pi / 180;

std::string SixDoubles(double yaw, double pitch, double roll) {
    const double values[]{1, 2, 3, yaw, pitch, roll};
    return {reinterpret_cast<const char*>(values), sizeof values};
}

std::string Text(std::string text) {
    text.resize((text.size() / 4 + 1) * 4);
    return text;
}

std::string Floats(const std::vector<float>& values) {
    std::string bytes;
    for (const float value : values) {
        char word[4];
        std::memcpy(word, &value, 4);
        bytes.append({word[3], word[2], word[1], word[0]});
    }
    return bytes;
}

std::string Message(const std::string& address, const std::vector<float>& values) {
    return Text(address) + Text("," + std::string(values.size(), 'f')) + Floats(values);
}

std::string Bundle(const std::string& element) {
    return std::string("#bundle\0\0\0\0\0\0\0\0\1", 16) + std::string(3, '\0') +
           static_cast<char>(element.size()) + element;
}

TrackerPacket Parse(const std::string& packet) {
    return ParseTrackerPacket(std::as_bytes(std::span(packet)));
}

struct Sent {
    const char* name;
    std::string packet;
    Kind kind;
    double yaw = 0, pitch = 0, roll = 0;  // degrees
};

class PacketOfATracker : public testing::TestWithParam<Sent> {};
INSTANTIATE_TEST_SUITE_P(
    Packets, PacketOfATracker,
    testing::Values(
        Sent{"SixDoubles", SixDoubles(30, -10, 5), Kind::Pose, 30, -10, 5},
        Sent{"Angles", Message("/ypr", {30, -10, 5}), Kind::Pose, 30, -10, 5},
        Sent{"AnglesOfAPlugin", Message("/SceneRotator/ypr", {30, -10, 5}), Kind::Pose, 30, -10, 5},
        Sent{"Quaternion", Message("/quaternion", {0.70710678F, 0, 0, 0.70710678F}), Kind::Pose, 90, 0, 0},
        Sent{"InABundle", Bundle(Message("/ypr", {20, 0, 0})), Kind::Pose, 20, 0, 0},
        Sent{"Centre", Message("/centre", {}), Kind::Centre},
        Sent{"TooFewAngles", Message("/ypr", {30, -10}), Kind::Unknown},
        Sent{"CutAngles", Message("/ypr", {30, -10, 5}).substr(0, 20), Kind::Unknown},
        Sent{"NotANumber", SixDoubles(std::numeric_limits<double>::quiet_NaN(), 0, 0), Kind::Unknown},
        Sent{"NoTurn", Message("/quaternion", {0, 0, 0, 0}), Kind::Unknown},
        Sent{"OfAnotherProgram", Message("/volume", {1}), Kind::Unknown}, Sent{"Empty", "", Kind::Unknown}),
    [](const auto& info) { return info.param.name; });

TEST_P(PacketOfATracker, IsWhatItsSenderMeant) {
    const Sent& sent = GetParam();
    const TrackerPacket packet = Parse(sent.packet);
    ASSERT_EQ(packet.kind, sent.kind);
    const hcml::Quaternion wanted =
        hcml::FromYawPitchRoll(sent.yaw * degree, sent.pitch * degree, sent.roll * degree);
    EXPECT_NEAR(AngleBetween(packet.head, wanted), 0, 1e-3);
}

TEST(HeadFollower, ATrackerThatFallsSilent_LetsTheHeadEaseBackInTwoSeconds) {
    constexpr double block = 0.005;
    HeadFollower follower;
    const TrackedPose left{hcml::FromYawPitchRoll(60 * degree, 0, 0), 1'000'000'000};
    const auto angleAt = [&](double seconds) {
        const hcml::Quaternion head =
            follower.Next(left, left.time + static_cast<std::int64_t>(seconds * 1e9), block);
        return AngleBetween(head, {}) / degree;
    };
    double before = angleAt(0), steepest = 0;
    EXPECT_NEAR(before, HeadFollower::fastest * block, 1e-3) << "jumps";
    for (double time = block; time < TrackedPose::silence; time += block)
        before = angleAt(time);
    EXPECT_NEAR(before, 60, 1e-3);
    for (double time = TrackedPose::silence; time < HeadFollower::longest; time += block) {
        const double now = angleAt(time);
        steepest = std::max(steepest, before - now);
        before = now;
    }
    EXPECT_LT(steepest, 0.3) << "degrees a block";
    EXPECT_EQ(angleAt(HeadFollower::longest), 0);
}

// Until `isTrue`, or five seconds.
bool Comes(const std::function<bool()>& isTrue) {
    for (int i = 0; i < 500 && !isTrue(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return isTrue();
}

TEST(TrackerInput, PacketsAtItsPort_AreHeardAndCentred) {
    constexpr std::uint16_t port = 42421;
    testing_support::RecordingLog log;
    TrackerInput input(port, &log);
    const auto yaw = [&] { return hcml::ToYawPitchRoll(input.Newest().head)[0] / degree; };
    const auto send = [&](const std::string& packet) {
        EXPECT_TRUE(platform::PacketSocket::Send(port, std::as_bytes(std::span(packet))));
    };
    EXPECT_EQ(input.Newest().time, 0);
    EXPECT_TRUE(Comes([&] {
        send(SixDoubles(30, 0, 0));
        return std::abs(yaw() - 30) < 1e-6;
    }));
    send(Message("/centre", {}));
    EXPECT_TRUE(Comes([&] { return std::abs(yaw()) < 1e-6; }));
    send(SixDoubles(40, 0, 0));
    EXPECT_TRUE(Comes([&] { return std::abs(yaw() - 10) < 1e-6; }));
    EXPECT_LT(platform::NowNanoseconds() - input.Newest().time, 5'000'000'000);
}

TEST(TrackerInput, APortThatIsTaken_IsToldOnceAndHeardWhenItIsFree) {
    constexpr std::uint16_t port = 42422;
    testing_support::RecordingLog log;
    auto other = std::make_unique<platform::PacketSocket>(port);
    TrackerInput input(port, &log);
    EXPECT_TRUE(Comes([&] { return !log.Lines().empty(); }));
    other.reset();
    const std::string packet = SixDoubles(30, 0, 0);
    EXPECT_TRUE(Comes([&] {
        static_cast<void>(platform::PacketSocket::Send(port, std::as_bytes(std::span(packet))));
        return input.Newest().time != 0;
    }));
    EXPECT_EQ(log.Lines().find("E:", 1), std::string::npos);
}

}  // namespace
}  // namespace goal
