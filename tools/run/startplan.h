#pragma once

// What a game is started with, so that it loads our library: where the loader looks, and what the environment
// says. On the main thread, before the start.

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tool {

/// The name by which games ask the loader for the library.
inline constexpr const char* nameAskedFor = "libopenal.so.1";

/// A program that is about to be started.
struct Game {
    /// `name` is a path, or is looked for along PATH. What isn't found keeps its name, and the start says so.
    explicit Game(const std::string& name);

    std::string name;            ///< as the user gave it
    std::filesystem::path file;  ///< empty when it isn't found
    int bits = 0;                ///< 32 or 64; 0 for a script, or what can't be read
};

struct StartPlan {
    /// Where a loader finds our library under the names that games ask for, first of all the places where it
    /// looks. It passes over libraries of the other width.
    std::vector<std::filesystem::path> folders;
    std::vector<std::filesystem::path> preloads;   ///< libraries that are loaded before all others
    std::map<std::string, std::string> variables;  ///< others of the environment

    /// Puts it into the environment of this process, which what it starts inherits. What was in the loader's
    /// lists before comes after ours.
    void Enter() const;
};

/// The library of each width, as `folders` have it, that a game of this kind can load; of both where its kind
/// isn't known. A loader names each that isn't of its own width on standard error, and goes on without it.
std::vector<std::filesystem::path> PreloadsFor(const Game& game,
                                               const std::vector<std::filesystem::path>& folders);

/// False when none of `folders` has a library of the game's width.
bool CanLoadOurs(const Game& game, const std::vector<std::filesystem::path>& folders);

/// The command by which Steam starts a game so, to be given as its launch options.
std::string SteamLaunchOptions();

}  // namespace tool
