#include "goal/render/sourcereader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <tuple>
#include <vector>

#include "AL/al.h"
#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/sound/bufferformats.h"
#include "goal/sound/sampledecoder.h"
#include "slib/exception.h"
#include "tests/support/vectortargets.h"

namespace goal {
namespace {

using enum orb3::SampleRateConversion;
using Quality = orb3::SampleRateConversion;
using Block = std::vector<std::vector<double>>;  // a row for each channel
using Lengths = std::vector<std::uint32_t>;
constexpr double rate = 48000;

/// Noise behind one byte, at an odd address, in a block of just its size, so that a sanitizer sees a sample
/// read too many.
std::vector<std::uint8_t> Noise(const BufferFormat& format, std::uint32_t frames) {
    static std::mt19937 random(42);
    std::vector<std::uint8_t> bytes(1 + frames / format.blockFrames * format.blockBytes);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    if (format.encoding == SampleEncoding::Float32)
        for (std::size_t i = 4; i < bytes.size(); i += 4)
            bytes[i] = 0x3E;  // neither great nor NaN
    return bytes;
}

const SampleRateConverter& ConverterOf(Quality quality) {
    static const SampleRateConverter converters[]{
        SampleRateConverter(SincQuality::Low), SampleRateConverter(SincQuality::Medium),
        SampleRateConverter(SincQuality::High), SampleRateConverter(SincQuality::Best)};
    return converters[static_cast<std::size_t>(quality) - 2];
}

/// A playing source with a queue of buffers of its own, and the refined reader. Each buffer has another rate;
/// the first one's counts.
struct Playing {
    Playing(std::int32_t format, const Lengths& lengths, bool looping) {
        for (const std::uint32_t frames : lengths) {
            bytes.push_back(
                std::make_shared<const std::vector<std::uint8_t>>(Noise(*FindBufferFormat(format), frames)));
            const bool isCopied = buffers.size() % 2 == 0;
            buffers.push_back(std::make_shared<Buffer>(
                1, format, 48000.0F / static_cast<float>(1 + source.queue.size), bytes.back()->data() + 1,
                static_cast<std::uint32_t>(bytes.back()->size() - 1), isCopied));
            source.queue.append(buffers.back().get());
        }
        source.looping = looping;
        source.state = SourceState::Playing;
    }

    Block Read(Quality quality, double pitch, const Lengths& blocks) {
        SourceReader reader(quality, orb3::Sound::Refined);
        if (quality > Linear && mono.ring.size == 0) {
            initialise(mono, ConverterOf(quality).start);
            initialise(multi, ConverterOf(quality).start);
        }
        const std::uint32_t channels = buffers[0]->channels;
        Block result(channels);
        for (const std::uint32_t frames : blocks) {
            hcml::ac::Bus bus(frames, channels);
            for (std::uint32_t c = 0; c < channels; ++c)
                std::fill_n(bus.channels[c], frames, 1e9F);  // to be overwritten
            if (source.state != SourceState::Playing)
                bus.clear();  // as the renderer does, which asks no reader then
            else if (channels == 1)
                scale = reader.ReadMono(source, previousFrame, mono, {pitch, rate}, bus.channels[0], frames);
            else
                scale = reader.ReadMultiChannel(source, previousFrame, multi, {pitch, rate}, bus);
            for (std::uint32_t c = 0; c < channels; ++c)
                result[c].insert(result[c].end(), bus.channels[c], bus.channels[c] + frames);
        }
        return result;
    }

    std::vector<std::shared_ptr<const std::vector<std::uint8_t>>> bytes;
    std::vector<std::shared_ptr<Buffer>> buffers;
    Source source;
    PreviousFrame previousFrame{};
    ConverterState mono;
    MultiChannelConverterState multi;
    float scale = -1;
};

/// What the whole queue holds, end to end.
class Signal {
public:
    explicit Signal(const Playing& playing) : looping(playing.source.looping) {
        for (const auto& buffer : playing.buffers) {
            std::vector<float> scratch(std::size_t{buffer->frames} * buffer->channels);
            const float* raw = RawFrames(*buffer, 0, buffer->frames, scratch.data());
            for (std::uint32_t i = 0; i < buffer->frames; ++i, raw += buffer->channels)
                frames.emplace_back(raw, raw + buffer->channels);
        }
    }

    std::int64_t Size() const { return std::ssize(frames); }

    double At(std::int64_t frame, std::uint32_t channel) const {
        if (frame < 0 || (!looping && frame >= Size())) return 0;
        return frames[static_cast<std::size_t>(frame % Size())][channel];
    }

