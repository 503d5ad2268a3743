#include "orb3core/store/registrylog.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>

#include "orb3core/store/configstore.h"
#include "slib/text.h"

namespace ggui {
namespace {

constexpr std::uint32_t errorsKept = 25;
constexpr int slots = 100;

// Local time to the hundredth of a second, cut off.
std::string LocalTime() {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(now / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d.%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(now % 1000 / 10));
    return text.data();
}

std::string SlotKey(int slot) {
    std::array<char, 16> key{};
    std::snprintf(key.data(), key.size(), "/Log/%03d", slot);
    return key.data();
}

}  // namespace

RegistryLog::RegistryLog(std::string root, const std::string& program)
    : root(std::move(root)), name(" " + program + ": ") {}

void RegistryLog::Write(const std::string& text, bool isError) {
    const std::string time = LocalTime();
    std::string line = (isError ? "E" : "I") + time + name + text;
    const slib::Lock lock(mutex);
    if (isError) {
        if (errorCount > errorsKept) return;
        if (errorCount == errorsKept) line = "E" + time + name + "[Suppressing further errors.]";
        ++errorCount;
    }
    orb3::ConfigStore(root, orb3::ConfigStore::Scope::User).Update([&](orb3::OpenStore& store) {
        // A damaged index in the store must not point outside the ring.
        const int last = slib::ParseInt(store.Read("/Log/Index", "0"));
        const int slot = ((last % slots + 1) % slots + slots) % slots;
        store.Write("/Log/Index", std::to_string(slot));
        store.Write(SlotKey(slot), line);
    });
}

}  // namespace ggui
