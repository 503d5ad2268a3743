#include "goal/sound/buffer.h"

#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "slib/exception.h"

namespace goal {
namespace {

// A mono IMA4 block starts with 4 bytes of header, followed by two frames a byte; a stereo block starts with
// 8, followed by one frame a byte.
constexpr std::uint64_t ima4MonoHeader = 4;
constexpr std::uint64_t ima4StereoHeader = 8;

std::uint64_t FrameCount(const BufferFormat& format, std::uint32_t size) {
    return std::uint64_t{size} / format.blockBytes * format.blockFrames;
}

// The format, after a check that the frames of a buffer of `size` bytes can be counted.
const BufferFormat& RequireFormat(std::int32_t formatId, std::uint32_t size) {
    const BufferFormat* format = FindBufferFormat(formatId);
    if (format == nullptr) {
        throw slib::BadParameterException("There is no buffer format " + std::to_string(formatId) + ".");
    }
    if (FrameCount(*format, size) > std::numeric_limits<std::uint32_t>::max()) {
        throw slib::BadParameterException("A buffer of " + std::to_string(size) + " bytes in format " +
                                          std::to_string(formatId) +
                                          " has more frames than a buffer can count.");
    }
    return *format;
}

const std::uint8_t* CopyOf(const void* data, std::uint32_t size) {
    if (size == 0) return nullptr;
    auto* copy = new (std::nothrow) std::uint8_t[size];
    if (copy == nullptr) throw slib::OutOfMemoryException();
    std::memcpy(copy, data, size);
    return copy;
}

const BufferFormat& FormatOf(const Buffer& buffer) {
    return *FindBufferFormat(buffer.formatId);
}

bool IsIma4(const BufferFormat& format) {
    return format.encoding == SampleEncoding::Ima4;
}

}  // namespace

Buffer::Buffer(std::uint32_t name, std::int32_t formatId, float frequency, const void* data,
               std::uint32_t size, bool copyData)
    : Buffer(RequireFormat(formatId, size), name, frequency, data, size, copyData) {}

Buffer::Buffer(const BufferFormat& format, std::uint32_t name, float frequency, const void* data,
               std::uint32_t size, bool copyData)
    : name(name),
      formatId(format.id),
      frequency(frequency),
      data(copyData ? CopyOf(data, size) : static_cast<const std::uint8_t*>(data)),
      size(size),
      ownsData(copyData),
      frames(static_cast<std::uint32_t>(FrameCount(format, size))),
      channels(format.channels),
      arrangementKey(format.arrangementKey),
      scale(format.scale) {}

Buffer::~Buffer() {
    if (ownsData) delete[] data;
}

bool InUse(const Buffer& buffer) {
    return buffer.useCount.load() != 0 || (!buffer.ownsData && buffer.renderers != 0);
}

void LetGo(Buffer* buffer) noexcept {
    if (buffer != nullptr && buffer->holders.fetch_sub(1) == 1) delete buffer;
}

std::uint64_t FramesToBytes(const Buffer& buffer, std::uint64_t frames) {
    const BufferFormat& format = FormatOf(buffer);
    if (!IsIma4(format)) return frames * format.blockBytes;
    return format.channels == 1 ? frames / 2 + ima4MonoHeader : frames + ima4StereoHeader;
}

std::uint64_t BytesToFrames(const Buffer& buffer, std::uint64_t bytes) {
    const BufferFormat& format = FormatOf(buffer);
    if (!IsIma4(format)) return bytes / format.blockBytes;
    const bool isMono = format.channels == 1;
    const std::uint64_t header = isMono ? ima4MonoHeader : ima4StereoHeader;
    const std::uint64_t behindHeader = bytes > header ? bytes - header : 0;
    return isMono ? behindHeader * 2 : behindHeader;
}

std::int32_t BitsOf(const Buffer& buffer) {
    return FormatOf(buffer).bits;
}

}  // namespace goal
