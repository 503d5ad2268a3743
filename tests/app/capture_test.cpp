// The calls that record, with a file in place of a microphone.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace std::chrono_literals;

constexpr ALCuint rate = 8000;

class Capture : public testing::Test {
protected:
    Capture() { process.profile.Set(goal::GameSwitch::Capture, true); }
    ~Capture() override { process.profile.Set(goal::GameSwitch::Capture, false); }
    // Stereo floats at `fileRate` Hz.
    void Record(const std::vector<float>& samples, std::uint32_t fileRate = rate) const {
        const auto bytes = static_cast<std::uint32_t>(samples.size() * 4);
        const std::uint32_t header[] = {0x46464952, bytes + 36,   0x45564157, 0x20746D66, 16,   0x00020003,
                                        fileRate,   fileRate * 8, 0x00200008, 0x61746164, bytes};
        const std::string path = store.folder.path / "in.wav";
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(header), sizeof header);
        file.write(reinterpret_cast<const char*>(samples.data()), bytes);
        store.ChooseSilence();
        std::ofstream(store.UserFile()) << "[Platform]\nInput=WaveFile\nInputFile=" << path << "\n";
    }
    static ALCint Available(ALCdevice* device) {
        ALCint count = -77;
        alcGetIntegerv(device, ALC_CAPTURE_SAMPLES, 1, &count);
        return count;
    }
    static void Await(ALCdevice* device, ALCint frames) {
        for (int i = 0; i < 1000 && Available(device) < frames; ++i)
            std::this_thread::sleep_for(1ms);
        ASSERT_GE(Available(device), frames);
    }
    template <typename T>
    static std::vector<T> Read(ALCdevice* device, ALCsizei frames, std::size_t channels = 1) {
        std::vector<T> samples(static_cast<std::size_t>(frames) * channels);
        alcCaptureSamples(device, samples.data(), frames);
        EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
        return samples;
    }

    testing_support::TemporaryStore store;
    goal::Process& process = goal::TheProcess();
};

// 0.5 to the left and -0.25 to the right.
TEST_F(Capture, EachFormat_HasTheSamplesOfTheFile) {
    Record({0.5F, -0.25F, 0.5F, -0.25F});
    const struct {
        ALCenum format;
        std::vector<float> frame;
        float scale, zero;
        std::size_t bytes;
    } rows[] = {{AL_FORMAT_MONO8, {0.125F}, 128, 128, 1},
                {AL_FORMAT_MONO16, {0.125F}, 32768, 0, 2},
                {AL_FORMAT_STEREO8, {0.5F, -0.25F}, 128, 128, 1},
                {AL_FORMAT_STEREO16, {0.5F, -0.25F}, 32768, 0, 2},
                {AL_FORMAT_MONO_FLOAT32, {0.125F}, 1, 0, 4},
                {AL_FORMAT_STEREO_FLOAT32, {0.5F, -0.25F}, 1, 0, 4},
                {AL_FORMAT_STEREO_DOUBLE_EXT, {0.5F, -0.25F}, 1, 0, 8}};
    for (const auto& [format, frame, scale, zero, bytes] : rows) {
        ALCdevice* const device = alcCaptureOpenDevice("WAV File", rate * 2, format, 400);
        ASSERT_NE(device, nullptr);
        alcCaptureStart(device);
        Await(device, 10);
        const auto data = Read<std::uint8_t>(device, 10, frame.size() * bytes);
        for (std::size_t i = 0; i < 10 * frame.size(); ++i) {
            std::int16_t whole = data[i];
            float value = 0;
            double wide = 0;
            if (bytes == 2) std::memcpy(&whole, &data[i * 2], 2);
            if (bytes == 4) std::memcpy(&value, &data[i * 4], 4);
            if (bytes == 8) std::memcpy(&wide, &data[i * 8], 8);
            if (bytes == 8) value = static_cast<float>(wide);
            EXPECT_EQ(bytes >= 4 ? value : (static_cast<float>(whole) - zero) / scale,
                      frame[i % frame.size()]);
        }
        EXPECT_EQ(alcCaptureCloseDevice(device), ALC_TRUE);
    }
}

TEST_F(Capture, AFullRing_KeepsTheOldestFramesAndGoesOnAfterwards) {
    std::vector<float> ramp;
    for (int i = 0; i < 2 * 16000; ++i)
        ramp.push_back(static_cast<float>(i / 2) / 16384);
    Record(ramp);
    ALCdevice* const device = alcCaptureOpenDevice(nullptr, rate, AL_FORMAT_MONO16, 100);
    EXPECT_EQ(Available(device), 0);
    alcCaptureStart(device);
    alcCaptureStart(device);
    Await(device, 100);
    std::this_thread::sleep_for(30ms);
    alcCaptureStop(device);
    EXPECT_EQ(Available(device), 100);
    for (int i = 0; i < 70; i += 35)
        EXPECT_EQ(Read<std::int16_t>(device, 35)[34], (i + 34) * 2);
    alcCaptureStart(device);
    Await(device, 100);
    const auto rest = Read<std::int16_t>(device, 100);
    EXPECT_EQ(rest[29], 99 * 2);
    EXPECT_GT(rest[30], 100 * 2);
    EXPECT_EQ(rest[99] - rest[30], 69 * 2);
    alcCaptureCloseDevice(device);
}

