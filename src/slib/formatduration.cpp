#include "slib/formatduration.h"

#include <array>
#include <cmath>
#include <cstdint>

#include "slib/text.h"

namespace orb3 {
namespace {

std::string WithUnit(double value, const char* unit) {
    return slib::FormatNumber(value, 2) + unit;
}

// From the greatest unit that the duration is longer than down to the seconds, zeros in between as well.
std::string FormatWholeSeconds(std::uint64_t seconds) {
    struct Unit {
        std::uint64_t seconds;
        const char* text;
    };
    static constexpr std::array<Unit, 3> units{{{86400, "d "}, {3600, "h "}, {60, "m "}}};
    std::string text;
    for (const Unit& unit : units) {
        if (text.empty() && seconds <= unit.seconds) continue;
        text += std::to_string(seconds / unit.seconds) + unit.text;
        seconds %= unit.seconds;
    }
    return text + std::to_string(seconds) + "s";
}

}  // namespace

std::string formatDuration(double seconds) {
    constexpr double mostWhole = 1e18;
    const double magnitude = std::abs(seconds);
    if (std::isnan(seconds)) return "unknown";
    if (seconds == 0) return "0";
    if (magnitude < 0.001) return WithUnit(seconds * 1e6, "us");
    if (magnitude < 1) return WithUnit(seconds * 1e3, "ms");
    if (seconds < 60 || magnitude >= mostWhole) return WithUnit(seconds, "s");
    return FormatWholeSeconds(static_cast<std::uint64_t>(seconds + 0.5));
}

}  // namespace orb3
