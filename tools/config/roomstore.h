#pragma once

// Where rooms go that a user measured. One thread.

#include "library/layouts.h"

namespace tool {

/// Designs the decoders of a room, in place of those of an earlier one of its name, and stores them in the
/// user's own format library. Throws slib::BadDataException, which says what to do, and what the design and
/// the library throw; then nothing was stored.
void StoreRoom(const design::SpeakerLayout& room);

}  // namespace tool
