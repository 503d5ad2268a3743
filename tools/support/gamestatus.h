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

/// Levels are linear, 1 at full scale.
struct GameOutput {
    std::string name;  ///< short, such as "FL"
    double peak = 0, rms = 0;

    bool operator==(const GameOutput&) const = default;
};

struct GameEffect {
    std::uint32_t slot = 0;  ///< its name
    std::string type;        ///< "EAX Reverb"
    double gain = 1;         ///< linear

    bool operator==(const GameEffect&) const = default;
};

struct GameSource {
    std::uint32_t number = 0;  ///< its name
    std::uint32_t channels = 1;
    bool isRelative = false, isLooping = false;
    /// Of length 1 from the listener, x right, y up, z back; zeros for one that is heard all around.
    double x = 0, y = 0, z = 0;
    double distance = 0;  ///< units
    double level = 0;     ///< RMS of what it adds to the mix, linear

    bool operator==(const GameSource&) const = default;
};

/// Texts are fit to be printed, numbers are finite and within what can be.
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

    // Of all runs so far.
    std::uint64_t blocks = 0;     ///< rendered
    std::uint64_t blockTime = 0;  ///< of the last one, ns of the monotonic clock
    std::uint32_t lateBlocks = 0;
    std::uint32_t sourcesPlaying = 0, mostPlaying = 0;  ///< now, and at once
    double greatestLoad = 0;                            ///< of a block, of the time that it plays
    double greatestPeak = 0;                            ///< of any output, linear

    // Of the run that is shown; zeros where there is none.
    std::uint32_t latencyFrames = 0, ringFrames = 0, serverFrames = 0;
    double loadMean = 0, loadMax = 0;  ///< of the time that a block plays
    double limiterGain = 1;            ///< linear
    bool isOutputAway = false;
    std::vector<GameOutput> outputs;
    std::vector<GameEffect> effects;
    std::vector<GameSource> sources;  ///< of those that play the first ones

    bool operator==(const GameStatus&) const = default;
};

/// A linear level in dB, -144 for silence and what is below that.
[[nodiscard]] double Decibels(double level);

/// What a whole page says. Nothing for what is no page, or one of a version that isn't known.
[[nodiscard]] std::optional<GameStatus> ParseStatusPage(std::span<const std::byte> page);

/// The page in an open file, as it is between two changes; one whose writer was ended in the middle of a
/// change is taken as it is, after a tenth of a second.
[[nodiscard]] std::optional<GameStatus> ReadStatusPage(int descriptor);
[[nodiscard]] std::optional<GameStatus> ReadStatusPage(const std::filesystem::path& file);

/// Of all processes of this user that run and use the library. Removes what ended ones left.
[[nodiscard]] std::vector<GameStatus> StatusOfGames();

}  // namespace tool
