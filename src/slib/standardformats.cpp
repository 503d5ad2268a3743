#include "slib/standardformats.h"

#include <array>
#include <cstddef>

#include "slib/exception.h"

namespace slib {
namespace {

struct Entry {
    std::string_view name;
    std::array<std::string_view, 8> channels{};  // empty ones at the end
};

// Indexed by the value of the format. A constant, since the game's other threads may still look here while
// one of them ends the process.
constexpr std::array<Entry, 10> table{{
    {"Unknown"},
    {"Mono", {"Output"}},
    {"Stereo", {"Left", "Right"}},
    {"Headphone Stereo", {"Left", "Right"}},
    {"Surround Stereo", {"Left", "Right"}},
    {"Quad", {"Front Left", "Front Right", "Back Left", "Back Right"}},
    {"Surround 5.1",
     {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Back Left", "Back Right"}},
    {"Surround 5.1 (ITU)",
     {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Side Left", "Side Right"}},
    {"Surround 7.1",
     {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Back Left", "Back Right", "Side Left",
      "Side Right"}},
    {"Surround 7.1 (Wide)",
     {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Back Left", "Back Right",
      "Front Left of Centre", "Front Right of Centre"}},
}};

const Entry& Find(StandardFormat format) {
    const auto index = static_cast<std::size_t>(format);
    if (index >= table.size()) ThrowUnreachable("slib/standardformats", __LINE__);
    return table[index];
}

}  // namespace

std::string GetStandardFormatName(StandardFormat format) {
    return std::string(Find(format).name);
}

StandardFormat ParseStandardFormat(std::string_view text) {
    for (std::size_t i = 0; i < table.size(); ++i)
        if (table[i].name == text) return static_cast<StandardFormat>(i);
    throw BadDataException("Unknown standard format '" + std::string(text) + "'.");
}

std::vector<std::string> GetStandardChannelNames(StandardFormat format) {
    std::vector<std::string> names;
    for (const std::string_view channel : Find(format).channels)
        if (!channel.empty()) names.emplace_back(channel);
    if (names.empty()) throw BadDataException("Channel names are unavailable for this standard format.");
    return names;
}

}  // namespace slib
