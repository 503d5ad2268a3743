#pragma once

// How the listeners of a layout are taken to sit or stand; stored with a speaker set.

#include <string>
#include <string_view>

namespace orb3 {

enum class AudienceArrangement { Free, Upright, Forward, ForwardUpright };

/// The text that documents hold, such as "Forward/Upright". A value outside the enumeration is an integrity
/// failure.
std::string GetAudienceArrangementText(AudienceArrangement arrangement);

/// The arrangement with exactly this text. Throws slib::BadDataException when there is none.
AudienceArrangement ParseAudienceArrangement(std::string_view text);

}  // namespace orb3
