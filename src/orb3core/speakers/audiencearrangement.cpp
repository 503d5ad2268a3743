#include "orb3core/speakers/audiencearrangement.h"

#include "slib/enumtexts.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

constexpr auto texts =
    slib::MakeEnumTexts<AudienceArrangement>("Free", "Upright", "Forward", "Forward/Upright");

}  // namespace

std::string GetAudienceArrangementText(AudienceArrangement arrangement) {
    return texts.TextOf(arrangement);
}

AudienceArrangement ParseAudienceArrangement(std::string_view text) {
    if (const auto arrangement = texts.Find(text)) return *arrangement;
    throw slib::BadDataException("Unknown audience arrangement '" + std::string(text) + "'.");
}

}  // namespace orb3
