#include "platform/ringbuffer.h"

#include <algorithm>
#include <cstddef>

namespace platform {

RingBuffer::RingBuffer(const RingShape& shape)
    : shape(shape),
      frameBytes(4 * shape.channels),
      samples(std::make_unique<std::int32_t[]>(std::size_t{shape.frames} * shape.channels)) {}

Result RingBuffer::GetCurrentPosition(std::uint32_t* playCursor, std::uint32_t* writeCursor) {
    RingCursors cursors;
    if (const Result result = ReadCursors(cursors); result != DS_OK) return result;
    // A full ring ahead would read as nothing ahead.
    cursors.write = std::min(cursors.write, cursors.play + shape.frames - 1);
    if (playCursor != nullptr)
        *playCursor = static_cast<std::uint32_t>(cursors.play % shape.frames) * frameBytes;
    if (writeCursor != nullptr)
        *writeCursor = static_cast<std::uint32_t>(cursors.write % shape.frames) * frameBytes;
    return DS_OK;
}

Result RingBuffer::Play(std::uint32_t, std::uint32_t, std::uint32_t flags) {
    if (flags != DSBPLAY_LOOPING) return DSERR_INVALIDPARAM;
    if (isPlaying) return DS_OK;
    const Result result = StartOutput();
    isPlaying = result == DS_OK;
    return result;
}

Result RingBuffer::Stop() {
    if (!isPlaying) return DS_OK;
    isPlaying = false;
    const Result result = StopOutput();
    // What was written and not played has had its time: a later start begins in silence.
    std::fill_n(samples.get(), std::size_t{shape.frames} * shape.channels, 0);
    return result;
}

Result RingBuffer::Lock(std::uint32_t offset, std::uint32_t bytes, void** first, std::uint32_t* firstBytes,
                        void** second, std::uint32_t* secondBytes, std::uint32_t) {
    if (first == nullptr || firstBytes == nullptr || second == nullptr || secondBytes == nullptr ||
        offset >= Bytes() || bytes == 0 || bytes > Bytes() || offset % frameBytes != 0 ||
        bytes % frameBytes != 0)
        return DSERR_INVALIDPARAM;
    auto* const start = reinterpret_cast<std::byte*>(samples.get());
    *first = start + offset;
    *firstBytes = std::min(bytes, Bytes() - offset);
    *secondBytes = bytes - *firstBytes;
    *second = *secondBytes == 0 ? nullptr : start;
    return DS_OK;
}

Result RingBuffer::Unlock(void* first, std::uint32_t firstBytes, void* second, std::uint32_t secondBytes) {
    if (!HoldsPiece(first, firstBytes) || (second != nullptr && !HoldsPiece(second, secondBytes)))
        return DSERR_INVALIDPARAM;
    NotePiece(first, firstBytes);
    if (second != nullptr) NotePiece(second, secondBytes);
    return DS_OK;
}

void RingBuffer::NoteWritten(std::uint32_t, std::uint32_t) {}

bool RingBuffer::HoldsPiece(const void* piece, std::uint32_t bytes) const {
    const auto start = reinterpret_cast<std::uintptr_t>(samples.get());
    const auto address = reinterpret_cast<std::uintptr_t>(piece);
    return address >= start && address - start < Bytes() && bytes <= Bytes() - (address - start);
}

void RingBuffer::NotePiece(const void* piece, std::uint32_t bytes) {
    const auto offset =
        static_cast<const std::byte*>(piece) - reinterpret_cast<const std::byte*>(samples.get());
    NoteWritten(static_cast<std::uint32_t>(offset) / frameBytes, bytes / frameBytes);
}

}  // namespace platform
