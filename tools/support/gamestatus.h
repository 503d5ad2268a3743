#pragma once

// What a process that uses the library, a game, tells about itself in its status page (docs/status-page.md),
// read by other programs of the same user. Nothing in a page is trusted. For tools; any thread.

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "goal/statuslayout.h"

namespace tool {

/// Texts are fit to be printed.
struct GameStatus {
    pid_t pid = 0;  ///< in its own space of process numbers
    std::uint64_t startTime = 0, pidSpace = 0;
    std::string program;         ///< its file name
    std::string libraryVersion;  ///< "2.5.1"
    std::string profile;         ///< empty where the game has none
    std::string profileChanges;
    std::uint32_t contextsMade = 0, contextsAlive = 0, contextsFailed = 0;
    std::string lastFailure;  ///< why a context couldn't start
    /// What it plays to, or did last; empty and 0 before.
    std::string device, layout;
    std::uint32_t sampleRate = 0, blockFrames = 0, order = 0;
    /// Calls that were refused, by the switch (orb3::gameSwitches) that would have allowed them.
    std::array<std::uint32_t, goal::StatusLayout::mostRefusals> refusals{};

    bool operator==(const GameStatus&) const = default;
};

/// What a whole page says. Nothing for what is no page, or one of a version that isn't known.
[[nodiscard]] std::optional<GameStatus> ParseStatusPage(std::span<const std::byte> page);

/// The page in an open file, as it is between two changes; one whose writer was ended in the middle of a
/// change is taken as it is, after a tenth of a second.
[[nodiscard]] std::optional<GameStatus> ReadStatusPage(int descriptor);
[[nodiscard]] std::optional<GameStatus> ReadStatusPage(const std::filesystem::path& file);

/// Of all processes of this user that run and use the library. Removes what ended ones left.
[[nodiscard]] std::vector<GameStatus> StatusOfGames();

}  // namespace tool
