#pragma once

// A pipe of two channels that records what is written to it, for tests of whatever writes to pipes.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "pipe/pipe.h"

namespace testing_support {

class TestPipe : public audiopipe::Pipe {
public:
    explicit TestPipe(std::uint32_t length, const std::string& name = "Test", std::uint32_t index = 0)
        : Pipe(name, index), length(length) {
        written.reserve(1 << 18);
    }
    bool IsEmulated() override { return false; }
    std::uint32_t GetPlaybackChannelCount() override { return 2; }
    std::string GetPlaybackChannelName(std::uint32_t channel) override {
        return channel == 0 ? "Left" : "Right";
    }
    slib::StandardFormat GetStandardFormat() override { return slib::StandardFormat::Stereo; }
    std::uint32_t GetRecordingChannelCount() override { return 1; }
    std::string GetRecordingChannelName(std::uint32_t) override { return "Microphone"; }
    double GetSampleRate() override { return 48000; }
    std::uint32_t GetBufferLength() override { return length; }
    std::uint32_t GetBufferCount() override { return 2; }
    std::uint32_t GetLatency() override { return 2 * length; }
    std::uint32_t GetRecordingLatency() override { return 0; }
    void Start() override { ++running; }
    void Write(const float* playback, float*) override {
        EXPECT_EQ(running, 1);
        onWrite(blocks);
        written.insert(written.end(), playback, playback + 2 * length);
        ++blocks;
    }
    void Stop() override { --running; }

    /// Waits until `count` blocks have been written.
    void Await(int count) const {
        while (blocks < count)
            std::this_thread::yield();
    }

    std::function<void(int)> onWrite = [](int) {};  ///< gets the number of each block, from 0
    const std::uint32_t length;                     ///< frames
    std::vector<float> written;
    std::atomic<int> blocks{0}, running{0};
};

}  // namespace testing_support
