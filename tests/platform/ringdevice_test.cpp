#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "platform/clock.h"
#include "platform/playclock.h"
#include "platform/soundsystem.h"
#include "tests/platform/ramp.h"
#include "tests/support/recording.h"
#include "tests/support/recordinglog.h"

namespace {

using namespace platform;
using namespace std::chrono_literals;
using Output = PlatformSettings::Output;
using testing_support::Ramp;
using testing_support::RecordingLog;

constexpr std::uint32_t rate = Ramp::rate;

// Eight bytes a frame.
Result Create(IDirectSound8& device, SoundBufferPtr& buffer, std::uint16_t sampleBits = 32) {
    const WAVEFORMATEXTENSIBLE format{
        {WAVE_FORMAT_EXTENSIBLE, 2, rate, 8 * rate, 8, sampleBits, 22}, 32, 3, KSDATAFORMAT_SUBTYPE_PCM};
    const DSBUFFERDESC description{36, 0, 8 * Ramp::ringFrames, 0, &format, {}};
    IDirectSoundBuffer* created = nullptr;
    const Result result = device.CreateSoundBuffer(&description, &created);
    buffer.reset(created);
    return result;
}

SoundDevicePtr OpenDevice(Output output, const std::string& waveFile, slib::Log& log,
                          PlatformSettings::Pace pace = PlatformSettings::Pace::Renderer) {
    const PlatformSettings settings{
        .output = output, .waveFile = waveFile, .waveFilePace = pace, .speakerSetting = {}};
    IDirectSound8* device = nullptr;
    EXPECT_EQ(MakeSoundSystem(settings, &log)->DirectSoundCreate8(nullptr, &device), DS_OK);
    EXPECT_EQ(device->SetCooperativeLevel(1, DSSCL_PRIORITY), DS_OK);
    return SoundDevicePtr(device);
}

// The frames of a file, which have to be those of a ramp from its begin on.
std::int64_t RampFrames(const std::string& path) {
    const testing_support::Recording recording = testing_support::ReadWaveFile(path, 2);
    for (std::size_t i = 0; i < recording.samples.size(); ++i)
        EXPECT_EQ(recording.samples[i] * 2147483648.0, static_cast<double>((i / 2 + 1) * Ramp::step));
    return static_cast<std::int64_t>(recording.Frames());
}

TEST(SilentDevice, Cursor_FollowsTheClock) {
    RecordingLog log;
    SoundBufferPtr buffer;
    ASSERT_EQ(Create(*OpenDevice(Output::Silent, "", log), buffer), DS_OK);
    const std::int64_t before = NowNanoseconds();
    ASSERT_EQ(buffer->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
    const std::int64_t after = NowNanoseconds();
    for (int i = 0; i < 30; ++i) {
        std::this_thread::sleep_for(9ms);
        const std::int64_t earliest = FramesIn(NowNanoseconds() - after, rate);
        const std::uint32_t play = Ramp::Cursor(*buffer);
        const std::int64_t latest = FramesIn(NowNanoseconds() - before, rate);
        EXPECT_LE((play + Ramp::ringFrames - earliest % Ramp::ringFrames) % Ramp::ringFrames,
                  latest - earliest + 1);
    }
}

TEST(WaveFileDevice, File_HoldsWhatWasPlayedAndEachRingHasItsOwn) {
    const testing_support::TemporaryFolder folder;
    RecordingLog log;
    const SoundDevicePtr device =
        OpenDevice(Output::WaveFile, folder.path / "a.wav", log, PlatformSettings::Pace::RealTime);
    for (const char* name : {"a.wav", "a-2.wav"}) {
        SoundBufferPtr buffer;
        ASSERT_EQ(Create(*device, buffer), DS_OK);
        Ramp(*buffer).Play(450ms);
        ASSERT_EQ(buffer->Stop(), DS_OK);
        buffer.reset();
        EXPECT_GE(RampFrames(folder.path / name), 0.4 * rate);
    }
}

// The ramp goes on where it was, so it is what an undisturbed one is.
TEST(WaveFileDevice, File_IsWholeWhenItsWriterAndTheProcessStoodStillAndItWasKilled) {
    const testing_support::TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        RecordingLog log;
        SoundBufferPtr buffer;
        Create(*OpenDevice(Output::WaveFile, folder.path / "a.wav", log), buffer);
        Ramp ramp(*buffer);
        ramp.Play(400ms);
        std::this_thread::sleep_for(300ms);
        ramp.Play(60s);
        _exit(1);
    }
    std::this_thread::sleep_for(1s);
    kill(child, SIGSTOP);
    std::this_thread::sleep_for(300ms);
    kill(child, SIGCONT);
    std::this_thread::sleep_for(900ms);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::int64_t frames = RampFrames(folder.path / "a.wav");
    EXPECT_GE(frames, rate);
    EXPECT_LE(frames, 2 * rate);  // at the pace of time
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

// An output that is faster or slower than the clock, late by up to a chunk, and heard after a delay.
class PlayClockAtAPace : public testing::TestWithParam<std::tuple<double, std::uint32_t>> {};
INSTANTIATE_TEST_SUITE_P(Paces, PlayClockAtAPace,
                         testing::Combine(testing::Values(0.97, 1.0, 1.03), testing::Values(0, 2000)));

TEST_P(PlayClockAtAPace, Cursor_StaysCloseToWhatIsHeard) {
    constexpr std::uint32_t chunk = 480;
    const auto& [pace, delay] = GetParam();
    const double framesPerNanosecond = rate * pace / 1e9;
    PlayClock clock(rate);
    clock.Begin(0, chunk, 0);
    double play = -1.0 * delay;
    std::int64_t time = 0;
    for (int turn = 0; turn < 3000; ++turn) {
        const double late = std::fmod(turn * 0.618, 1.0) * chunk;
        const auto due = static_cast<std::int64_t>((turn * chunk + late) / framesPerNanosecond);
        for (; time < due; time += 700'000) {
            const PlayClock::Reading reading = clock.Read(time);
            ASSERT_LE(reading.play, static_cast<double>(reading.handed));
            // No jump, and none back where nothing tells the delay.
            ASSERT_GE(reading.play, play - (delay == 0 || turn == 0 ? 0 : chunk / 8.0));
            ASSERT_LE(reading.play - play, (turn < 2 ? delay : 0) + 0.0007 * rate + 2 * chunk / 8.0);
            ASSERT_GE(reading.play, static_cast<double>(reading.handed) - delay - 2.5 * chunk);
            const double heard = static_cast<double>(time) * framesPerNanosecond - delay;
            ASSERT_LT(std::abs(reading.play - heard),
                      delay > 0 && turn > 100 ? chunk / 2 : delay + 2.5 * chunk);
            play = reading.play;
        }
        clock.HandOver(chunk, delay == 0 ? 0 : delay - static_cast<std::uint32_t>(late), due);
        if (turn == 0) play = -1.0 * delay;
    }
}

}  // namespace
