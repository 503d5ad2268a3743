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
    static constexpr std::size_t mostEffects = 16;
    static constexpr std::size_t mostOutputs = 32;
    static constexpr std::size_t mostSources = 64;

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

    // What goes on, written with each block. Up to greatestPeak it is of all runs of the process so far, and
    // what follows is of the run that is shown. 1356 to 1407 are reserved.
    static constexpr StatusNumber<std::uint64_t> blocks{1280};
    static constexpr StatusNumber<std::uint64_t> blockTime{1288};  ///< of the last one, ns, monotonic clock
    static constexpr StatusNumber<std::uint32_t> lateBlocks{1296};
    static constexpr StatusNumber<std::uint32_t> sourcesPlaying{1300};  ///< now, in all contexts
    static constexpr StatusNumber<std::uint32_t> mostPlaying{1304};     ///< at once
    static constexpr StatusNumber<float> greatestLoad{1308};            ///< of a block, of the time it plays
    static constexpr StatusNumber<float> greatestPeak{1312};            ///< of any output, linear
    static constexpr StatusNumber<std::uint32_t> latencyFrames{1316};
    static constexpr StatusNumber<std::uint32_t> ringFrames{1320};
    static constexpr StatusNumber<std::uint32_t> serverFrames{1324};
    static constexpr StatusNumber<float> loadMean{1328};  ///< of the time that a block plays
    static constexpr StatusNumber<float> loadMax{1332};
    static constexpr StatusNumber<float> limiterGain{1336};  ///< linear
    static constexpr StatusNumber<std::uint32_t> flags{1340};
    static constexpr StatusNumber<std::uint32_t> outputCount{1344};  ///< may be more than mostOutputs
    static constexpr StatusNumber<std::uint32_t> effectCount{1348};  ///< of those listed
    static constexpr StatusNumber<std::uint32_t> sourceCount{1352};  ///< the same
    static constexpr std::size_t effects = 1408, outputs = 1536, sources = 2048;
    static constexpr std::uint32_t outputAway = 1;  ///< in `flags`
    static constexpr std::uint32_t sourceIsRelative = 1, sourceIsLooping = 2;
};

/// An effect in a list of mostEffects, which starts at StatusLayout::effects.
struct StatusEffectFields {
    explicit constexpr StatusEffectFields(std::size_t index) : at(StatusLayout::effects + 8 * index) {}
    const std::size_t at;
    const StatusNumber<std::uint16_t> slot{at};      ///< its name
    const StatusNumber<std::uint16_t> type{at + 2};  ///< an AL_EFFECT_ value
    const StatusNumber<float> gain{at + 4};          ///< of the slot, linear
};

/// The same of the outputs.
struct StatusOutputFields {
    explicit constexpr StatusOutputFields(std::size_t index) : at(StatusLayout::outputs + 16 * index) {}
    const std::size_t at;
    const StatusText name{at, 8};
    const StatusNumber<float> peak{at + 8};  ///< linear
    const StatusNumber<float> rms{at + 12};  ///< linear
};

/// The same of the sources. Axes are those of OpenAL at the listener: x right, y up, z back.
struct StatusSourceFields {
    explicit constexpr StatusSourceFields(std::size_t index) : at(StatusLayout::sources + 32 * index) {}
    const std::size_t at;
    const StatusNumber<std::uint32_t> number{at};  ///< its name
    const StatusNumber<std::uint32_t> flags{at + 4};
    const StatusNumber<float> x{at + 8}, y{at + 12}, z{at + 16};  ///< of length 1, or zeros
    const StatusNumber<float> distance{at + 20};                  ///< units
    const StatusNumber<float> level{at + 24};                     ///< RMS, linear
    const StatusNumber<std::uint32_t> channels{at + 28};
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
