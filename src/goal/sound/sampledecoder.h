#pragma once

// From the bytes of a buffer to raw sample values: floats that the buffer's scale brings to full scale 1. The
// readers of source queues call it on the server's thread; nothing here allocates, locks or fails. The format
// is chosen once per call, outside the sample loop. Buffers hold the byte order of the machine, which is
// little-endian; memory of the game may have any alignment.
//
//     8 bits       byte - 128                 mu-law       16-bit value of ITU-T G.711
//     16 bits      the value                  IMA ADPCM    decoded 16-bit value
//     float        the value                  double       rounded to a float

#include <cstdint>

#include "goal/sound/buffer.h"
#include "slib/realtime.h"

namespace goal {

/// Frames picked out of one buffer at a fixed step. Positions are frames in 48.16 fixed point.
struct FramePicks {
    std::uint64_t position;  ///< of the first pick
    std::uint64_t step;      ///< from pick to pick
    std::uint32_t count;     ///< picks
    std::uint32_t width;     ///< frames of each pick, which end with the frame that its position lies in
};

/// Frames `first` to `first` + `count` - 1, which the buffer must have, as interleaved raw values. Returns
/// the buffer's own memory when that holds aligned floats, else `scratch`, filled; `scratch` has room for
/// `count` * channels floats.
const float* RawFrames(const Buffer& buffer, std::uint32_t first, std::uint32_t count,
                       float* scratch) SLIB_NONBLOCKING;

/// Fills `target` with count * width * channels raw values, frame by frame. Reads only the frames that it
/// picks (of IMA ADPCM, their blocks), however great the step; all of them must be frames of the buffer.
void PickRawFrames(const Buffer& buffer, const FramePicks& picks, float* target) SLIB_NONBLOCKING;

/// The last frame of the buffer as the one that came before the next buffer: `channels` raw values. Keeps
/// `frame` for a buffer of 0 frames. With `isPlain` zeros for IMA ADPCM, of which the last frame isn't
/// decoded.
void CopyLastRawFrame(const Buffer& buffer, bool isPlain, float* frame) SLIB_NONBLOCKING;

}  // namespace goal
