// Fuzz target for the packets of head trackers: whatever a program of this machine sends, a pose is a turn
// and nothing else. Also linked with replay_main.cpp into a program that runs the corpus in the ordinary
// tests.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/check.h"
#include "goal/trackerpacket.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const goal::TrackerPacket packet = goal::ParseTrackerPacket(std::as_bytes(std::span(data, size)));
    Check(std::abs(Dot(packet.head, packet.head) - 1) < 1e-6);
    return 0;
}
