#include "orb3core/speakers/audiencearrangement.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "slib/exception.h"

namespace orb3 {
namespace {

// Indexed by the value of the arrangement.
constexpr std::array<std::string_view, 4> texts{"Free", "Upright", "Forward", "Forward/Upright"};

}  // namespace

std::string GetAudienceArrangementText(AudienceArrangement arrangement) {
    const auto index = static_cast<std::size_t>(arrangement);
    if (index >= texts.size()) slib::ThrowUnreachable();
    return std::string(texts[index]);
}

AudienceArrangement ParseAudienceArrangement(std::string_view text) {
    const auto found = std::find(texts.begin(), texts.end(), text);
    if (found == texts.end())
        throw slib::BadDataException("Unknown audience arrangement '" + std::string(text) + "'.");
    return static_cast<AudienceArrangement>(found - texts.begin());
}

}  // namespace orb3
