#pragma once

// What a server tells of the run that it renders (statuspage.h), once at its beginning and then with each
// block. Plain records; levels are linear, 1 at full scale.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "goal/state/basis.h"
#include "goal/statuslayout.h"
#include "orb3core/decoder/levelmeter.h"

namespace goal {

/// What a run plays to.
struct StatusOutput {
    std::string device, layout;
    std::uint32_t sampleRate = 0;      ///< Hz
    std::uint32_t blockFrames = 0;     ///< of a block
    std::uint32_t order = 0;           ///< of the bus
    std::vector<std::string> outputs;  ///< their short names
};

struct StatusEffect {
    std::uint32_t slot = 0;  ///< its name
    std::int32_t type = 0;   ///< an AL_EFFECT_ value
    float gain = 1;          ///< of the slot
};

struct StatusSource {
    std::uint32_t number = 0;  ///< its name
    bool isRelative = false, isLooping = false;
    std::uint32_t channels = 1;
    Vector3 direction{};   ///< at the listener: x right, y up, z back; zeros for all around
    float distance = 0;    ///< units
    float meanSquare = 0;  ///< of what its direct path adds to the mix
};

/// What happened with a block, and before it.
struct StatusBlock {
    std::uint64_t time = 0;            ///< ns, of the monotonic clock
    std::uint32_t lateBlocks = 0;      ///< in this run so far; those in a row count once
    std::uint32_t sourcesPlaying = 0;  ///< which may be more than are listed
    float load = 0;                    ///< of this block, of the time that it plays
    float loadMean = 0, loadMax = 0;   ///< of late
    std::uint32_t latencyFrames = 0;   ///< from a call to the ear
    std::uint32_t ringFrames = 0, serverFrames = 0;
    float limiterGain = 1;
    bool isOutputAway = false;
    bool listensToTracker = false, hearsTracker = false;
    std::array<float, 3> head{};  ///< yaw, pitch and roll in degrees
    bool recordsField = false, recordsOutput = false;
    std::array<orb3::OutputLevel, StatusLayout::mostOutputs> outputs{};
    std::array<StatusEffect, StatusLayout::mostEffects> effects{};
    std::uint32_t effectCount = 0;
    std::array<StatusSource, StatusLayout::mostSources> sources{};
    std::uint32_t sourceCount = 0;
};

}  // namespace goal
