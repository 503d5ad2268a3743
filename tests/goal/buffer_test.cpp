#include "goal/buffer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <ios>
#include <ostream>
#include <vector>

#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::int32_t mono8 = 0x1100, stereo16 = 0x1103, monoIma4 = 0x1300, stereoIma4 = 0x1301,
                       bformat2D8 = 0x20021;

struct Format {
    std::int32_t id;
    std::uint32_t channels;
    std::int32_t arrangementKey;
    std::uint32_t blockBytes, blockFrames;
    float scale;
    std::int32_t bits;

    friend std::ostream& operator<<(std::ostream& out, const Format& format) {
        return out << std::hex << std::showbase << format.id;
    }
};

/// Every format, built from the order in which the families count up their tokens.
std::vector<Format> AllFormats() {
    const float scale8 = 0.0078125f, scale16 = 0.000030517578125f;
    std::vector<Format> all;
    const auto integer = [&](std::int32_t id, std::uint32_t channels, std::int32_t key) {
        all.push_back({id, channels, key, channels, 1, scale8, 8});
        all.push_back({id + 1, channels, key, channels * 2, 1, scale16, 16});
    };
    const auto coded = [&](std::int32_t id, std::uint32_t channels, std::int32_t key, std::uint32_t bytes,
                           float scale) {
        all.push_back({id, channels, key, channels * bytes, 1, scale, 0});
    };
    for (const std::int32_t channels : {1, 2}) {
        const std::int32_t step = channels - 1, key = step * 5;
        const auto count = static_cast<std::uint32_t>(channels);
        integer(0x1100 + step * 2, count, key);
        all.push_back({0x1300 + step, count, key, count * 36, 65, scale16, 0});
        coded(0x10010 + step, count, key, 4, 1);
        coded(0x10012 + step, count, key, 8, 1);
        coded(0x10014 + step, count, key, 1, scale16);
    }
    const std::array<std::uint32_t, 5> channels{4, 2, 6, 7, 8};
    const std::array<std::int32_t, 5> keys{9, 10, 6, 7, 8};
    for (std::int32_t i = 0; i < 5; ++i) {
        const auto index = static_cast<std::size_t>(i);
        integer(0x1204 + i * 3, channels[index], keys[index]);
        coded(0x1206 + i * 3, channels[index], keys[index], 4, 1);
        coded(0x10021 + i, channels[index], keys[index], 1, scale16);
    }
    for (const std::int32_t dimensions : {2, 3}) {
        const auto count = static_cast<std::uint32_t>(dimensions + 1);
        integer(0x20001 + dimensions * 0x10, count, dimensions - 1);
        coded(0x20003 + dimensions * 0x10, count, dimensions - 1, 4, 1);
        coded(0x1002F + dimensions, count, dimensions - 1, 1, scale16);
    }
    return all;
}

class BufferOfEachFormat : public testing::TestWithParam<Format> {};

TEST_P(BufferOfEachFormat, KnowsItsShape) {
    const Format& format = GetParam();
    const std::vector<std::uint8_t> samples(format.blockBytes * 3, 0x55);
    const Buffer buffer(7, format.id, 44100, samples.data(), format.blockBytes * 3, true);
    EXPECT_EQ(buffer.name, 7u);
    EXPECT_EQ(buffer.frequency, 44100.0f);
    EXPECT_EQ(buffer.channels, format.channels);
    EXPECT_EQ(buffer.arrangementKey, format.arrangementKey);
    EXPECT_EQ(buffer.frames, format.blockFrames * 3);
    EXPECT_EQ(buffer.scale, format.scale);
    EXPECT_EQ(BitsOf(buffer), format.bits);
    EXPECT_EQ(Buffer(7, format.id, 44100, nullptr, 0, true).frames, 0u);
}

