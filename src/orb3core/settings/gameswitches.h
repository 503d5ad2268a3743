#pragma once

// The switches of a game's profile, each of which lets the game do what the library refuses otherwise. The
// library counts what it refused by them, and the programs for people name them. Constants; any thread.

#include <array>
#include <cstddef>
#include <string_view>

namespace orb3 {

/// Off, every call answers as it does for all games. The number of a switch is its index in status pages,
/// where it stays.
enum class GameSwitch : std::size_t {
    QuietLookups,
    ThreadContexts,
    SeveralContexts,
    StandardErrors,
    Capture
};

struct GameSwitchRow {
    std::string_view name;     ///< as users write it
    std::string_view meaning;  ///< for people, in a few words
    std::string_view asked;    ///< what a game asked for that the switch would allow, behind "asked for"
};

/// In the order of GameSwitch.
inline constexpr std::array<GameSwitchRow, 5> gameSwitches{{
    {"QuietLookups", "a look-up of a name that isn't there records no error",
     "functions or names that there aren't, and may have taken the error for a fault"},
    {"ThreadContexts", "each thread may have a current context of its own (ALC_EXT_thread_local_context)",
     "a context of its own for a thread"},
    {"SeveralContexts", "the device takes more than one context", "a second context"},
    {"StandardErrors", "error codes, calls without effect and changes of state as OpenAL 1.1 has them",
     "what OpenAL 1.1 answers otherwise than Tessarune does"},
    {"Capture", "a microphone can be recorded", "a microphone"},
}};

}  // namespace orb3
