#include "goal/sound/buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "AL/al.h"
#include "AL/tessarune.h"
#include "slib/exception.h"

namespace goal {
namespace {

// The formats of one arrangement. That of 16 bits comes behind that of 8.
struct Formats {
    std::uint32_t channels;
    std::int32_t arrangement, of8Bits, ofFloats, ofMuLaw;
};

constexpr Formats arrangements[] = {
    {1, 0, AL_FORMAT_MONO8, AL_FORMAT_MONO_FLOAT32, AL_FORMAT_MONO_MULAW},
    {2, 5, AL_FORMAT_STEREO8, AL_FORMAT_STEREO_FLOAT32, AL_FORMAT_STEREO_MULAW},
    {4, 9, AL_FORMAT_QUAD8, AL_FORMAT_QUAD32, AL_FORMAT_QUAD_MULAW},
    {2, 10, AL_FORMAT_REAR8, AL_FORMAT_REAR32, AL_FORMAT_REAR_MULAW},
    {6, 6, AL_FORMAT_51CHN8, AL_FORMAT_51CHN32, AL_FORMAT_51CHN_MULAW},
    {7, 7, AL_FORMAT_61CHN8, AL_FORMAT_61CHN32, AL_FORMAT_61CHN_MULAW},
    {8, 8, AL_FORMAT_71CHN8, AL_FORMAT_71CHN32, AL_FORMAT_71CHN_MULAW},
    {3, 1, AL_FORMAT_BFORMAT2D_8, AL_FORMAT_BFORMAT2D_FLOAT32, AL_FORMAT_BFORMAT2_MULAW},
    {4, 2, AL_FORMAT_BFORMAT3D_8, AL_FORMAT_BFORMAT3D_FLOAT32, AL_FORMAT_BFORMAT3_MULAW}};

void ExpectPcm(std::int32_t id, const Formats& of, std::uint32_t sampleBytes, double scale,
               std::int32_t bits) {
    SCOPED_TRACE(id);
    const std::uint32_t frameBytes = of.channels * sampleBytes;
    const std::vector<std::uint8_t> samples(frameBytes * 4);
    const Buffer buffer(7, id, 44100, samples.data(), frameBytes * 4 - 1, true);
    EXPECT_EQ(buffer.frames, 3u);  // without the part behind the last whole one
    EXPECT_EQ(buffer.channels, of.channels);
    EXPECT_EQ(static_cast<std::int32_t>(buffer.arrangementKey), of.arrangement);
    EXPECT_EQ(buffer.scale, scale);
    EXPECT_EQ(BitsOf(buffer), bits);
    EXPECT_EQ(FramesToBytes(buffer, 0xFFFFFFFF), std::uint64_t{0xFFFFFFFF} * frameBytes);
    EXPECT_EQ(BytesToFrames(buffer, frameBytes * 1001 - 1), 1000u);
}

TEST(BufferFormats, OfPcm_HaveTheChannelsAndSamplesOfTheirKind) {
    for (const Formats& of : arrangements) {
        ExpectPcm(of.of8Bits, of, 1, 1.0 / 128, 8);
        ExpectPcm(of.of8Bits + 1, of, 2, 1.0 / 32768, 16);
        ExpectPcm(of.ofFloats, of, 4, 1, 0);
        ExpectPcm(of.ofMuLaw, of, 1, 1.0 / 32768, 0);
    }
    ExpectPcm(AL_FORMAT_MONO_DOUBLE_EXT, arrangements[0], 8, 1, 0);
    ExpectPcm(AL_FORMAT_STEREO_DOUBLE_EXT, arrangements[1], 8, 1, 0);
    EXPECT_THROW(Buffer(1, 0x1104, 44100, nullptr, 0, true), slib::BadParameterException);
}

TEST(BufferFormats, OfIma4_HaveBlocksOf65FramesBehindAHeader) {
    const std::vector<std::uint8_t> samples(144);
    const Buffer mono(1, AL_FORMAT_MONO_IMA4, 44100, samples.data(), 144, true);
    const Buffer stereo(2, AL_FORMAT_STEREO_IMA4, 44100, samples.data(), 144, true);
    EXPECT_EQ(mono.frames, 4 * 65u);
    EXPECT_EQ(stereo.frames, 2 * 65u);
    EXPECT_EQ(FramesToBytes(mono, 65), 36u);
    EXPECT_EQ(FramesToBytes(stereo, 64), 72u);
    EXPECT_EQ(BytesToFrames(mono, 3), 0u);
    EXPECT_EQ(BytesToFrames(mono, 7), 6u);
    EXPECT_EQ(BytesToFrames(stereo, 20), 12u);
}

TEST(Buffer, GreatSizes_CountTheirFramesIn64Bits) {
    // Static buffers whose memory is never looked at.
    const std::uint8_t byte = 0;
    EXPECT_EQ(Buffer(1, AL_FORMAT_MONO8, 8000, &byte, 0xFFFFFFFF, false).frames, 0xFFFFFFFFu);
    EXPECT_EQ(Buffer(1, AL_FORMAT_STEREO_IMA4, 8000, &byte, 4294967256u, false).frames, 3877400995u);
    EXPECT_THROW(Buffer(1, AL_FORMAT_MONO_IMA4, 8000, &byte, 4294967292u, false),
                 slib::BadParameterException);
}

}  // namespace
}  // namespace goal
