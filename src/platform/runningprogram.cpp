#include "platform/runningprogram.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>

#include "slib/filestream.h"

namespace platform {
namespace {

constexpr std::size_t mostWords = 8;          // of a command line
constexpr std::size_t longestCommand = 8192;  // bytes that are looked at

// Behind the last "/", or "\" as in the command lines of other systems' programs.
std::string NameOf(std::string_view path) {
    return std::string(path.substr(path.find_last_of("/\\") + 1));
}

std::string ExecutableName() {
    std::array<char, 4096> target{};
    const ssize_t size = readlink("/proc/self/exe", target.data(), target.size());
    if (size <= 0) return {};
    constexpr std::string_view removed = " (deleted)";  // as the kernel says of a program that was replaced
    std::string_view path(target.data(), static_cast<std::size_t>(size));
    if (path.ends_with(removed)) path.remove_suffix(removed.size());
    return NameOf(path);
}

std::vector<std::string> CommandLine() {
    slib::InputFile file("/proc/self/cmdline");
    std::string text(longestCommand, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size() && words.size() < mostWords;) {
        const std::size_t end = std::min(text.find('\0', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

bool IsInterpreter(const std::string& name) {
    constexpr std::array<std::string_view, 9> interpreters{"python", "java", "perl", "ruby", "lua",
                                                           "mono",   "node", "wine", "qemu"};
    return std::ranges::any_of(interpreters, [&](std::string_view start) { return name.starts_with(start); });
}

int AddLibrary(dl_phdr_info* info, std::size_t, void* names) noexcept {
    try {
        if (info->dlpi_name != nullptr && *info->dlpi_name != '\0')
            static_cast<std::vector<std::string>*>(names)->push_back(NameOf(info->dlpi_name));
        return 0;
    } catch (const std::exception&) {
        return 1;
    }
}

}  // namespace

std::vector<std::string> RunningProgramNames() {
    std::vector<std::string> names;
    const auto add = [&](std::string name) {
        if (!name.empty() && std::ranges::find(names, name) == names.end()) names.push_back(std::move(name));
    };
    add(ExecutableName());
    const std::vector<std::string> words = CommandLine();
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool isFolders = i > 0 && (words[i - 1] == "-cp" || words[i - 1] == "-classpath");
        if (i == 0 || (!words[i].starts_with('-') && !isFolders)) add(NameOf(words[i]));
    }
    return names;
}

std::string GameName() {
    const std::vector<std::string> names = RunningProgramNames();
    const auto name = std::ranges::find_if_not(names, IsInterpreter);
    if (name != names.end()) return *name;
    return names.empty() ? "?" : names.front();
}

std::vector<std::string> LoadedLibraryNames() {
    std::vector<std::string> names;
    dl_iterate_phdr(AddLibrary, &names);
    return names;
}

}  // namespace platform
