#pragma once

// A stereo output that takes each block at once and keeps the last one, so that what is measured in front of
// it is work and no waiting. For the benchmark programs, from one thread.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "pipe/pipe.h"

class TakingPipe : public audiopipe::Pipe {
public:
    /// Takes blocks of `length` frames at `sampleRate` Hz.
    TakingPipe(std::uint32_t length, double sampleRate)
        : Pipe("Taking", 0), block(std::size_t{2} * length), length(length), sampleRate(sampleRate) {}

    bool IsEmulated() override { return false; }
    std::uint32_t GetPlaybackChannelCount() override { return 2; }
    std::string GetPlaybackChannelName(std::uint32_t channel) override {
        return channel == 0 ? "Left" : "Right";
    }
    slib::StandardFormat GetStandardFormat() override { return slib::StandardFormat::HeadphoneStereo; }
    std::uint32_t GetRecordingChannelCount() override { return 0; }
    std::string GetRecordingChannelName(std::uint32_t) override { return {}; }
    double GetSampleRate() override { return sampleRate; }
    std::uint32_t GetBufferLength() override { return length; }
    std::uint32_t GetBufferCount() override { return 1; }
    std::uint32_t GetLatency() override { return length; }
    std::uint32_t GetRecordingLatency() override { return 0; }
    void Start() override {}
    void Write(const float* playback, float*) override { std::copy_n(playback, block.size(), block.begin()); }
    void Stop() override {}

    std::vector<float> block;  ///< the last one, interleaved

private:
    const std::uint32_t length;
    const double sampleRate;
};
