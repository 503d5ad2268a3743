#pragma once

// The switches of a game's profile, each of which lets the game do what the library refuses otherwise. The
// library counts what it refused by them, and the programs for people name them. Constants; any thread.

#include <array>
#include <cstddef>
#include <string_view>

namespace orb3 {

/// As users write them. The place of a name is the index of its switch, also in status pages, where it stays.
inline constexpr std::array<std::string_view, 5> gameSwitchNames{
    "QuietLookups", "ThreadContexts", "SeveralContexts", "StandardErrors", "Capture"};

/// Of a name that there is; another doesn't compile.
consteval std::size_t GameSwitchIndex(std::string_view name) {
    std::size_t index = 0;
    while (gameSwitchNames.at(index) != name)
        ++index;
    return index;
}

}  // namespace orb3
