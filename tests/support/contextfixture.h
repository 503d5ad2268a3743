#pragma once

// A current context without a server: a test makes the calls of a game and drives the server's copy, render
// and merge by hand. For tests that link the exported calls statically.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/render/sloteffect.h"
#include "tests/support/temporaryfolder.h"

namespace testing_support {

/// The code that alGetError has to give after a call.
struct CodeOfCall {
    ALenum code;
    std::function<void()> call;
};

class ContextFixture : public testing::Test {
protected:
    ContextFixture() {
        process.engine.device.contexts.Add(context.get());
        process.currentContext = context.get();
        alGetError();
        alcGetError(nullptr);
        const goal::RenderContext run{.sampleRate = 48000, .blockFrames = 64, .listenerBasis = &listener};
        goal::BeginRun(context->snapshot, context->application, &converter.start,
                       std::make_shared<goal::SlotEffectBuilder>(run, 4), 3);
    }

    ~ContextFixture() override {
        process.engine.device.contexts.Remove(context.get());
        process.currentContext = nullptr;
        context.reset();
        process.engine.retired.Empty();
        process.engine.device.bufferPool.Clear();
        const slib::Lock lock(process.engine.configuration.configurationMutex);
        process.engine.configuration.Unload();
    }

    // ---- The game ----

    /// Makes the calls in their order.
    static void ExpectCodes(const std::vector<CodeOfCall>& rows) {
        for (const CodeOfCall& row : rows) {
            row.call();
            EXPECT_EQ(alGetError(), row.code) << "row " << &row - rows.data();
        }
    }

    /// One new name of alGenSources or a sister of it.
    static ALuint New(void (*gen)(ALsizei, ALuint*)) {
        ALuint name = 0;
        gen(1, &name);
        return name;
    }

    /// 8-bit mono: as many bytes as frames.
    static ALuint MakeBuffer(ALsizei bytes, ALsizei frequency = 1000, ALenum format = AL_FORMAT_MONO8) {
        const ALuint name = New(alGenBuffers);
        const std::vector<unsigned char> data(static_cast<std::size_t>(bytes), 128);
        alBufferData(name, format, data.data(), bytes, frequency);
        return name;
    }

    /// A source with that many buffers of 100 frames in its queue.
    static ALuint MakeStream(int buffers) {
        const ALuint source = New(alGenSources);
        for (int i = 0; i < buffers; ++i) {
            const ALuint buffer = MakeBuffer(100);
            alSourceQueueBuffers(source, 1, &buffer);
        }
        return source;
    }

    static void SetBuffer(ALuint source, ALuint buffer) {
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    }

    /// What a call that reads one number answers, -77 for a failure.
    template <typename T>
    static T Read(void (*get)(ALuint, ALenum, T*), ALuint name, ALenum parameter) {
        T value = -77;
        get(name, parameter, &value);
        return value;
    }

    static ALint Get(ALuint source, ALenum parameter) { return Read(alGetSourcei, source, parameter); }

    void Suspend() { alcSuspendContext(reinterpret_cast<ALCcontext*>(context.get())); }
    void Resume() { alcProcessContext(reinterpret_cast<ALCcontext*>(context.get())); }

    // ---- The server ----

    /// What it does before a block.
    void Copy() {
        goal::MarkBufferUsage(*context);
        goal::CopyToSnapshot(context->snapshot, context->application, process.engine.retired);
    }

    /// What it does after a block.
    void Merge() { goal::MergeProgress(context->snapshot, context->application, process.engine.retired); }

    // ---- What the engine holds under a name ----

    bool IsRendered(ALuint source) { return context->snapshot.playing.Contains(source - 1); }
    goal::Voice& VoiceOf(ALuint source) { return *context->snapshot.voices[source - 1]; }
    goal::Source& Rendered(ALuint source) { return VoiceOf(source).source; }
    goal::Buffer* Stored(ALuint buffer) { return process.engine.device.bufferPool.slots[buffer - 1].buffer; }
    std::int32_t UseCount(ALuint buffer) { return Stored(buffer)->useCount; }

    // As if they had been stored: a first start would measure the machine.
    static orb3::Configuration& UseDefaults(orb3::SharedConfiguration& shared) {
        const slib::Lock lock(shared.configurationMutex);
        shared.configuration.Reset();
        shared.isConfigurationLoaded = true;
        return shared.configuration;
    }

    /// A run by default settings has one, whose rings the copy shapes by the sources' buffers.
    const goal::SampleRateConverter converter{goal::SincQuality::Low};
    const goal::Basis listener{};
    TemporaryStore store;
    goal::Process& process = goal::TheProcess();
    const orb3::Configuration& defaults = UseDefaults(process.engine.configuration);
    std::unique_ptr<goal::Context> context = std::make_unique<goal::Context>(process.engine);
};

}  // namespace testing_support
