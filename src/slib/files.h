#pragma once

// Whole files and directories, for code that reads and writes libraries and caches at set-up. Paths are the
// platform's. Every failure is an OperatingSystemErrnoException that names the path, and costs nothing of
// what the caller passed in. No state; usable from any thread.

#include <cstdint>
#include <string>
#include <string_view>

namespace slib {

/// True for anything that is at `path` and that the caller may ask about.
[[nodiscard]] bool fileExists(const std::string& path);

/// Creates every missing directory along `path`, where "/" and "\" separate. One that exists already, or that
/// somebody else makes meanwhile, is no failure.
void createDirectories(const std::string& path);

/// Replaces `bytes` by the whole file.
void readFile(const std::string& path, std::string& bytes);

/// Creates the file, or empties it, and writes `bytes`. A failed write leaves a file that is cut short.
void writeFile(const std::string& path, std::string_view bytes);

/// As readFile and writeFile, with the line ends of the platform's text files: for what people edit.
void readTextFile(const std::string& path, std::string& text);
void writeTextFile(const std::string& path, std::string_view text);

/// In bytes. For a caller that wants to know before it reads.
std::uint64_t getFileSize(const std::string& path);

}  // namespace slib
