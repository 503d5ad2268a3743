#pragma once

// What a room would sound like, in some milliseconds: how loud, how sharp and how far off a source is in each
// direction, by a decoder that isn't fitted yet. For the commands and the page that show a room before its
// decoders are designed. A free function without state; any thread.

#include <vector>

#include "library/layouts.h"

namespace design {

/// A source in one direction.
struct PreviewPoint {
    double angle;      ///< degrees from straight ahead: to the left on the horizon, else upwards
    double level;      ///< dB of the speakers' energy, against its mean over the horizon
    double sharpness;  ///< length of Gerzon's (1992) energy vector: 1 for a single speaker, 0 all around
    double error;      ///< degrees between the source and that vector
};

struct RoomPreview {
    std::vector<PreviewPoint> horizontal;  ///< all around on the horizon
    std::vector<PreviewPoint> vertical;    ///< around the median plane: ahead, above, behind, below
};

/// Distances are made up for. `step` in degrees divides 360. Throws slib::BadParameterException for an order
/// outside 1 to 4 and a room without a speaker to decode for.
RoomPreview PreviewRoom(const SpeakerLayout& room, unsigned order, unsigned step = 5);

}  // namespace design
