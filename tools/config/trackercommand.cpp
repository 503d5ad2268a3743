#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/manage/tracking.h"

namespace tool {
namespace {

using orb3::HeadTracking;

constexpr const char* examples = R"(Examples:
  tessarune-config tracker on
  tessarune-config tracker watch             what the tracker says, until Ctrl-C
  tessarune-config tracker centre            where the head is now is ahead
  tessarune-config tracker on --port 9000
  tessarune-config tracker off

A head tracker tells where your head is turned to, and the whole sound field stays in the room while it turns: with
headphones, and with --speakers with speakers too. Programs of this machine send to the port, as packets (UDP):
opentrack by its output "UDP over network", others by Open Sound Control: /ypr with yaw, pitch and roll in degrees,
/quaternion with w, x, y and z (axes ahead, left and up), /centre. Yaw is positive to the left, pitch upwards, roll with
the right ear downwards; opentrack turns a direction round in its own mapping.)";

struct Options {
    int port = 0;
    bool withSpeakers = false;
};

void Say(const Tracking& tracking) {
    switch (tracking.mode) {
        case HeadTracking::Off:
            std::cout << "Head tracking is off.\n";
            return;
        case HeadTracking::Headphones:
            std::cout << "With headphones the sound follows";
            break;
        case HeadTracking::Always:
            std::cout << "The sound follows";
            break;
    }
    std::cout << " the head tracker that sends to port " << tracking.port << " of this machine.\n";
}

void TurnOn(const Options& options) {
    Say(SetTracking(
        options.withSpeakers ? HeadTracking::Always : HeadTracking::Headphones,
        options.port == 0 ? std::nullopt : std::optional(static_cast<std::uint16_t>(options.port))));
    std::cout << "A running game listens within two seconds.\n";
}

std::string Text(const std::optional<HeadAngles>& head) {
    if (!head) return "No tracker speaks.";
    const auto [yaw, pitch, roll] = *head;
    const auto part = [](double angle, const char* positive, const char* negative) {
        return slib::FormatNumber(std::abs(angle)) + (angle < 0 ? negative : positive);
    };
    return part(yaw, "° to the left, ", "° to the right, ") + part(pitch, "° up, ", "° down, ") +
           part(roll, "° over the right ear", "° over the left ear");
}

volatile std::sig_atomic_t isInterrupted = 0;

void Watch() {
    std::signal(SIGINT, [](int) { isInterrupted = 1; });
    std::signal(SIGTERM, [](int) { isInterrupted = 1; });
    WatchTracker([](const std::optional<HeadAngles>& head) { std::cout << Text(head) << std::endl; },
                 [] { return isInterrupted != 0 || !std::cout; });
}

}  // namespace

void AddTrackerCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* tracker = program.AddCommand("tracker", "Let the sound follow a head tracker.");
    tracker->SetFooter(examples);
    tracker->AllowOneCommand();
    CommandLine* on = tracker->AddCommand("on", "Listen to a tracker.");
    on->AddOption("--port", options->port, "Of this machine; 4242 unless it was set otherwise")
        ->TakeRange(1, 65535);
    on->AddFlag("--speakers", options->withSpeakers, "With speakers too");
    on->OnUse([options] { TurnOn(*options); });
    tracker->AddCommand("off", "Listen to none.")->OnUse([] {
        Say(SetTracking(HeadTracking::Off, std::nullopt));
    });
    tracker->AddCommand("centre", "Where the head is now is ahead.")->OnUse([] {
        CentreTracking();
        std::cout << "Where the head is now is ahead.\n";
    });
    tracker->AddCommand("watch", "Print what the tracker says, until Ctrl-C.")->OnUse([] { Watch(); });
    tracker->OnUse([tracker] {
        if (tracker->IsLast()) Say(ReadTracking());
    });
}

}  // namespace tool
