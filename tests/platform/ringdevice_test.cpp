#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <thread>

#include "platform/clock.h"
#include "platform/playclock.h"
#include "platform/soundsystem.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace platform;
using Output = PlatformSettings::Output;
using testing_support::RecordingLog;

constexpr std::uint32_t rate = 48000;
constexpr std::uint32_t ringFrames = 9600;

// Eight bytes a frame.
Result Create(IDirectSound8& device, SoundBufferPtr& buffer, std::uint16_t sampleBits = 32) {
    const WAVEFORMATEXTENSIBLE format{
        {WAVE_FORMAT_EXTENSIBLE, 2, rate, 8 * rate, 8, sampleBits, 22}, 32, 3, KSDATAFORMAT_SUBTYPE_PCM};
    const DSBUFFERDESC description{36, 0, 8 * ringFrames, 0, &format, {}};
    IDirectSoundBuffer* created = nullptr;
    const Result result = device.CreateSoundBuffer(&description, &created);
    buffer.reset(created);
    return result;
}

SoundDevicePtr OpenDevice(Output output, const std::string& waveFile, slib::Log& log) {
    const PlatformSettings settings{.output = output, .waveFile = waveFile, .speakerSetting = {}};
    IDirectSound8* device = nullptr;
    EXPECT_EQ(MakeSoundSystem(settings, &log)->DirectSoundCreate8(nullptr, &device), DS_OK);
    EXPECT_EQ(device->SetCooperativeLevel(1, DSSCL_PRIORITY), DS_OK);
    return SoundDevicePtr(device);
}

std::uint32_t PlayFrame(IDirectSoundBuffer& buffer) {
    std::uint32_t play = 0;
    EXPECT_EQ(buffer.GetCurrentPosition(&play, nullptr), DS_OK);
    return play / 8;
}

// Keeps half a ring of 1, 2, 3, ... ahead of the play cursor, for that long.
void PlayRamp(IDirectSoundBuffer& buffer, double seconds) {
    ASSERT_EQ(buffer.Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    std::int64_t played = 0, written = 0;
    for (std::uint32_t last = PlayFrame(buffer); static_cast<double>(played) < seconds * rate;) {
        const std::uint32_t now = PlayFrame(buffer);
        played += (now + ringFrames - last) % ringFrames;
        last = now;
        for (; written < played + ringFrames / 2; written += 240) {
            void *first = nullptr, *second = nullptr;
            std::uint32_t firstBytes = 0, secondBytes = 0;
            const auto offset = static_cast<std::uint32_t>(written % ringFrames * 8);
            ASSERT_EQ(buffer.Lock(offset, 240 * 8, &first, &firstBytes, &second, &secondBytes, 0), DS_OK);
            for (std::uint32_t i = 0; i < 480; ++i)
                static_cast<std::int32_t*>(first)[i] = static_cast<std::int32_t>(written + i / 2 + 1);
            ASSERT_EQ(buffer.Unlock(first, firstBytes, second, secondBytes), DS_OK);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// The frames by which a WAV file of two channels goes on 1, 2, 3, ..., read by the published layout; -1 where
// it is no such file.
std::int64_t RampFrames(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        memcpy(&value, bytes.data() + at, 4);
        return value;
    };
    const std::size_t at = bytes.find("data");
    if (at == std::string::npos || bytes.substr(0, 4) != "RIFF" || number(4) + 8 > bytes.size() ||
        number(24) != rate || number(at + 4) > bytes.size() - at - 8)
        return -1;
    const std::uint32_t frames = number(at + 4) / 8;
    for (std::size_t i = 0; i < std::size_t{2} * frames; ++i)
        if (number(at + 8 + 4 * i) != i / 2 + 1) return -1;
    return frames;
}

TEST(SilentDevice, Cursor_FollowsTheClock) {
    RecordingLog log;
    SoundBufferPtr buffer;
    ASSERT_EQ(Create(*OpenDevice(Output::Silent, "", log), buffer), DS_OK);
    const std::int64_t before = NowNanoseconds();
    ASSERT_EQ(buffer->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    const std::int64_t after = NowNanoseconds();
    for (int i = 0; i < 30; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(9));
        const std::int64_t earliest = FramesIn(NowNanoseconds() - after, rate);
        const std::uint32_t play = PlayFrame(*buffer);
        const std::int64_t latest = FramesIn(NowNanoseconds() - before, rate);
        EXPECT_LE((play + ringFrames - earliest % ringFrames) % ringFrames, latest - earliest + 1);
    }
}

TEST(WaveFileDevice, File_HoldsWhatWasPlayedAndEachRingHasItsOwn) {
    const testing_support::TemporaryFolder folder;
    RecordingLog log;
    const SoundDevicePtr device = OpenDevice(Output::WaveFile, folder.path / "a.wav", log);
    for (const char* name : {"a.wav", "a-2.wav"}) {
        SoundBufferPtr buffer;
        ASSERT_EQ(Create(*device, buffer), DS_OK);
        PlayRamp(*buffer, 0.4);
        ASSERT_EQ(buffer->Stop(), DS_OK);
        buffer.reset();
        EXPECT_GE(RampFrames(folder.path / name), 0.4 * rate);
    }
}

TEST(WaveFileDevice, File_IsWholeWhenTheProcessWasKilled) {
    const testing_support::TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        RecordingLog log;
        SoundBufferPtr buffer;
        Create(*OpenDevice(Output::WaveFile, folder.path / "a.wav", log), buffer);
        PlayRamp(*buffer, 60);
        _exit(1);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1700));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_GE(RampFrames(folder.path / "a.wav"), rate / 2);
}

TEST(WaveFileDevice, PathThatCanNotBeWritten_IsRefusedWithItsReason) {
    RecordingLog log;
    SoundBufferPtr buffer;
    const SoundDevicePtr device = OpenDevice(Output::WaveFile, "/nowhere/a.wav", log);
    EXPECT_EQ(Create(*device, buffer, 16), DSERR_BADFORMAT);
    EXPECT_EQ(Create(*device, buffer), DSERR_ACCESSDENIED);
    EXPECT_EQ(log.lines,
              "E:The sound can't be written to the file '/nowhere/a.wav': No such file or directory");
}

// An output that is faster or slower than the clock, and late by up to a chunk.
void TestPace(double pace) {
    constexpr std::uint32_t chunk = 480;
    PlayClock clock(rate);
    clock.Begin(0, chunk, 0);
    double play = 0;
    std::int64_t time = 0;
    for (int turn = 0; turn < 3000; ++turn) {
        const auto due =
            static_cast<std::int64_t>((turn + std::fmod(turn * 0.618, 1.0)) * 1e9 * chunk / rate / pace);
        for (; time < due; time += 700'000) {
            const PlayClock::Reading reading = clock.Read(time);
            ASSERT_LE(reading.play, static_cast<double>(reading.handed));
            ASSERT_GE(reading.play, play);
            ASSERT_LE(reading.play - play, 0.0007 * rate + 2 * chunk / 8.0);  // no jump
            ASSERT_GE(reading.play, static_cast<double>(reading.handed) - 2.5 * chunk);
            play = reading.play;
        }
        clock.HandOver(chunk, due);
    }
}

TEST(PlayClock, Cursor_StaysCloseBehindWhatWasHandedOver) {
    for (const double pace : {0.97, 1.0, 1.03})
        TestPace(pace);
}

}  // namespace
