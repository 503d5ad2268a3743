#pragma once

// Everything that a game's sound depends on, looked at one after the other, for the command `doctor` and
// the page. Nothing is changed, nothing is played, and nothing waits for long. One thread.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/servers.h"
#include "tools/manage/report.h"

namespace tool {

/// What was found of one thing.
struct Finding {
    bool isFine = true;
    std::string text;    ///< how it is, without a point
    std::string remedy;  ///< the command that mends it; empty where it is fine, or no command does
};

/// What several checks look at.
struct Patient {
    platform::PlatformSettings settings;
    platform::ServerAnswer server;
    std::filesystem::path game;  ///< its folder; empty for none
};

/// Asks the sound server.
Patient Examine(const std::filesystem::path& game);

struct HealthCheck {
    const char* title;  ///< for people: "Sound server"
    const char* key;    ///< in JSON
    std::vector<Finding> (*look)(const Patient& patient);
};

/// In the order in which they are to be read. A `look` that throws found a fault that its exception tells.
const std::vector<HealthCheck>& HealthChecks();

/// What was found, and by which check.
struct HealthResult {
    const HealthCheck* check;
    Finding finding;
};

/// Runs all checks. `report` is called before each.
std::vector<HealthResult> LookAtAll(const std::filesystem::path& game, const StepReport& report);

}  // namespace tool
