#include "slib/standardformats.h"

#include <array>
#include <cstddef>

#include "slib/exception.h"

namespace slib {
namespace {

struct Entry {
    std::string_view name;
    std::vector<std::string> channels;
};

// Indexed by the value of the format.
const std::array<Entry, 10>& Table() {
    static const std::array<Entry, 10> table{{
        {"Unknown", {}},
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
         {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Back Left", "Back Right",
          "Side Left", "Side Right"}},
        {"Surround 7.1 (Wide)",
         {"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Back Left", "Back Right",
          "Front Left of Centre", "Front Right of Centre"}},
    }};
    return table;
}

const Entry& Find(StandardFormat format) {
    const auto index = static_cast<std::size_t>(format);
    if (index >= Table().size()) ThrowUnreachable("slib/standardformats", __LINE__);
    return Table()[index];
}

}  // namespace

std::string GetStandardFormatName(StandardFormat format) {
    return std::string(Find(format).name);
}

StandardFormat ParseStandardFormat(std::string_view text) {
    for (std::size_t i = 0; i < Table().size(); ++i)
        if (Table()[i].name == text) return static_cast<StandardFormat>(i);
    throw BadDataException("Unknown standard format '" + std::string(text) + "'.");
}

std::vector<std::string> GetStandardChannelNames(StandardFormat format) {
    const Entry& entry = Find(format);
    if (entry.channels.empty())
        throw BadDataException("Channel names are unavailable for this standard format.");
    return entry.channels;
}

}  // namespace slib
