#include "tools/support/logring.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <thread>
#include <utility>

#include "orb3core/store/configstore.h"
#include "slib/text.h"

namespace tool {
namespace {

constexpr int slotCount = 100;
constexpr int mostAttempts = 5;

std::string ReadValue(const std::string& key) {
    return orb3::ConfigStore(orb3::storeRoot, orb3::ConfigStore::Scope::User).Read(key, "");
}

// What isn't in the ring is a damaged store.
int ReadNewest() {
    return std::clamp(slib::ParseInt(ReadValue("/Log/Index")), 0, slotCount - 1);
}

std::string ReadSlot(int slot) {
    std::array<char, 16> key{};
    std::snprintf(key.data(), key.size(), "/Log/%03d", slot);
    return ReadValue(key.data());
}

int Before(int slot) {
    return (slot + slotCount - 1) % slotCount;
}

}  // namespace

// Each value is read by itself, so a ring that was written to meanwhile is read again.
LogRing ReadLogRing() {
    LogRing ring;
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        ring = {ReadNewest(), {}};
        for (int slot = 0; slot < slotCount; ++slot)
            ring.slots.push_back(ReadSlot(slot));
        if (!HasNewLines(ring)) break;
    }
    return ring;
}

bool HasNewLines(const LogRing& seen) {
    const int newest = ReadNewest();
    return newest != seen.newest || ReadSlot(newest) != seen.slots[static_cast<std::size_t>(newest)];
}

std::vector<std::string> Lines(const LogRing& ring) {
    bool ignored = false;
    return LinesSince({ring.newest, std::vector<std::string>(slotCount)}, ring, ignored);
}

std::vector<std::string> LinesSince(const LogRing& before, const LogRing& now, bool& isSomeLost) {
    const auto known = static_cast<std::size_t>(before.newest);
    const bool isKnownLeft = now.slots[known] == before.slots[known];
    isSomeLost = !isKnownLeft && !before.slots[known].empty();
    std::vector<std::string> lines;
    int slot = now.newest;
    for (int i = 0; i < slotCount && !(isKnownLeft && slot == before.newest); ++i, slot = Before(slot)) {
        const std::string& line = now.slots[static_cast<std::size_t>(slot)];
        if (!line.empty()) lines.push_back(line);
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> AwaitLinesSince(const LogRing& before) {
    LogRing seen = before;
    bool isQuiet = false;
    for (int attempt = 0; attempt < 25 && !isQuiet; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        LogRing now = ReadLogRing();
        isQuiet = now == seen && seen != before;
        seen = std::move(now);
    }
    bool ignored = false;
    return LinesSince(before, seen, ignored);
}

std::string LastError(const std::vector<std::string>& lines) {
    const auto last = std::find_if(lines.rbegin(), lines.rend(),
                                   [](const std::string& line) { return line.starts_with('E'); });
    if (last == lines.rend()) return {};
    const std::size_t start = last->find(": ");  // after the time and the program's name
    return start == std::string::npos ? last->substr(1) : last->substr(start + 2);
}

}  // namespace tool
