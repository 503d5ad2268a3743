#pragma once

// An open stream on a looping ring of 32-bit integer frames: converts each block, waits until the ring has
// room for it, writes it and adapts how far ahead it writes. One thread at a time drives a pipe; nothing in
// it is locked, and Write allocates nothing and waits only in the platform's Sleep.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "numeric/genericmatrix.h"
#include "pipe/adaptivebuffering.h"
#include "pipe/pipe.h"
#include "platform/soundsystem.h"
#include "slib/log.h"
#include "slib/realtime.h"

namespace audiopipe::directsound {

/// What a pipe copies from its device.
struct OpenedDevice {
    std::string name;         ///< of the device
    std::uint32_t index = 0;  ///< of the device
    std::shared_ptr<platform::SoundSystem> system;
    platform::IDirectSound8* directSound = nullptr;  ///< borrowed while the pipe is made
    bool isEmulated = false;
    std::vector<std::string> channelNames;  ///< of all channels of the device
    slib::StandardFormat standardFormat = slib::StandardFormat::Unknown;
    std::uint32_t channelMask = 0;  ///< a bit for each speaker
};

class AdaptiveDirectSoundPipe : public Pipe {
public:
    /// `log` is borrowed and outlives the pipe; `sampleRate` in Hz; `wantedLength` frames a block, of which
    /// `wantedCount` are to be between Write and the output; a flag for each channel of the device. Throws
    /// DirectSoundException when the device makes no ring for it, and slib::BadParameterException for a rate
    /// that is none or flags that don't fit the device.
    AdaptiveDirectSoundPipe(slib::Log* log, const OpenedDevice& device, double sampleRate,
                            std::uint32_t wantedLength, std::uint32_t wantedCount, std::vector<bool> enabled);
    /// Stops a pipe that still plays. A failure of that is an error in the log.
    ~AdaptiveDirectSoundPipe() override;

    bool IsEmulated() override;
    std::uint32_t GetPlaybackChannelCount() override;
    std::string GetPlaybackChannelName(std::uint32_t channel) override;
    slib::StandardFormat GetStandardFormat() override;
    std::uint32_t GetRecordingChannelCount() override;
    std::string GetRecordingChannelName(std::uint32_t channel) override;

    double GetSampleRate() override;
    std::uint32_t GetBufferLength() override;
    std::uint32_t GetBufferCount() override;
    std::uint32_t GetLatency() override;
    std::uint32_t GetRecordingLatency() override;

    void Start() override;
    void Write(const float* playback, float* recording) SLIB_NONBLOCKING override;
    void Stop() override;
    void AwaitRoom(std::uint32_t blocks) SLIB_NONBLOCKING override;
    double GetWaitedTime() const override;
    OutputState GetOutputState() const SLIB_NONBLOCKING override;
    bool IsPatient() const override;
    bool HasOutputChanged() const override;

    /// How far ahead the pipe writes at present.
    const AdaptiveBuffering& Buffering() const { return buffering; }

private:
    struct Cursors {
        std::uint32_t play = 0;   // bytes
        std::uint32_t write = 0;  // bytes
    };

    void CreateBuffer(platform::IDirectSound8& directSound, std::uint32_t channelMask);
    Cursors ReadCursors();
    void Convert(const float* samples);
    void WaitForRoom(bool shrink, std::uint32_t blocks);
    void CopyBlock();
    void NoteState(std::int32_t safety);

    slib::Log* const log;
    const std::shared_ptr<platform::SoundSystem> system;
    const bool isEmulated;
    const std::vector<std::string> channelNames;
    const slib::StandardFormat standardFormat;
    const std::vector<bool> enabled;
    const std::uint32_t enabledCount;
    AdaptiveBuffering buffering;
    hcml::GenericMatrix<std::int32_t, 1> mix;  // one block, frames by channels, as it goes to the device
    platform::SoundBufferPtr buffer;
    bool isPlaying = false;
    std::uint32_t returns = 0;            // of the output, as far as the buffering knows of them
    std::atomic<std::int64_t> waited{0};  // ns

    // After the last block.
    std::atomic<std::uint32_t> ringFrames{0};
    std::atomic<std::uint32_t> serverFrames{0};
};

}  // namespace audiopipe::directsound
