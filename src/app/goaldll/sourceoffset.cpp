#include "app/goaldll/sourceoffset.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "app/goaldll/numbers.h"

namespace goal {
namespace {

constexpr int fractionBits = 16;  // of Source::position

using Length = const std::uint32_t Buffer::*;

struct Place {
    std::uint32_t queueIndex;
    std::uint64_t rest;  // in that buffer
};

// The first buffer that reaches beyond `count`, all buffers before it taken off.
std::optional<Place> FindPlace(const BufferQueue& queue, Length length, std::uint64_t count) {
    for (std::uint32_t i = 0; i < queue.size; ++i) {
        if (count < queue[i]->*length) return Place{i, count};
        count -= queue[i]->*length;
    }
    return std::nullopt;
}

std::uint64_t LengthBefore(const Source& source, Length length) {
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < std::min(source.queueIndex, source.queue.size); ++i)
        sum += source.queue[i]->*length;
    return sum;
}

// The byte positions of compressed formats reach beyond the last frame.
std::uint64_t FrameOfByte(const Buffer& buffer, std::uint64_t bytes) {
    const std::uint64_t last = buffer.frames > 0 ? buffer.frames - 1 : 0;
    return std::min(BytesToFrames(buffer, bytes), last);
}

std::uint64_t FrameInBuffer(const Source& source) {
    return source.position >> fractionBits;
}

double BytesPassed(const Source& source) {
    if (source.queueIndex >= source.queue.size) return 0;
    return static_cast<double>(LengthBefore(source, &Buffer::size) +
                               FramesToBytes(*source.queue[source.queueIndex], FrameInBuffer(source)));
}

double FramesPassed(const Source& source) {
    return static_cast<double>(LengthBefore(source, &Buffer::frames) + FrameInBuffer(source));
}

}  // namespace

bool IsOffset(ALenum unit) {
    return unit == AL_SEC_OFFSET || unit == AL_SAMPLE_OFFSET || unit == AL_BYTE_OFFSET;
}

int SetOffset(const SourceAccess& source, ALenum unit, double value) {
    const BufferQueue& queue = source.PlayState().queue;
    if (queue.size == 0 || !(value >= 0)) return AL_INVALID_VALUE;
    if (unit == AL_SEC_OFFSET) value = value * static_cast<double>(queue[0]->frequency) + 0.5;
    const std::optional<std::uint64_t> count = CutToCount(value);
    if (!count) return AL_INVALID_VALUE;
    const bool isBytes = unit == AL_BYTE_OFFSET;
    const std::optional<Place> place = FindPlace(queue, isBytes ? &Buffer::size : &Buffer::frames, *count);
    if (!place) return AL_INVALID_VALUE;
    const std::uint64_t frame = isBytes ? FrameOfByte(*queue[place->queueIndex], place->rest) : place->rest;
    if (source.PlayState().state == SourceState::Playing)
        source.PrepareToPlay();  // it begins with clean memory
    Source& target = source.ChangePlayState();
    target.queueIndex = place->queueIndex;
    target.position = frame << fractionBits;
    return AL_NO_ERROR;
}

double GetOffset(const SourceAccess& source, ALenum unit) {
    const Source& seen = source.PlayState();
    if (seen.queue.size == 0) return 0;
    if (unit == AL_BYTE_OFFSET) return BytesPassed(seen);
    const double frames = FramesPassed(seen);
    return unit == AL_SEC_OFFSET ? frames / static_cast<double>(seen.queue[0]->frequency) : frames;
}

}  // namespace goal
