#pragma once

// Where each value lies in a status page (docs/status-page.md): the one place that its writer and its readers
// share. Numbers are little-endian; texts are UTF-8, filled up with NULs, and needn't end in one. Constants
// and plain functions; any thread.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace goal {

static_assert(std::endian::native == std::endian::little, "a status page is written as memory holds it");

/// `at` counts bytes from the start of the page.
template <typename Number>
struct StatusNumber {
    std::size_t at;
};
struct StatusText {
    std::size_t at, length;  ///< bytes
};

struct StatusLayout {
    static constexpr std::size_t size = 4096;  ///< bytes
    static constexpr std::size_t headerSize = 64;
    static constexpr std::uint32_t currentVersion = 1;
    static constexpr std::string_view magicText = "TSRSTAT\n";
    static constexpr std::size_t mostRefusals = 16;

    // The header.
    static constexpr StatusText magic{0, 8};
    static constexpr StatusNumber<std::uint32_t> version{8};
    static constexpr StatusNumber<std::uint32_t> pageSize{12};
    static constexpr StatusNumber<std::uint32_t> pid{16};
    static constexpr StatusNumber<std::uint32_t> sequence{20};   ///< odd while the page is written to
    static constexpr StatusNumber<std::uint64_t> startTime{24};  ///< of the process, clock ticks
    static constexpr StatusNumber<std::uint64_t> pidSpace{32};   ///< see platform/processid.h

    // The process. 40 to 63 are reserved.
    static constexpr StatusText program{64, 64};
    static constexpr StatusText libraryVersion{128, 32};
    static constexpr StatusNumber<std::uint32_t> contextsMade{160};
    static constexpr StatusNumber<std::uint32_t> contextsAlive{164};
    static constexpr StatusNumber<std::uint32_t> contextsFailed{168};
    static constexpr StatusNumber<std::uint32_t> refusals{176};  ///< the first of mostRefusals

    // What the last run plays to; zeros before the first.
    static constexpr StatusNumber<std::uint32_t> sampleRate{240};   ///< Hz
    static constexpr StatusNumber<std::uint32_t> blockFrames{244};  ///< of a block
    static constexpr StatusNumber<std::uint32_t> order{248};        ///< of the bus
    static constexpr StatusText device{256, 128};
    static constexpr StatusText layout{384, 128};

    static constexpr StatusText profile{512, 64};
    static constexpr StatusText profileChanges{576, 448};
    static constexpr StatusText lastFailure{1024, 256};  ///< why a context couldn't start

    // 1280 to 2047 are reserved for load and levels, 2048 to 4095 for 64 sources of 32 bytes.
};

template <typename Number>
Number Get(std::span<const std::byte> page, StatusNumber<Number> field) {
    Number value{};
    std::memcpy(&value, page.data() + field.at, sizeof value);
    return value;
}
template <typename Number>
void Put(std::span<std::byte> page, StatusNumber<Number> field, Number value) {
    std::memcpy(page.data() + field.at, &value, sizeof value);
}

inline std::string Get(std::span<const std::byte> page, StatusText field) {
    const char* const first = reinterpret_cast<const char*>(page.data() + field.at);
    return {first, std::find(first, first + field.length, '\0')};
}
/// As much of `text` as fits, in whole characters.
inline void Put(std::span<std::byte> page, StatusText field, std::string_view text) {
    std::size_t length = std::min(text.size(), field.length);
    if (length < text.size())
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
            --length;
    std::memset(page.data() + field.at, 0, field.length);
    std::memcpy(page.data() + field.at, text.data(), length);
}

constexpr StatusNumber<std::uint32_t> RefusalField(std::size_t switchIndex) {
    return {StatusLayout::refusals.at + sizeof(std::uint32_t) * switchIndex};
}

}  // namespace goal
