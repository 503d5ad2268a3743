#include "platform/cachelocation.h"

#include <unistd.h>

#include <cstdlib>

namespace platform {
namespace {

// Relative entries are invalid by the standard, and skipped as it says.
std::filesystem::path AbsoluteFrom(const char* variable) {
    const char* value = secure_getenv(variable);
    const std::filesystem::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : std::filesystem::path();
}

}  // namespace

std::filesystem::path UserCachePath(const std::string& root) {
    if (const auto cache = AbsoluteFrom("XDG_CACHE_HOME"); !cache.empty()) return cache / root;
    const auto home = AbsoluteFrom("HOME");
    return home.empty() ? home : home / ".cache" / root;
}

bool CanWriteInto(const std::filesystem::path& folder) {
    return access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

}  // namespace platform
