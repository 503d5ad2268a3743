#pragma once

// The profile of the game that this process is, as the calls ask for it. Taken once, by the process's first
// call; what is off answers as it does for all games, and what a game asked for in vain is counted.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "goal/statuspage.h"
#include "orb3core/settings/gameprofile.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "slib/log.h"

namespace goal {

using orb3::GameSwitch;

class ProfileInForce {
public:
    /// Tells `status`, which outlives it, what is in force and what was refused.
    explicit ProfileInForce(StatusPage& status) : status(status) {}

    /// Finds the profile of the running program, puts its settings in force in `configuration`, and logs
    /// which one it is and what it changes. What can't be read is logged and left out. Once; with apiMutex
    /// held.
    void Take(orb3::SharedConfiguration& configuration, slib::Log& log) noexcept;

    /// Any thread.
    bool IsOn(GameSwitch which) const { return isOn[Index(which)].load(std::memory_order_relaxed); }

    /// IsOn, of what the game just asked for: false counts a refusal. Any thread.
    bool Allows(GameSwitch which) noexcept {
        if (IsOn(which)) return true;
        refusals[Index(which)].fetch_add(1, std::memory_order_relaxed);
        status.NoteRefusal(Index(which));
        return false;
    }

    /// How often the game asked in vain for what that switch would allow. Any thread.
    std::uint32_t Refusals(GameSwitch which) const {
        return refusals[Index(which)].load(std::memory_order_relaxed);
    }

    /// Gives the memory of the texts back, at the end.
    void Forget() noexcept {
        std::string().swap(name);
        std::string().swap(changes);
    }

    /// Another state of a switch, for tests.
    void Set(GameSwitch which, bool value) { isOn[Index(which)] = value; }

    std::atomic<bool> isTaken{false};  ///< changes with apiMutex held
    std::string name;                  ///< of the profile; empty for none. Set by Take, with apiMutex held.
    std::string changes;               ///< what it changes, for people

private:
    static std::size_t Index(GameSwitch which) { return static_cast<std::size_t>(which); }
    void TakeProfile(const orb3::GameProfile& profile, orb3::SharedConfiguration& configuration,
                     slib::Log& log);

    StatusPage& status;
    std::array<std::atomic<bool>, orb3::gameSwitches.size()> isOn{};
    std::array<std::atomic<std::uint32_t>, orb3::gameSwitches.size()> refusals{};
};

}  // namespace goal
