#include "goal/sound/sampledecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <span>
#include <vector>

#include "AL/al.h"
#include "AL/tessarune.h"

namespace goal {
namespace {

using Bytes = std::vector<std::uint8_t>;

using Samples = std::span<const std::uint8_t>;

double Unsigned8(Samples samples, std::size_t index) {
    return samples[index] - 128.0;
}

template <typename T>
double Plain(Samples samples, std::size_t index) {
    T value;
    std::memcpy(&value, samples.data() + index * sizeof value, sizeof value);
    return static_cast<double>(value);
}

// ITU-T G.711: sign, 3 bits of segment, 4 of interval, all inverted; from 14 to 16 bits.
double MuLaw(Samples samples, std::size_t index) {
    const int code = 255 - samples[index];
    const double magnitude = std::ldexp(code % 16 * 2 + 33, code / 16 % 8) - 33;
    return 4 * (code < 128 ? magnitude : -magnitude);
}

struct Kind {
    std::int32_t mono, multi;  // formats
    std::size_t sampleBytes;
    double (*raw)(Samples, std::size_t);
};

class Pcm : public testing::TestWithParam<Kind> {};

TEST_P(Pcm, EveryFrameOfAnyAddress_HasTheRawValueOfItsKind) {
    std::mt19937 random(7);
    for (const std::int32_t format : {GetParam().mono, GetParam().multi}) {
        const std::uint32_t channels = FindBufferFormat(format)->channels;
        for (const std::size_t shift : {0u, 1u, 2u, 3u}) {
            // To the last byte of its block, so that a sanitizer sees a byte read too many.
            Bytes bytes(shift + 300 * channels * GetParam().sampleBytes);
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            const Samples samples = Samples(bytes).subspan(shift);
            const Buffer buffer(1, format, 44100, samples.data(), static_cast<std::uint32_t>(samples.size()),
                                false);
            const auto expect = [&](const float* values, std::uint32_t first, std::uint32_t count) {
                for (std::size_t i = 0; i < std::size_t{count} * channels; ++i) {
                    const auto expected = static_cast<float>(GetParam().raw(samples, first * channels + i));
                    ASSERT_TRUE(std::isnan(expected) || values[i] == expected) << first << " " << i;
                }
            };
            std::vector<float> scratch(300 * channels);
            expect(RawFrames(buffer, 17, 283, scratch.data()), 17, 283);
            PickRawFrames(buffer, {(21 << 16) + 65535, (277 << 16) + 1, 2, 2}, scratch.data());
            expect(scratch.data(), 20, 2);
            expect(scratch.data() + 2 * channels, 298, 2);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Pcm,
    testing::Values(Kind{AL_FORMAT_MONO8, AL_FORMAT_71CHN8, 1, Unsigned8},
                    Kind{AL_FORMAT_MONO16, AL_FORMAT_61CHN16, 2, Plain<std::int16_t>},
                    Kind{AL_FORMAT_MONO_FLOAT32, AL_FORMAT_BFORMAT3D_FLOAT32, 4, Plain<float>},
                    Kind{AL_FORMAT_MONO_DOUBLE_EXT, AL_FORMAT_STEREO_DOUBLE_EXT, 8, Plain<double>},
                    Kind{AL_FORMAT_MONO_MULAW, AL_FORMAT_BFORMAT2_MULAW, 1, MuLaw}));

// IMA ADPCM as published: per sample a sign and a magnitude in quarters of the step, which adapts.
constexpr std::array steps{
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

// The frames of one channel of a block: a header of value and index, and in words of eight, which the
// channels take in turn, codes of a sign and a magnitude.
std::vector<float> DecodeIma(Samples block, std::size_t channel, std::size_t channels) {
    double value = Plain<std::int16_t>(block, channel * 2);
    double index = Plain<std::int16_t>(block, channel * 2 + 1);
    std::vector<float> frames{static_cast<float>(value)};
    for (std::size_t n = 0; n < 64; ++n) {
        const std::size_t byte = (1 + n / 8) * channels * 4 + channel * 4 + n % 8 / 2;
        const int code = block[byte] >> n % 2 * 4 & 15, magnitude = code & 7;
        index = std::clamp(index, 0.0, 88.0);
        const double change = std::trunc((magnitude + 0.5) * steps[static_cast<std::size_t>(index)] / 4);
        value = std::clamp(code < 8 ? value + change : value - change, -32768.0, 32767.0);
        index += magnitude < 4 ? -1 : 2 * magnitude - 6;
        frames.push_back(static_cast<float>(value));
    }
    return frames;
}

// Random codes run through all steps, and random headers begin with any index, most of them out of range. The
// test of the source reader has the reads and picks of a part of the frames.
TEST(Ima4, BlocksOfAnyBytes_DecodeAsPublished) {
    std::mt19937 random(8);
    for (const std::size_t channels : {1u, 2u})
        for (std::size_t round = 0; round < 500; ++round) {
            Bytes block(36 * channels);
            for (std::uint8_t& byte : block)
                byte = static_cast<std::uint8_t>(random());
            if (round < 89) block[2] = static_cast<std::uint8_t>(round), block[3] = 0;
            const Buffer buffer(1, channels == 1 ? AL_FORMAT_MONO_IMA4 : AL_FORMAT_STEREO_IMA4, 44100,
                                block.data(), static_cast<std::uint32_t>(block.size()), false);
            std::vector<float> frames(65 * channels);
            EXPECT_EQ(RawFrames(buffer, 0, 65, frames.data()), frames.data());
            for (std::size_t c = 0; c < channels; ++c) {
                const std::vector<float> expected = DecodeIma(block, c, channels);
                for (std::size_t i = 0; i < 65; ++i)
                    ASSERT_EQ(frames[i * channels + c], expected[i]) << i << " of round " << round;
            }
        }
}

}  // namespace
}  // namespace goal
