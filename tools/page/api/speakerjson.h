#pragma once

// Speakers as the page has them. Plain functions.

#include "library/layouts.h"
#include "orb3core/speakers/layout.h"
#include "tools/page/api/api.h"

namespace page {

/// Of a stored layout, with its outputs and gains.
Json SpeakersOf(const orb3::spk::Layout& layout);
/// Of a room that isn't stored.
Json SpeakersOf(const design::SpeakerLayout& room);

/// A room of what the page sent: "azimuth", "elevation" and "type", and what else a speaker may have. A
/// distance that is left out wasn't measured. `isNamed` says whether speakers need labels. Throws
/// tool::WrongUse.
design::SpeakerLayout RoomFrom(const std::string& name, const Json& speakers, bool isNamed);

}  // namespace page
