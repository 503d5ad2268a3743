#include "slib/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "slib/exception.h"

namespace slib {
namespace {

constexpr std::string_view separators = "/\\";

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Fail(const char* what, const std::string& path) {
    throw OperatingSystemErrnoException(std::string("Failed to ") + what + " '" + path + "'.");
}

// The "e" in each mode: a program that the game starts gets no copy of the descriptor.
File OpenFile(const std::string& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) Fail("open file", path);
    return file;
}

void ReadAll(const std::string& path, const char* mode, std::string& bytes) {
    const File file = OpenFile(path, mode);
    std::string all;
    std::array<char, 16384> chunk;
    while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), file.get()))
        all.append(chunk.data(), count);
    if (std::ferror(file.get()) != 0) Fail("read file", path);
    bytes.swap(all);
}

void WriteAll(const std::string& path, const char* mode, std::string_view bytes) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) Fail("create file", path);
    const bool isTaken = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    if (!isTaken || std::fclose(file.release()) != 0) Fail("write to file", path);
}

// The length of the longest part of `path` that is a directory already. A separator inside the name of an
// existing directory separates nothing.
std::size_t LengthOfExisting(const std::string& path) {
    std::size_t length = path.size();
    std::error_code ignored;
    while (length != 0 && !std::filesystem::is_directory(path.substr(0, length), ignored)) {
        const std::size_t separator = path.find_last_of(separators, length - 1);
        length = separator == std::string::npos ? 0 : separator;
    }
    return length;
}

}  // namespace

bool fileExists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

void createDirectories(const std::string& path) {
    std::size_t length = LengthOfExisting(path);
    while (length < path.size()) {
        length = std::min(path.find_first_of(separators, length + 1), path.size());
        std::error_code error;
        std::filesystem::create_directory(path.substr(0, length), error);
        errno = error.value();
        if (error) Fail("create directory", path);
    }
}

void readFile(const std::string& path, std::string& bytes) {
    ReadAll(path, "rbe", bytes);
}

void writeFile(const std::string& path, std::string_view bytes) {
    WriteAll(path, "wbe", bytes);
}

void readTextFile(const std::string& path, std::string& text) {
    ReadAll(path, "re", text);
}

void writeTextFile(const std::string& path, std::string_view text) {
    WriteAll(path, "we", text);
}

std::uint64_t getFileSize(const std::string& path) {
    const File file = OpenFile(path, "rbe");
    const long size = std::fseek(file.get(), 0, SEEK_END) == 0 ? std::ftell(file.get()) : -1;
    if (size < 0) Fail("jump to end of file", path);
    return static_cast<std::uint64_t>(size);
}

}  // namespace slib