TEST_P(BufferOfEachFormat, ConvertsPositionsBothWays) {
    const Format& format = GetParam();
    const Buffer buffer(1, format.id, 44100, nullptr, 0, true);
    for (const std::uint64_t frames : {0u, 1u, 65u, 1000u}) {
        const std::uint64_t bytes = FramesToBytes(buffer, frames);
        const bool isMonoIma4 = format.id == monoIma4;
        EXPECT_EQ(BytesToFrames(buffer, bytes), isMonoIma4 ? frames / 2 * 2 : frames);
        if (format.blockFrames == 1) {
            EXPECT_EQ(bytes, frames * format.blockBytes);
            EXPECT_EQ(BytesToFrames(buffer, bytes + format.blockBytes - 1), frames);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Table, BufferOfEachFormat, testing::ValuesIn(AllFormats()));

TEST(BufferFormats, OtherTokens_AreUnknown) {
    std::vector<std::int32_t> known;
    for (const Format& format : AllFormats())
        known.push_back(format.id);
    EXPECT_EQ(known.size(), 40u);
    int found = 0;
    for (std::int32_t id = -0x100; id < 0x30000; ++id)
        found += FindBufferFormat(id) != nullptr ? 1 : 0;
    EXPECT_EQ(found, 40);
    EXPECT_THROW(Buffer(1, 0x1104, 44100, nullptr, 0, true), slib::BadParameterException);
}

TEST(Buffer, Ima4Positions_StartBehindTheHeader) {
    const Buffer mono(1, monoIma4, 44100, nullptr, 0, true);
    const Buffer stereo(2, stereoIma4, 44100, nullptr, 0, true);
    EXPECT_EQ(FramesToBytes(mono, 65), 36u);
    EXPECT_EQ(FramesToBytes(stereo, 64), 72u);
    for (std::uint64_t bytes = 0; bytes <= 4; ++bytes)
        EXPECT_EQ(BytesToFrames(mono, bytes), 0u);
    EXPECT_EQ(BytesToFrames(mono, 7), 6u);
    EXPECT_EQ(BytesToFrames(stereo, 8), 0u);
    EXPECT_EQ(BytesToFrames(stereo, 20), 12u);
}

TEST(Buffer, GreatSizes_CountTheirFramesIn64Bits) {
    // Static buffers whose memory is never looked at.
    const std::uint8_t byte = 0;
    EXPECT_EQ(Buffer(1, mono8, 8000, &byte, 0xFFFFFFFF, false).frames, 0xFFFFFFFFu);
    EXPECT_EQ(Buffer(1, stereoIma4, 8000, &byte, 4294967256u, false).frames, 3877400995u);
    EXPECT_EQ(Buffer(1, monoIma4, 8000, &byte, 2147483628u, false).frames, 3877400995u);
    EXPECT_THROW(Buffer(1, monoIma4, 8000, &byte, 4294967292u, false), slib::BadParameterException);
    const Buffer wide(1, 0x1212, 8000, nullptr, 0, true);
    EXPECT_EQ(FramesToBytes(wide, 0xFFFFFFFF), 137438953440u);
}

TEST(Buffer, CopiedData_OutlivesTheApplications) {
    std::vector<std::uint8_t> samples{1, 2, 3, 4};
    const Buffer copied(1, stereo16, 44100, samples.data(), 4, true);
    const Buffer referred(2, stereo16, 44100, samples.data(), 4, false);
    samples[0] = 9;
    EXPECT_EQ(copied.data[0], 1);
    EXPECT_EQ(copied.data[3], 4);
    EXPECT_EQ(referred.data, samples.data());
}

struct Use {
    bool ownsData;
    std::int32_t useCount, renderUseCount;
    bool inUse;
};

class BufferUse : public testing::TestWithParam<Use> {};

TEST_P(BufferUse, StaticDataIsAlsoHeldByTheRenderer) {
    const std::uint8_t byte = 0;
    Buffer buffer(1, mono8, 44100, &byte, 1, GetParam().ownsData);
    buffer.useCount = GetParam().useCount;
    buffer.renderUseCount = GetParam().renderUseCount;
    EXPECT_EQ(InUse(buffer), GetParam().inUse);
}

INSTANTIATE_TEST_SUITE_P(Counts, BufferUse,
                         testing::Values(Use{true, 0, 0, false}, Use{true, 1, 0, true},
                                         Use{true, 0, 2, false}, Use{true, 3, 1, true},
                                         Use{false, 0, 0, false}, Use{false, 1, 0, true},
                                         Use{false, 0, 2, true}, Use{false, 1, 1, true}));

TEST(Buffer, PartOfAFrameBehindTheLast_IsNotCounted) {
    const std::array<std::uint8_t, 8> bytes{};
    EXPECT_EQ(Buffer(1, bformat2D8, 44100, bytes.data(), 8, true).frames, 2u);
}

// The sanitizers' allocators end the process where the plain one refuses.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
/// Leaves the process with 0 when a buffer made without memory throws what it should.
[[noreturn]] void MakeBufferWithoutMemory() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_AS, &none);
    try {
        const std::uint8_t byte = 0;  // not read, since the copy is never begun
        const Buffer buffer(1, mono8, 44100, &byte, 0xFFFFFFFF, true);
    } catch (const slib::OutOfMemoryException&) {
        _exit(0);
    }
    _exit(1);
}

TEST(BufferDeathTest, WithoutMemoryForTheCopy_ThrowsOutOfMemory) {
    EXPECT_EXIT(MakeBufferWithoutMemory(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace goal
