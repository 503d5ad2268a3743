#include "platform/silentdevice.h"

#include "platform/clock.h"
#include "platform/outputdevice.h"
#include "platform/ringbuffer.h"

namespace platform {
namespace {

class SilentBuffer : public RingBuffer {
public:
    using RingBuffer::RingBuffer;

protected:
    // Nobody reads ahead of the cursor, so it is safe to write from there on.
    Result ReadCursors(RingCursors& cursors) override {
        cursors.play = position;
        if (IsPlaying()) cursors.play += FramesIn(NowNanoseconds() - startTime, shape.rate);
        cursors.write = cursors.play;
        return DS_OK;
    }

    Result StartOutput() override {
        startTime = NowNanoseconds();
        return DS_OK;
    }

    Result StopOutput() override {
        position += FramesIn(NowNanoseconds() - startTime, shape.rate);
        return DS_OK;
    }

private:
    std::int64_t position = 0;   // frames, at startTime or while stopped
    std::int64_t startTime = 0;  // nanoseconds
};

class SilentDevice : public OutputDevice {
public:
    using OutputDevice::OutputDevice;

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        buffer.reset(new SilentBuffer(shape));
        return DS_OK;
    }
};

}  // namespace

SoundDevicePtr MakeSilentDevice(std::uint32_t speakerSetting) {
    return SoundDevicePtr(new SilentDevice(speakerSetting));
}

}  // namespace platform
