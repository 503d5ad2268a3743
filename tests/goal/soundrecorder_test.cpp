// Recordings of a source that moves, read back by what their file forms and AmbiX say about themselves.

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "goal/recordingdesk.h"
#include "numeric/ambisonicorder.h"
#include "numeric/directionpolynomials.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace goal {
namespace {

constexpr std::uint32_t blockFrames = 64, blocks = 100;
constexpr double degree = 0.017453292519943295;

template <typename Number>
Number At(const std::string& bytes, std::size_t place) {
    Number number;
    std::memcpy(&number, bytes.data() + place, sizeof number);
    return number;
}

struct FloatWave {
    std::uint32_t channels = 0;
    std::vector<float> samples;
};

// A RIFF file of 32-bit floats.
FloatWave ReadWave(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(8, 4), "RIFFWAVE");
    FloatWave wave;
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        const std::string name = bytes.substr(at, 4);
        const std::size_t size = At<std::uint32_t>(bytes, at + 4), content = at + 8;
        if (name == "fmt ") wave.channels = At<std::uint16_t>(bytes, content + 2);
        if (name == "data" && content + size <= bytes.size()) {
            wave.samples.resize(size / 4);
            std::memcpy(wave.samples.data(), bytes.data() + content, size / 4 * 4);
        }
        at = content + size + size % 2;
    }
    return wave;
}

struct Angles {
    double azimuth, elevation;
};

Angles PlaceIn(std::uint32_t block) {
    return {0.05 * block, 0.4 * std::sin(0.1 * block)};
}

class MovingSource {
public:
    explicit MovingSource(unsigned order) : order(order), bus(blockFrames, hcml::ChannelsOfOrder(order)) {}

    const hcml::ac::Bus& Block(std::uint32_t block) {
        const auto [azimuth, elevation] = PlaceIn(block);
        std::array<float, hcml::mostBusChannels> weights;
        hcml::directionPolynomials(std::cos(azimuth) * std::cos(elevation),
                                   std::sin(azimuth) * std::cos(elevation), std::sin(elevation), order,
                                   weights.data());
        for (std::uint32_t c = 0; c < bus.channelCount; ++c)
            std::fill_n(bus.channels[c], blockFrames, 0.5F * weights[c]);
        return bus;
    }

private:
    const unsigned order;
    hcml::ac::Bus bus;
};

RecordingRequest RequestFor(const std::string& path, RecordingRequest::What what) {
    return {1, 2, 3, what, path};
}

class RecordingOfOrder : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Orders, RecordingOfOrder, testing::Values(1, 2, 3, 4));

// ACN has Y, Z and X behind W, and SN3D the same scale for all of them.
TEST_P(RecordingOfOrder, OfAMovingSource_TellsItsDirectionByTheConventionOfAmbix) {
    const testing_support::TemporaryFolder folder;
    testing_support::RecordingLog log;
    const std::string path = folder.path / "field.wav";
    MovingSource source(GetParam());
    RecordingDesk desk(&log);
    desk.BeginRun({48000, blockFrames, GetParam(), 2});
    desk.Ask(RequestFor(path, RecordingRequest::What::Field));
    for (std::uint32_t block = 0; block < blocks; ++block)
        desk.field.Take(source.Block(block));
    desk.EndRun();
    const FloatWave wave = ReadWave(path);
    ASSERT_EQ(wave.channels, hcml::ChannelsOfOrder(GetParam()));
    ASSERT_EQ(wave.samples.size(), std::size_t{blocks} * blockFrames * wave.channels);
    for (std::uint32_t block = 0; block < blocks; ++block) {
        const float* const frame = wave.samples.data() + std::size_t{block} * blockFrames * wave.channels;
        const Angles place = PlaceIn(block);
        EXPECT_NEAR(frame[0], 0.5, 1e-5);
        EXPECT_NEAR(std::remainder(std::atan2(frame[1], frame[3]) - place.azimuth, 360 * degree), 0,
                    0.1 * degree);
        EXPECT_NEAR(std::asin(frame[2] / frame[0]), place.elevation, 0.1 * degree);
    }
}

TEST(RecordingDesk, OfBothAcrossARestart_BeginsFilesOfItsOwnAndEndsWhenAsked) {
    const testing_support::TemporaryFolder folder;
    testing_support::RecordingLog log;
    const std::string path = folder.path / "both.wav";
    MovingSource source(1);
    const std::vector<float> block(std::size_t{blockFrames} * 2, 0.25F);
    RecordingDesk desk(&log);
    desk.Ask(RequestFor(path, RecordingRequest::What::Both));
    for (const std::uint32_t count : {3, 5}) {
        desk.BeginRun({48000, blockFrames, 1, 2});
        for (std::uint32_t i = 0; i < count; ++i) {
            desk.field.Take(source.Block(i));
            desk.output.Take(block.data());
        }
        if (count == 5) desk.Ask({});
        desk.field.Take(source.Block(0));
        desk.EndRun();
    }
    EXPECT_EQ(ReadWave(path).samples.size(), 4U * blockFrames * 4);
    EXPECT_EQ(ReadWave(folder.path / "both-2.wav").samples.size(), 5U * blockFrames * 4);
    EXPECT_EQ(ReadWave(folder.path / "both-output.wav").samples,
              std::vector<float>(std::size_t{3} * blockFrames * 2, 0.25F));
    EXPECT_EQ(ReadWave(folder.path / "both-output-2.wav").samples.size(), 5U * blockFrames * 2);
}

// The disk is slower than any pause of the recorder: all blocks come at once.
TEST(SoundRecorder, BlocksThatFindNoRoom_AreSilenceOfTheSameLength) {
    const testing_support::TemporaryFolder folder;
    testing_support::RecordingLog log;
    const std::string path = folder.path / "fast.wav";
    constexpr std::uint32_t many = 4096;
    const std::vector<float> block(blockFrames, 1.0F);
    {
        SoundRecorder recorder(path, {1, 8000, blockFrames, {}, "output", ""}, &log);
        for (std::uint32_t i = 0; i < many; ++i)
            recorder.WriteInterleaved(block.data());
    }
    const FloatWave wave = ReadWave(path);
    EXPECT_EQ(wave.samples.size(), std::size_t{many} * blockFrames);
    EXPECT_EQ(wave.samples.front(), 1.0F);
    EXPECT_EQ(wave.samples.back(), 0.0F);
    EXPECT_TRUE(log.Has("are silence")) << log.Lines();
}

TEST(RecordingRequest, AsStored_IsReadBackAndNothingElseIs) {
    const RecordingRequest request = RequestFor("/tmp/a \"b\".caf", RecordingRequest::What::Both);
    EXPECT_EQ(ParseRequest(RequestText(request)), request);
    for (const char* text :
         {"", "<", "<Recording></Recording>",
          "<Recording Number=\"1\" Process=\"2\" StartTime=\"3\" What=\"Field\" File=\"a.wav\"></Recording>",
          "<Recording Number=\"1\" Process=\"2\" StartTime=\"3\" What=\"Field\" File=\"/a.mp3\"></Recording>",
          "<Recording Number=\"1\" Process=\"2\" StartTime=\"3\" What=\"All\" File=\"/a.wav\"></Recording>"})
        EXPECT_FALSE(ParseRequest(text)) << text;
}

}  // namespace
}  // namespace goal
