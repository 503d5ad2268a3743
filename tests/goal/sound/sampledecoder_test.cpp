#include "goal/sound/sampledecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <span>
#include <vector>

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

struct PcmCase {
    std::int32_t mono, multi;  // formats
    std::size_t sampleBytes;
    double (*raw)(Samples, std::size_t);
};

class Pcm : public testing::TestWithParam<PcmCase> {};

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
            std::vector<float> scratch(300 * channels);
            const auto expect = [&](const float* values, std::uint32_t first, std::uint32_t count) {
                for (std::size_t i = 0; i < std::size_t{count} * channels; ++i) {
                    const auto expected =
                        static_cast<float>(GetParam().raw(samples, std::size_t{first} * channels + i));
                    ASSERT_TRUE(std::isnan(expected) || values[i] == expected) << first << " " << i;
                }
            };
            expect(RawFrames(buffer, 17, 283, scratch.data()), 17, 283);
            PickRawFrames(buffer, {(21 << 16) + 65535, (277 << 16) + 1, 2, 2}, scratch.data());
            expect(scratch.data(), 20, 2);
            expect(scratch.data() + 2 * channels, 298, 2);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Pcm,
                         testing::Values(PcmCase{0x1100, 0x1210, 1, Unsigned8},
                                         PcmCase{0x1101, 0x120E, 2, Plain<std::int16_t>},
                                         PcmCase{0x10010, 0x20033, 4, Plain<float>},
                                         PcmCase{0x10012, 0x10013, 8, Plain<double>},
                                         PcmCase{0x10014, 0x10031, 1, MuLaw}));

// IMA ADPCM as published: per sample a sign and a magnitude in quarters of the step, which adapts.
constexpr std::array steps{
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

struct ImaChannel {
    int value = 0, index = 0;

    int Encode(int sample) {
        const int step = steps[static_cast<std::size_t>(index)];
        const int magnitude = std::min(7, std::abs(sample - value) * 4 / step);
        const double change = std::trunc((magnitude + 0.5) * step / 4);
        const bool isDown = sample < value;
        value = static_cast<int>(std::clamp(value + (isDown ? -change : change), -32768.0, 32767.0));
        index = std::clamp(index + (magnitude < 4 ? -1 : 2 * magnitude - 6), 0, 88);
        return magnitude + (isDown ? 8 : 0);
    }
};

/// A sweep of sines that overdrives at times, in `blocks` blocks; `decoded` is what the encoder tracks.
Bytes EncodeIma(std::uint32_t channels, std::uint32_t blocks, std::vector<float>& decoded,
                double& errorPower) {
    Bytes bytes(std::size_t{36} * channels * blocks);
    std::vector<ImaChannel> states(channels);
    for (std::uint32_t frame = 0; frame < blocks * 65; ++frame) {
        for (std::uint32_t c = 0; c < channels; ++c) {
            const double wave = 20000 * std::sin(1e-5 * frame * frame + c) * (1 + std::sin(0.01 * frame));
            const int sample = static_cast<int>(std::clamp(wave, -32768.0, 32767.0));
            ImaChannel& state = states[c];
            std::uint8_t* block = bytes.data() + std::size_t{frame / 65} * 36 * channels;
            if (frame % 65 == 0) {
                state.value = sample;
                const std::array<std::int16_t, 2> header{static_cast<std::int16_t>(sample),
                                                         static_cast<std::int16_t>(state.index)};
                std::memcpy(block + c * 4, header.data(), 4);
            } else {
                const std::uint32_t n = frame % 65 - 1;
                const int code = state.Encode(sample) << n % 2 * 4;
                block[channels * 4 + (n / 8 * channels + c) * 4 + n % 8 / 2] |=
                    static_cast<std::uint8_t>(code);
            }
            decoded.push_back(static_cast<float>(state.value));
            errorPower += std::pow(state.value - sample, 2) / (blocks * 65 * channels);
        }
    }
    return bytes;
}

// The test of the source reader has the reads and picks of a part of the frames.
TEST(Ima4, Blocks_DecodeToWhatTheirEncoderTracked) {
    for (const std::uint32_t channels : {1u, 2u}) {
        std::vector<float> decoded;
        double errorPower = 0;
        const Bytes bytes = EncodeIma(channels, 20, decoded, errorPower);
        ASSERT_LT(errorPower, 1000.0 * 1000.0);  // the encoder is no nonsense
        const Buffer buffer(1, channels == 1 ? 0x1300 : 0x1301, 44100, bytes.data(),
                            static_cast<std::uint32_t>(bytes.size()), false);
        std::vector<float> frames(decoded.size());
        EXPECT_EQ(RawFrames(buffer, 0, buffer.frames, frames.data()), frames.data());
        EXPECT_EQ(frames, decoded);
    }
}

/// How far the greatest code takes the lowest predictor up, with a block's first step index.
float FirstRise(int index) {
    const std::array<std::int16_t, 2> header{-32768, static_cast<std::int16_t>(index)};
    Bytes bytes(36, 0x77);
    std::memcpy(bytes.data(), header.data(), sizeof header);
    std::vector<float> scratch(65);
    const float* frames = RawFrames(Buffer(1, 0x1300, 8000, bytes.data(), 36, false), 0, 65, scratch.data());
    return frames[1] - frames[0];
}

TEST(Ima4, StepIndexOfAHeader_PicksThePublishedStepOrTheNearestEnd) {
    for (const int index : {-32768, -1, 89, 32767})
        EXPECT_EQ(FirstRise(index), FirstRise(std::clamp(index, 0, 88)));
    for (int index = 0; index < 89; ++index)
        EXPECT_EQ(FirstRise(index), std::min(65535, steps[static_cast<std::size_t>(index)] * 15 / 8))
            << index;
}

}  // namespace
}  // namespace goal
