#include "tools/manage/drydevice.h"

#include <algorithm>
#include <utility>

#include "pipe/adaptivebuffering.h"

namespace tool {
namespace {

using audiopipe::DevicePtr;

// Says what it would be opened with.
class DryPipe : public audiopipe::Pipe {
public:
    DryPipe(DevicePtr source, std::vector<std::string> channels,
            const audiopipe::directsound::AdaptiveBuffering& buffering)
        : Pipe(source->name, source->index),
          source(std::move(source)),
          channels(std::move(channels)),
          buffering(buffering) {}

    bool IsEmulated() override { return source->IsEmulated(); }
    std::uint32_t GetPlaybackChannelCount() override { return static_cast<std::uint32_t>(channels.size()); }
    std::string GetPlaybackChannelName(std::uint32_t channel) override { return channels.at(channel); }
    slib::StandardFormat GetStandardFormat() override { return source->GetStandardFormat(); }
    std::uint32_t GetRecordingChannelCount() override { return 0; }
    std::string GetRecordingChannelName(std::uint32_t) override { return {}; }
    double GetSampleRate() override { return buffering.sampleRate; }
    std::uint32_t GetBufferLength() override { return buffering.bufferLength; }
    std::uint32_t GetBufferCount() override { return buffering.bufferCount; }
    std::uint32_t GetLatency() override { return buffering.bufferLength * buffering.bufferCount; }
    std::uint32_t GetRecordingLatency() override { return 0; }
    void Start() override {}
    void Write(const float*, float*) override {}
    void Stop() override {}

private:
    const DevicePtr source;
    const std::vector<std::string> channels;
    const audiopipe::directsound::AdaptiveBuffering buffering;
};

class DryDevice : public audiopipe::Device {
public:
    explicit DryDevice(DevicePtr device) : Device(device->name, device->index), source(std::move(device)) {
        id = source->id;
        fullId = source->fullId;
        plainId = source->plainId;
    }

    bool IsEmulated() override { return source->IsEmulated(); }
    std::uint32_t GetPlaybackChannelCount() override { return source->GetPlaybackChannelCount(); }
    std::string GetPlaybackChannelName(std::uint32_t channel) override {
        return source->GetPlaybackChannelName(channel);
    }
    slib::StandardFormat GetStandardFormat() override { return source->GetStandardFormat(); }
    std::uint32_t GetRecordingChannelCount() override { return source->GetRecordingChannelCount(); }
    std::string GetRecordingChannelName(std::uint32_t channel) override {
        return source->GetRecordingChannelName(channel);
    }
    bool IsSampleRateSupported(double rate) override { return source->IsSampleRateSupported(rate); }

    std::unique_ptr<audiopipe::Pipe> OpenPipe(slib::Log* log, double rate, std::uint32_t bufferLength,
                                              std::uint32_t bufferCount, const std::vector<bool>& playback,
                                              const std::vector<bool>&) override {
        const std::vector<std::string> names = orb3::PlaybackChannelNames(*source);
        const audiopipe::directsound::AdaptiveBuffering buffering(
            *log, rate, static_cast<std::uint32_t>(names.size()), bufferLength, bufferCount);
        std::vector<std::string> enabled;
        for (std::size_t i = 0; i < names.size(); ++i)
            if (playback.at(i)) enabled.push_back(names[i]);
        return std::make_unique<DryPipe>(source, std::move(enabled), buffering);
    }

private:
    const DevicePtr source;
};

class DryFramework : public audiopipe::Framework {
public:
    explicit DryFramework(audiopipe::FrameworkPtr source) : source(std::move(source)) {}

    bool IsAvailable() override { return source->IsAvailable(); }
    std::string GetId() override { return source->GetId(); }
    std::string GetName() override { return source->GetName(); }
    std::uint32_t GetDeviceCount() override { return source->GetDeviceCount(); }
    DevicePtr GetDevice(std::uint32_t index) override {
        return DevicePtr(new DryDevice(source->GetDevice(index)));
    }

private:
    const audiopipe::FrameworkPtr source;
};

}  // namespace

orb3::Frameworks WithDryDevices(const orb3::Frameworks& frameworks) {
    orb3::Frameworks dry;
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        dry.emplace_back(new DryFramework(framework));
    return dry;
}

}  // namespace tool
