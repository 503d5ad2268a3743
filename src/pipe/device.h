#pragma once

// An endpoint of an audio output API, on which pipes are opened. Used by the set-up of the output; may be
// used from any thread.

#include <cstdint>
#include <memory>
#include <vector>

#include "pipe/devicesummary.h"
#include "pipe/pipe.h"
#include "slib/log.h"
#include "slib/smartptr.h"

namespace audiopipe {

class Device : public DeviceSummary {
public:
    using DeviceSummary::DeviceSummary;

    /// `rate` in Hz.
    virtual bool IsSampleRateSupported(double rate) = 0;

    /// Opens a stream: `rate` in Hz, blocks of `bufferLength` frames, of which `bufferCount` are between
    /// Write and the output; all three are requests, and the pipe has the values in use. The flags, one for
    /// each channel of the device, say which of them the pipe carries. `log` is borrowed and outlives the
    /// pipe. Throws PipeException when the output doesn't open.
    virtual std::unique_ptr<Pipe> OpenPipe(slib::Log* log, double rate, std::uint32_t bufferLength,
                                           std::uint32_t bufferCount, const std::vector<bool>& playback,
                                           const std::vector<bool>& recording) = 0;
};

using DevicePtr = slib::SmartPtr<Device, slib::ThreadsafeCounter>;

}  // namespace audiopipe
