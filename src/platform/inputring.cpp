#include "platform/inputring.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace platform {
namespace {

std::size_t Capacity(std::size_t frameBytes, std::uint32_t frames) {
    if (frames > std::numeric_limits<std::ptrdiff_t>::max() / frameBytes) throw std::bad_alloc();
    return frameBytes * frames;
}

}  // namespace

std::size_t InputFormat::FrameBytes() const {
    switch (sample) {
        case Sample::Unsigned8:
            return channels;
        case Sample::Signed16:
            return std::size_t{2} * channels;
        case Sample::Float32:
            return std::size_t{4} * channels;
    }
    return 0;  // a value outside the table
}

// A game may ask for hours: memory that isn't touched costs nothing.
InputRing::InputRing(const InputFormat& format, std::uint32_t frames)
    : format(format),
      frameBytes(format.FrameBytes()),
      capacity(Capacity(frameBytes, frames)),
      bytes(std::make_unique_for_overwrite<std::byte[]>(capacity)) {}

void InputRing::Write(const void* samples, std::size_t frames) {
    const slib::Lock lock(mutex);
    if (!isRunning) return;
    const std::size_t size = std::min(frames, (capacity - filled) / frameBytes) * frameBytes;
    const std::size_t start = (begin + filled) % capacity;
    const std::size_t first = std::min(size, capacity - start);
    if (samples == nullptr) {
        const int silence = format.sample == InputFormat::Sample::Unsigned8 ? 128 : 0;
        std::memset(bytes.get() + start, silence, first);
        std::memset(bytes.get(), silence, size - first);
    } else {
        std::memcpy(bytes.get() + start, samples, first);
        std::memcpy(bytes.get(), static_cast<const std::byte*>(samples) + first, size - first);
    }
    filled += size;
}

bool InputRing::Read(void* samples, std::uint32_t frames) {
    const slib::Lock lock(mutex);
    const std::size_t size = std::size_t{frames} * frameBytes;
    if (frames > filled / frameBytes) return false;
    if (size == 0) return true;
    const std::size_t first = std::min(size, capacity - begin);
    std::memcpy(samples, bytes.get() + begin, first);
    std::memcpy(static_cast<std::byte*>(samples) + first, bytes.get(), size - first);
    begin = (begin + size) % capacity;
    filled -= size;
    return true;
}

std::uint32_t InputRing::Available() const {
    const slib::Lock lock(mutex);
    return static_cast<std::uint32_t>(filled / frameBytes);
}

void InputRing::SetRunning(bool running) {
    const slib::Lock lock(mutex);
    isRunning = running;
}

bool InputRing::IsRunning() const {
    const slib::Lock lock(mutex);
    return isRunning;
}

}  // namespace platform
