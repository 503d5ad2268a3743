#pragma once

// An open stream on a device, into which the decoder pushes blocks. The pipe is the clock of the system:
// Write waits until the output can take the block.
//
//     Start -> Write, Write, ... -> Stop        from one thread at a time
//
// A playback block is GetBufferLength frames, interleaved by the pipe's channels, nominally between -1 and 1.
// The channels of a pipe are those that were enabled when it was opened, in the device's order. Its holders
// share a pipe, and the last of them closes it. Failures are PipeExceptions.

#include <cstdint>

#include "pipe/devicesummary.h"
#include "slib/realtime.h"
#include "slib/smartptr.h"

namespace audiopipe {

/// How an output fares, for those who watch.
struct OutputState {
    std::uint32_t ringFrames = 0;    ///< written, and not yet taken by the output, after the last block
    std::uint32_t serverFrames = 0;  ///< taken by the output, and not yet heard
    std::uint32_t lateBlocks = 0;    ///< so far, in whose place there was silence; those in a row count once
    bool isAway = false;             ///< the output went away, and is looked for
};

class Pipe : public DeviceSummary {
public:
    using DeviceSummary::DeviceSummary;

    /// Hz, what the output really runs at.
    virtual double GetSampleRate() = 0;
    /// Frames of one block, above 0.
    virtual std::uint32_t GetBufferLength() = 0;
    /// Blocks between Write and the output.
    virtual std::uint32_t GetBufferCount() = 0;
    /// Frames: buffer length times buffer count.
    virtual std::uint32_t GetLatency() = 0;
    /// Frames from the input to the recording block.
    virtual std::uint32_t GetRecordingLatency() = 0;

    /// Starts the output. Pairs with Stop; a pipe that is dropped while it runs stops itself.
    virtual void Start() = 0;
    /// Takes one block of `playback` and fills one of `recording`, either of which may be null where its side
    /// has no channels or isn't wanted. Waits until the output has room. Allocates nothing.
    virtual void Write(const float* playback, float* recording) SLIB_NONBLOCKING = 0;
    /// Stops the output.
    virtual void Stop() = 0;

    /// Waits until so many blocks can be written without a wait, so that they can be made as late as
    /// possible. The pipe runs. Allocates nothing.
    virtual void AwaitRoom(std::uint32_t blocks) SLIB_NONBLOCKING { static_cast<void>(blocks); }

    /// Seconds that Write has waited for room so far; negative from an output that doesn't tell. Any thread.
    virtual double GetWaitedTime() const { return -1; }

    /// Any thread.
    virtual OutputState GetOutputState() const SLIB_NONBLOCKING { return {}; }

    /// True when the output waits for what is written late, so that nothing is lost on a machine that doesn't
    /// keep up. Any thread.
    virtual bool IsPatient() const { return false; }

    /// True once the output would be opened differently: it has other speakers now, or another one is the
    /// user's default. Any thread.
    virtual bool HasOutputChanged() const { return false; }
};

using PipePtr = slib::SmartPtr<Pipe, slib::ThreadsafeCounter>;

}  // namespace audiopipe
