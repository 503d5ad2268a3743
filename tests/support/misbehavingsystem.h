#pragma once

// The scripted sound system in real time and in a bad mood: what its cursors report stalls, jumps, goes in
// odd steps and backwards, its buffer gets lost, and each of its operations may refuse. Used by the thread
// that drives the pipe.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

#include "platform/clock.h"
#include "tests/support/dice.h"
#include "tests/support/scripteddevice.h"

namespace testing_support {

/// What all systems did. Any thread.
struct Misbehaviour {
    std::atomic<std::uint64_t> audibleFrames{0};
    std::atomic<int> openObjects{0};     ///< left behind by systems that are gone
    std::atomic<bool> hasFailed{false};  ///< whoever plays may have ended by that; taken back by the test
};

class MisbehavingSystem : public ScriptedSystem {
public:
    /// One in twelve has no device, or one of its operations always fails.
    MisbehavingSystem(Misbehaviour& counts, unsigned seed) : counts(counts), dice(seed) {
        using namespace platform;
        constexpr std::uint32_t settings[] = {DSSPEAKER_HEADPHONE, DSSPEAKER_MONO,
                                              DSSPEAKER_QUAD,      DSSPEAKER_STEREO,
                                              DSSPEAKER_5POINT1,   DSSPEAKER_7POINT1_SURROUND};
        speakerConfig = dice.Of(settings);
        cursors = [this](std::int64_t) { return Report(); };
        if (dice.OneIn(12)) Refuse();
    }
    ~MisbehavingSystem() override { counts.openObjects += openObjects; }

    void Sleep(std::uint32_t milliseconds) override {
        const timespec time{.tv_sec = 0,
                            .tv_nsec = static_cast<long>(std::min(milliseconds, 900U)) * 1'000'000};
        nanosleep(&time, nullptr);
        Tick();
    }

private:
    void Refuse() {
        const std::string_view operation = dice.Of(scriptedOperations);
        if (dice.OneIn(12)) deviceNames.clear();
        failures[operation] = platform::DSERR_NODRIVER;
        if (operation != "Stop" || deviceNames.empty())
            counts.hasFailed = true;  // "Stop" is only told to a log
    }

    // Brings the output up to the clock.
    void Tick() {
        const double now = static_cast<double>(platform::NowNanoseconds()) * 1e-6;
        const double passed = now - std::exchange(lastTick, now);
        if (!isPlaying) return;
        if (now >= nextMood) ChangeMood(now);
        Pass(passed * speed);
        counts.audibleFrames +=
            played.size() - static_cast<std::size_t>(std::count(played.begin(), played.end(), 0));
        lockOffsets.clear();
        played.clear();
    }

    void ChangeMood(double now) {
        nextMood = now + dice.Between(50, 1500);
        speed = step = reach = 1;
        const unsigned mood = dice.Below(14);
        if (mood < 2) {
            speed = 0;
        } else if (mood < 5) {
            Pass(dice.Between(5, 1000));
        } else if (mood < 8) {
            speed = dice.Between(0.5F, 2);
            step = dice.Between(1, 3000);
            reach = dice.Between(1, 3000);
        } else if (mood < 9) {
            failures["GetCurrentPosition"] = platform::DSERR_BUFFERLOST;
            counts.hasFailed = true;
        }
    }

    ScriptedCursors Report() {
        Tick();
        const auto whole = static_cast<std::int64_t>(step);
        const std::int64_t back = dice.OneIn(8) ? dice.Below(static_cast<std::size_t>(whole)) : 0;
        const std::int64_t play = std::max<std::int64_t>(position - position % whole - back, 0);
        return {play, play + dice.Below(static_cast<std::size_t>(reach))};
    }

    Misbehaviour& counts;
    Dice dice;
    double lastTick = 0, nextMood = 0;     // milliseconds
    float speed = 1, step = 1, reach = 1;  // in frames those of the play cursor, and before the write cursor
};

}  // namespace testing_support
