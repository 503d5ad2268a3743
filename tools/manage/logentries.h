#pragma once

// The lines of the log in parts. For the command that prints it and for the page; plain functions.

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// A line "E2026-01-31 12:00:00.00 Game: What happened."
struct LogEntry {
    bool isError = false;
    std::string time;     ///< local, as it is written
    std::string program;  ///< that wrote it
    std::string text;
    std::string cure;  ///< what to do about it (FindCure); empty where nothing is known
};

/// Nothing for what is no such line.
std::optional<LogEntry> ParseLogLine(const std::string& line);

/// All of the log, the oldest first. A line that is none is an entry with its text alone.
std::vector<LogEntry> ReadLogEntries();

/// "2026-01-31T11:00:00Z" of the time of an entry; empty for what is no time.
std::string ToUtc(const std::string& time);

}  // namespace tool
