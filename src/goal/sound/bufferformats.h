#pragma once

// The sample formats that a buffer may have. A fixed table, read by the buffer calls and by the readers of
// source queues; usable from any thread.

#include <cstdint>

#include "goal/sound/arrangement.h"

namespace goal {

/// How the samples of a buffer are stored. All are of the machine's byte order, interleaved by channel.
enum class SampleEncoding : std::uint8_t {
    Unsigned8,  ///< 128 is silence
    Signed16,
    Float32,
    Float64,
    MuLaw,  ///< ITU-T G.711, one byte
    Ima4,   ///< IMA ADPCM in blocks of 65 frames
};

/// What the system knows of a format. A block is the smallest piece that can be decoded alone: one frame, but
/// for Ima4.
struct BufferFormat {
    std::int32_t id;  ///< the AL format token
    SampleEncoding encoding;
    std::uint32_t channels;
    Arrangement arrangementKey;
    std::uint32_t blockBytes;
    std::uint32_t blockFrames;
    float scale;        ///< brings a raw sample to full scale 1
    std::int32_t bits;  ///< what AL_BITS reports: 0 but for integer PCM
};

/// The format of an AL token, or null when it is none of ours. The record is static.
[[nodiscard]] const BufferFormat* FindBufferFormat(std::int32_t id);

}  // namespace goal
