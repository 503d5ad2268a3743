#pragma once

// What the demonstration plays: voices at their places, an engine that circles and flies past, and a room.
// One thread.

#include <string>
#include <vector>

#include "tools/presets/reverbpresets.h"

namespace demo {

class Player;

enum class Part { Voices, Circle, Room };

struct Scene {
    std::vector<Part> parts;
    std::string voiceFolder;
    const presets::ReverbPreset* room = nullptr;
    bool isQuick = false;
};

/// A stretch of what was played, by the player's clock (seconds).
struct Segment {
    std::string name;
    double start = 0, end = 0;
};

struct Played {
    double onset = 0;  ///< when the first sound begins, by the player's clock (seconds)
    std::vector<Segment> segments;
};

/// Plays and says on standard output what it plays.
Played Play(const Player& player, const Scene& scene);

/// Says on standard output what there is to play.
void List(const Scene& scene);

}  // namespace demo