    /// Between a frame and the one before, at a position in frames * 65536, times 65536.
    double Linear(std::int64_t position, std::uint32_t channel) const {
        const std::int64_t frame = position >> 16;
        if (!looping && frame >= Size()) return 0;
        const auto fraction = static_cast<double>(position % 65536);
        return (65536 - fraction) * At(frame - 1, channel) + fraction * At(frame, channel);
    }

private:
    bool looping;
    std::vector<std::vector<double>> frames;
};

void ExpectNear(const Block& block, double tolerance, auto expected) {
    for (std::uint32_t c = 0; c < block.size(); ++c)
        for (std::uint32_t k = 0; k < block[c].size(); ++k)
            ASSERT_NEAR(block[c][k], expected(k, c), tolerance) << "output " << k << " channel " << c;
}

const Lengths oneBlock{2048}, manyBlocks{1, 7, 128, 300, 1, 511, 1024, 76}, queue{195, 0, 65, 1300, 65},
    loop{195, 0, 65, 1, 1, 3, 1, 1300, 2, 65};

void TestStepped(std::int32_t format, bool looping) {
    // At and beside one frame and two, where the linear reader's ways of working part, and at eight.
    for (const double pitch : {1e-9, 0.37, 65535 / 65536.0, 1.0, 65537 / 65536.0, 1.59, 2.0, 131073 / 65536.0,
                               7.9, 8.3, 41.7, 4000.3}) {
        for (const Quality quality : {Off, Linear}) {
            SCOPED_TRACE(testing::Message() << "pitch " << pitch << " quality " << static_cast<int>(quality));
            Playing whole(format, looping ? loop : queue, looping), parts = whole;
            const Signal signal(whole);
            const Block block = whole.Read(quality, pitch, oneBlock);
            EXPECT_TRUE(block == parts.Read(quality, pitch, manyBlocks));
            const double unit = quality == Linear ? 65536 : 1, scale = whole.buffers[0]->scale;
            EXPECT_EQ(whole.scale * unit, scale);
            const auto step = std::max<std::int64_t>(1, std::llround(pitch * 65536));
            ExpectNear(block, quality == Linear ? unit / scale / (1 << 22) : 0, [&](auto k, auto c) {
                return quality == Linear ? signal.Linear(k * step, c) : signal.At(k * step >> 16, c);
            });
            const bool ended = !looping && 2047 * step >= signal.Size() << 16;
            EXPECT_EQ(whole.source.state, ended ? SourceState::Stopped : SourceState::Playing);
            EXPECT_TRUE(!ended || whole.source.position + whole.source.queueIndex == 0);
        }
    }
}

// Per output, in frames * 524288.
std::int64_t SincStep(double ratio) {
    return std::max<std::int64_t>(1, std::llround(std::min(ratio, 512.0) * (1 << 19)));
}

// The filter of SincBest that a ratio takes.
const hcml::BlendedSincFilter& BlendedFilter(const SampleRateConverter& converter, double ratio) {
    const double index = std::floor(std::log2(std::max(ratio, 1.0)) * 16 + 0.5);
    return converter.series->filters[static_cast<std::size_t>(std::min(index, 48.0))];
}

std::int64_t TapsOf(const SampleRateConverter& converter, double ratio) {
    return converter.series ? BlendedFilter(converter, ratio).taps : 1 << converter.tapsLog2;
}

// The same with a line between the rows around the position.
double BlendedSinc(const hcml::BlendedSincFilter& filter, double ratio, const Signal& signal, std::int64_t k,
                   std::uint32_t channel) {
    const std::int64_t taps = filter.taps, position = k * SincStep(ratio);
    const double phase = std::ldexp(static_cast<double>(position % (1 << 19)), filter.phasesLog2 - 19);
    const float* row = filter.rows + static_cast<std::int64_t>(phase) * taps;
    double sum = 0;
    for (std::int64_t t = 0; t < taps; ++t)
        sum += std::lerp(row[t], row[t + taps], phase - std::floor(phase)) *
               signal.At((position >> 19) + t - taps / 2 + 1, channel);
    return sum;
}

// The sum over the window that the converter's table gives, at the positions and phases of its fixed point.
double Sinc(const SampleRateConverter& converter, double ratio, const Signal& signal, std::int64_t k,
            std::uint32_t channel) {
    if (converter.series) return BlendedSinc(BlendedFilter(converter, ratio), ratio, signal, k, channel);
    const std::int64_t taps = 1 << converter.tapsLog2;
    const std::int64_t position = k * SincStep(ratio);
    const double filter = std::min(std::floor(std::log(std::max(ratio, 1.0)) * converter.ratioScale),
                                   converter.filterCount - 1.0);
    const float* row =
        converter.coefficients + (static_cast<std::int64_t>(filter) * 64 + (position >> 13 & 63)) * taps;
    double sum = 0;
    for (std::int64_t t = 0; t < taps; ++t)
        sum += double{row[t]} * signal.At((position >> 19) + t - taps / 2 + 1, channel);
    return sum;
}

void TestSinc(std::int32_t format, bool looping) {
    for (const double pitch : {1e-9, 0.37, 1.0, 1.59, 2.6, 41.7, 600.0}) {
        for (const Quality quality : {SincLow, SincMedium, SincHigh, SincBest}) {
            SCOPED_TRACE(testing::Message() << "pitch " << pitch << " quality " << static_cast<int>(quality));
            Playing whole(format, looping ? loop : queue, looping), parts = whole;
            const Signal signal(whole);
            const SampleRateConverter& converter = ConverterOf(quality);
            const std::int64_t step = SincStep(pitch), taps = TapsOf(converter, pitch);
            // What of the tail doesn't fit into a block is lost, but for SincBest.
            const bool isWhole = looping || quality == SincBest;
            const std::int64_t tail = isWhole ? 2048 : ((signal.Size() - taps / 2) << 19) / step;
            // A step longer than half the filter, and SincBest, play what is left of less than a step, too.
            const bool playsAll = quality == SincBest || step >> 19 >= taps / 2;
            const std::int64_t begun = playsAll ? step - 1 : 0;
            const std::int64_t end = looping ? 2048 : ((signal.Size() << 19) + begun) / step;
            const Block block = whole.Read(quality, pitch, oneBlock),
                        pieces = parts.Read(quality, pitch, manyBlocks);
            ExpectNear(block, 4 / whole.scale / (1 << 22),
                       [&](auto k, auto c) { return k < end ? Sinc(converter, pitch, signal, k, c) : 0; });
            ExpectNear(pieces, 0, [&](auto k, auto c) { return k < tail ? block[c][k] : pieces[c][k]; });
            EXPECT_EQ(whole.scale, whole.buffers[0]->scale);
            EXPECT_EQ(whole.source.state, end < 2048 ? SourceState::Stopped : SourceState::Playing);
        }
    }
}

class EveryFormat : public testing::TestWithParam<std::tuple<std::int32_t, bool>> {};

TEST_P(EveryFormat, OnEveryVectorTarget_FollowsTheQueueAsOneSignalInBlocksOfAnySize) {
    const auto [format, looping] = GetParam();
    testing_support::OnEveryTarget([format = format, looping = looping] {
        TestStepped(format, looping);
        TestSinc(format, looping);
    });
}

// Those of which the reader makes a difference: floats in place, and the first frames of IMA ADPCM's blocks.
INSTANTIATE_TEST_SUITE_P(Queues, EveryFormat,
                         testing::Combine(testing::Values(AL_FORMAT_MONO16, AL_FORMAT_STEREO8,
                                                          AL_FORMAT_71CHN_MULAW, AL_FORMAT_MONO_FLOAT32,
                                                          AL_FORMAT_51CHN32, AL_FORMAT_MONO_IMA4,
                                                          AL_FORMAT_STEREO_IMA4),
                                          testing::Bool()));

constexpr double infinity = std::numeric_limits<double>::infinity();

class ReaderOfEveryQuality : public testing::TestWithParam<Quality> {};

TEST_P(ReaderOfEveryQuality, PitchThatIsNoPitch_IsSilentAndHoldsTheSource) {
    for (const double pitch : {0.0, -1.0, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        Playing playing(AL_FORMAT_MONO16, {100, 100}, false);
        playing.Read(GetParam(), 0.8, {150});
        const Source before = playing.source;
        EXPECT_EQ(playing.Read(GetParam(), pitch, {64}), Block(1, std::vector<double>(64)));
        EXPECT_EQ(playing.scale, 0);
        EXPECT_EQ(playing.source.position, before.position);
        EXPECT_EQ(playing.source.queueIndex, before.queueIndex);
        EXPECT_EQ(playing.source.state, SourceState::Playing);
        // Nothing is left of what was played before.
        playing.source.queueIndex = 0;
        playing.source.position = 0;
        Playing fresh = playing;
        fresh.previousFrame = {};
        fresh.mono = {};
        EXPECT_EQ(playing.Read(GetParam(), 1, {64}), fresh.Read(GetParam(), 1, {64}));
    }
}

TEST_P(ReaderOfEveryQuality, LoopWithoutAFrame_IsSilent) {
    Playing playing(AL_FORMAT_MONO8, {0, 0, 0}, true);
    EXPECT_EQ(playing.Read(GetParam(), 1, {64}), Block(1, std::vector<double>(64)));
    EXPECT_EQ(playing.scale, 0);
    EXPECT_EQ(playing.source.state, SourceState::Playing);
}

TEST_P(ReaderOfEveryQuality, AnyPitch_ReadsNothingButTheBuffersAndEndsAQueueThatDoesNotLoop) {
    std::mt19937 random(3);
    for (const Lengths& lengths : {Lengths{1}, {0, 2, 0, 1}, {3000, 7}, {1024, 0, 1024}, {1536, 1100}}) {
        Playing loop(AL_FORMAT_MONO16, lengths, true);
        for (int i = 0; i < 100; ++i) {
            const double pitch = i % 10 == 9 ? 1e30 : std::exp2(static_cast<int>(random() % 24) - 12);
            ExpectNear(loop.Read(GetParam(), pitch, {1600}), 65536.0 * 40000, [](auto, auto) { return 0; });
            EXPECT_EQ(loop.source.state, SourceState::Playing);
            EXPECT_LT(loop.source.queueIndex, lengths.size());
        }
        for (const double pitch : {1e5, 1e30, infinity}) {
            Playing once(AL_FORMAT_MONO16, lengths, false);
            once.Read(GetParam(), pitch, {512});
            EXPECT_EQ(once.source.state, SourceState::Stopped);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Qualities, ReaderOfEveryQuality,
                         testing::Values(Off, Linear, SincLow, SincMedium, SincHigh, SincBest));

// Through filters of every length, and back; the closed form is the sine at the position that was reached.
TEST(SincBestReader, PitchThatChangesFromBlockToBlock_GoesOnInTheSameWaveAcrossSeams) {
    constexpr double angle = 2 * std::numbers::pi / 480;
    Playing playing(AL_FORMAT_MONO_FLOAT32, {4800, 480, 960}, true);
    playing.source.queue = {};
    for (auto& buffer : playing.buffers) {
        std::vector<float> frames(buffer->frames);
        for (std::size_t i = 0; i < frames.size(); ++i)
            frames[i] = static_cast<float>(std::sin(angle * static_cast<double>(i)));
        buffer = std::make_shared<Buffer>(1, AL_FORMAT_MONO_FLOAT32, 48000.0F, frames.data(),
                                          static_cast<std::uint32_t>(frames.size() * sizeof(float)), true);
        playing.source.queue.append(buffer.get());
    }
    std::mt19937 random(7);
    double position = 0;
    for (int block = 0; block < 400; ++block) {
        const double pitch = std::exp2(static_cast<double>(random() % 900) / 100 - 5);
        const Lengths length{static_cast<std::uint32_t>(1 + random() % 300)};
        const Block read = playing.Read(SincBest, pitch, length);
        for (std::size_t k = block == 0 ? 300 : 0; k < read[0].size(); ++k)
            ASSERT_NEAR(
                read[0][k] * playing.scale,
                std::sin(angle * (position + static_cast<double>(k) *
                                                 std::ldexp(static_cast<double>(SincStep(pitch)), -19))),
                3e-5)
                << "output " << k << " of block " << block << " at pitch " << pitch;
        position += static_cast<double>(length[0]) * std::ldexp(static_cast<double>(SincStep(pitch)), -19);
    }
}

// The tail of 32 frames lies in a block of its own.
TEST(SincBestReader, EndOfDataAtTheEndOfABlock_IsHeardInTheNext) {
    Playing parts(AL_FORMAT_MONO16, {512}, false), whole = parts;
    const Block block = whole.Read(SincBest, 1, {1024});
    const Block first = parts.Read(SincBest, 1, {500});
    EXPECT_EQ(parts.source.state, SourceState::Playing);
    const Block second = parts.Read(SincBest, 1, {524});
    EXPECT_EQ(parts.source.state, SourceState::Stopped);
    ASSERT_TRUE(std::any_of(second[0].begin(), second[0].begin() + 12, [](double v) { return v != 0; }));
    EXPECT_TRUE(std::equal(second[0].begin(), second[0].end(), block[0].begin() + 500));
}

TEST(SourceReader, StepManyLapsLong_LandsWhereSingleStepsWould) {
    // 2^40 and a bit: the remainder over a lap of 5 frames decides.
    Playing playing(AL_FORMAT_MONO16, {2, 0, 3}, true);
    const Signal signal(playing);
    const std::uint64_t lap = 5 << 16, step = (std::uint64_t{1} << 40) + 12345;
    std::uint64_t position = 0;
    const Block block = playing.Read(Linear, std::ldexp(static_cast<double>(step), -16), {512});
    for (const double sample : block[0]) {
        ASSERT_NEAR(sample, signal.Linear(static_cast<std::int64_t>(position), 0), 1024);
        position = position == 0 ? lap + step % lap : lap + (position + step) % lap;
    }
}

TEST(SourceReader, QueueOfAnotherChannelCount_IsAnIntegrityFailure) {
    for (const Quality quality : {Off, Linear, SincLow}) {
        Playing playing(AL_FORMAT_MONO8, {10}, false), stereo(AL_FORMAT_STEREO8, {10}, false);
        playing.source.queue = stereo.source.queue;
        EXPECT_THROW(playing.Read(quality, 1, {1}), slib::IntegrityFailureException);
    }
}

}  // namespace
}  // namespace goal
