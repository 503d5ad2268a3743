#pragma once

// Sources and buffers for tests of their calls, on top of the context without a server.

#include <vector>

#include "contextfixture.h"

namespace testing_support {

class SourceFixture : public ContextFixture {
protected:
    ALuint MakeSource() {
        ALuint name = 0;
        alGenSources(1, &name);
        return name;
    }

    /// 8-bit mono: as many bytes as frames.
    ALuint MakeBuffer(ALsizei frames, ALsizei frequency = 1000, ALenum format = AL_FORMAT_MONO8) {
        ALuint name = 0;
        alGenBuffers(1, &name);
        const std::vector<unsigned char> data(static_cast<std::size_t>(frames), 128);
        alBufferData(name, format, data.data(), frames, frequency);
        return name;
    }

    /// A source with that many buffers of 100 frames in its queue.
    ALuint MakeStream(int buffers) {
        const ALuint source = MakeSource();
        for (int i = 0; i < buffers; ++i) {
            const ALuint buffer = MakeBuffer(100);
            alSourceQueueBuffers(source, 1, &buffer);
        }
        return source;
    }

    ALint Get(ALuint source, ALenum parameter) {
        ALint value = -77;
        alGetSourcei(source, parameter, &value);
        return value;
    }

    std::int32_t UseCount(ALuint buffer) const {
        return process.engine.device.bufferPool.slots[buffer - 1].buffer->useCount;
    }

    /// What the renderer does in a block to a playing source: goes on to a frame of a buffer of its queue.
    void RenderTo(ALuint source, std::uint32_t queueIndex, std::uint64_t frame) {
        Rendered(source).queueIndex = queueIndex;
        Rendered(source).position = frame << 16;
    }

    /// What the renderer does to a source whose data end.
    void RenderToTheEnd(ALuint source) {
        RenderTo(source, 0, 0);
        Rendered(source).state = goal::SourceState::Stopped;
    }

    /// A whole block that takes a playing source to that place.
    void Block(ALuint source, std::uint32_t queueIndex, std::uint64_t frame) {
        Copy();
        RenderTo(source, queueIndex, frame);
        Merge();
    }

    void Suspend() { alcSuspendContext(reinterpret_cast<ALCcontext*>(context.get())); }
    void Resume() { alcProcessContext(reinterpret_cast<ALCcontext*>(context.get())); }
};

}  // namespace testing_support
