#pragma once

// A signal that passes the decoder's transform by. The server makes a list of them for each block, on its own
// thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "slib/realtime.h"

namespace orb3 {

/// Goes with a block straight to one output channel: `samples` are the block's frames, the caller's.
struct DirectFeed {
    std::uint32_t channel = 0;
    const float* samples = nullptr;
    float gain = 1;  ///< linear
};

/// Feeds of one channel in a list; more than one where several signals share a speaker.
inline std::ptrdiff_t CountFeeds(std::span<const DirectFeed> feeds, std::uint32_t channel) SLIB_NONBLOCKING {
    return std::count_if(feeds.begin(), feeds.end(),
                         [channel](const DirectFeed& feed) { return feed.channel == channel; });
}

/// Adds `frames` samples of a feed times `gain` to `sum`.
inline void AddFeed(const DirectFeed& feed, float gain, float* sum, std::uint32_t frames) SLIB_NONBLOCKING {
    for (std::uint32_t frame = 0; frame < frames; ++frame)
        sum[frame] += feed.samples[frame] * gain;
}

}  // namespace orb3
