#pragma once

// The library that records a game's calls, as tessarune-run puts it between the game and ours, and what it
// left. On the main thread.

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tool {

/// Beside each of the folders with our library the one with that which records, where the tree has it. Throws
/// slib::BadStateException where it has none.
std::vector<std::filesystem::path> RecorderFolders(const std::vector<std::filesystem::path>& dropIns);

/// What the environment tells the recorder: the file, and its limit in MiB, 0 for the usual one. Removes
/// recordings of before. Throws slib::BadParameterException when `file` is something else.
std::map<std::string, std::string> PrepareRecording(const std::string& file, std::uint64_t limit);

/// Sentences on what is in the file now, and in those of programs that the game started.
std::vector<std::string> TellOfRecording(const std::string& file);

}  // namespace tool
