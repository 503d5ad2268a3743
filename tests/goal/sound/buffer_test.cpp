#include "goal/sound/buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::int32_t mono8 = 0x1100, monoIma4 = 0x1300, stereoIma4 = 0x1301;

// Checks that a format has such frames, and that positions in it become bytes and back.
void ExpectPcm(std::int32_t id, std::uint32_t channels, std::int32_t arrangement, std::uint32_t frameBytes,
               double scale, std::int32_t bits) {
    SCOPED_TRACE(id);
    const std::vector<std::uint8_t> samples(frameBytes * 4, 0x55);
    const Buffer buffer(7, id, 44100, samples.data(), frameBytes * 4 - 1, true);
    EXPECT_EQ(buffer.frames, 3u);  // without the part behind the last whole one
    EXPECT_EQ(buffer.channels, channels);
    EXPECT_EQ(buffer.arrangementKey, arrangement);
    EXPECT_EQ(buffer.scale, scale);
    EXPECT_EQ(BitsOf(buffer), bits);
    EXPECT_EQ(FramesToBytes(buffer, 0xFFFFFFFF), std::uint64_t{0xFFFFFFFF} * frameBytes);
    EXPECT_EQ(BytesToFrames(buffer, frameBytes * 1001 - 1), 1000u);
}

TEST(BufferFormats, ThirtyTwoOfPcmFourOfDoublesAndIma4_AreAllThereAre) {
    struct Row {
        std::uint32_t channels;
        std::int32_t arrangement, integers, floats, muLaw;  // the tokens; 16 bits stand behind 8
    };
    for (const Row& row : {Row{1, 0, 0x1100, 0x10010, 0x10014},
                           {2, 5, 0x1102, 0x10011, 0x10015},
                           {4, 9, 0x1204, 0x1206, 0x10021},
                           {2, 10, 0x1207, 0x1209, 0x10022},
                           {6, 6, 0x120A, 0x120C, 0x10023},
                           {7, 7, 0x120D, 0x120F, 0x10024},
                           {8, 8, 0x1210, 0x1212, 0x10025},
                           {3, 1, 0x20021, 0x20023, 0x10031},
                           {4, 2, 0x20031, 0x20033, 0x10032}}) {
        ExpectPcm(row.integers, row.channels, row.arrangement, row.channels, 1.0 / 128, 8);
        ExpectPcm(row.integers + 1, row.channels, row.arrangement, row.channels * 2, 1.0 / 32768, 16);
        ExpectPcm(row.floats, row.channels, row.arrangement, row.channels * 4, 1, 0);
        ExpectPcm(row.muLaw, row.channels, row.arrangement, row.channels, 1.0 / 32768, 0);
    }
    ExpectPcm(0x10012, 1, 0, 8, 1, 0);
    ExpectPcm(0x10013, 2, 5, 16, 1, 0);
    int found = 0;
    for (std::int32_t id = -0x100; id < 0x30000; ++id)
        found += FindBufferFormat(id) != nullptr ? 1 : 0;
    EXPECT_EQ(found, 9 * 4 + 4);
    EXPECT_THROW(Buffer(1, 0x1104, 44100, nullptr, 0, true), slib::BadParameterException);
}

TEST(Buffer, Ima4_ComesInBlocksOf65FramesBehindAHeader) {
    const std::vector<std::uint8_t> samples(144);
    const Buffer mono(1, monoIma4, 44100, samples.data(), 144, true);
    const Buffer stereo(2, stereoIma4, 44100, samples.data(), 144, true);
    EXPECT_EQ(mono.frames, 4 * 65u);
    EXPECT_EQ(stereo.frames, 2 * 65u);
    EXPECT_EQ(mono.channels + stereo.channels, 3u);
    EXPECT_EQ(stereo.arrangementKey, 5);
    EXPECT_EQ(stereo.scale + mono.scale, 2.0 / 32768);
    EXPECT_EQ(FramesToBytes(mono, 65), 36u);
    EXPECT_EQ(FramesToBytes(stereo, 64), 72u);
    EXPECT_EQ(BytesToFrames(mono, 3), 0u);
    EXPECT_EQ(BytesToFrames(mono, 7), 6u);
    EXPECT_EQ(BytesToFrames(stereo, 20), 12u);
}

TEST(Buffer, GreatSizes_CountTheirFramesIn64Bits) {
    // Static buffers whose memory is never looked at.
    const std::uint8_t byte = 0;
    EXPECT_EQ(Buffer(1, mono8, 8000, &byte, 0xFFFFFFFF, false).frames, 0xFFFFFFFFu);
    EXPECT_EQ(Buffer(1, stereoIma4, 8000, &byte, 4294967256u, false).frames, 3877400995u);
    EXPECT_THROW(Buffer(1, monoIma4, 8000, &byte, 4294967292u, false), slib::BadParameterException);
}

}  // namespace
}  // namespace goal