TEST_F(Capture, AnotherRate_KeepsTheTimeOfTheFile) {
    Record({0, 0, 0.5F, 0.5F, 1, 1, 0.5F, 0.5F}, rate / 4);
    ALCdevice* const device = alcCaptureOpenDevice("", rate, AL_FORMAT_MONO_FLOAT32, 4000);
    const auto start = std::chrono::steady_clock::now();
    alcCaptureStart(device);
    Await(device, 400);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    const auto samples = Read<float>(device, 18);
    for (int i = 0; i < 18; ++i)
        EXPECT_EQ(samples[static_cast<std::size_t>(i)],
                  static_cast<float>(i % 16 < 8 ? i % 16 : 16 - i % 16) / 8);
    alcCaptureCloseDevice(device);
}

TEST_F(Capture, WrongArguments_AreRefusedAndChangeNothing) {
    store.ChooseSilence();
    const struct {
        const char* name;
        ALCuint frequency;
        ALCenum format;
        ALCsizei size;
        ALCenum code;
    } rows[] = {{"Moon", rate, AL_FORMAT_MONO8, 1, ALC_INVALID_VALUE},
                {"", 0, AL_FORMAT_MONO8, 1, ALC_INVALID_VALUE},
                {"", 999, AL_FORMAT_MONO8, 1, ALC_INVALID_VALUE},
                {"", rate, AL_FORMAT_MONO8, 0, ALC_INVALID_VALUE},
                {"", rate, AL_FORMAT_QUAD16, 1, ALC_INVALID_ENUM}};
    for (const auto& [name, frequency, format, size, code] : rows) {
        EXPECT_EQ(alcCaptureOpenDevice(name, frequency, format, size), nullptr);
        EXPECT_EQ(alcGetError(nullptr), code);
    }
    ALCdevice* const device = alcCaptureOpenDevice("Silence", rate, AL_FORMAT_MONO8, 64);
    ALCdevice* const second = alcCaptureOpenDevice(nullptr, rate, AL_FORMAT_STEREO16, 64);
    ALCdevice* const output = alcOpenDevice(nullptr);
    alcCaptureStart(device);
    Await(device, 64);
    EXPECT_EQ(Available(second), 0);
    std::uint8_t sample = 0;
    const auto expect = [&](ALCenum code) { EXPECT_EQ(alcGetError(device), code); };
    for (const ALCsizei frames : {65, -1}) {
        alcCaptureSamples(device, &sample, frames);
        expect(ALC_INVALID_VALUE);
    }
    alcCaptureSamples(device, nullptr, 1);
    expect(ALC_INVALID_VALUE);
    EXPECT_EQ(Read<std::uint8_t>(device, 64), std::vector<std::uint8_t>(64, 128));
    alcGetIntegerv(device, ALC_CAPTURE_SAMPLES, 0, nullptr);
    expect(ALC_INVALID_VALUE);
    EXPECT_EQ(alcCloseDevice(device), ALC_FALSE);
    expect(ALC_INVALID_DEVICE);
    EXPECT_EQ(alcCaptureCloseDevice(device), ALC_TRUE);
    EXPECT_EQ(alcCaptureCloseDevice(second), ALC_TRUE);
    for (ALCdevice* const gone : {device, output, static_cast<ALCdevice*>(nullptr)}) {
        EXPECT_EQ(alcCaptureCloseDevice(gone), ALC_FALSE);
        expect(ALC_INVALID_DEVICE);
        alcCaptureStart(gone);
        expect(ALC_INVALID_DEVICE);
        EXPECT_EQ(Available(gone), -77);
        expect(ALC_INVALID_DEVICE);
    }
}

TEST_F(Capture, Names_AreAListWhosePointersStay) {
    Record({0, 0});
    const char* const list = alcGetString(nullptr, ALC_CAPTURE_DEVICE_SPECIFIER);
    EXPECT_EQ(std::string(list, 10), std::string("WAV File\0", 10));
    ALCdevice* const device = alcCaptureOpenDevice(list, rate, AL_FORMAT_MONO8, 1);
    EXPECT_STREQ(alcGetString(device, ALC_CAPTURE_DEVICE_SPECIFIER), "WAV File");
    EXPECT_STREQ(alcGetString(nullptr, ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER), list);
    EXPECT_EQ(alcGetString(alcOpenDevice(nullptr), ALC_CAPTURE_DEVICE_SPECIFIER), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
    alcCaptureCloseDevice(device);
}

}  // namespace
