#pragma once

// What a server would do between the calls of a game, step by step and without a thread: the copy to the
// snapshot, a block of a renderer that only reads and moves on, and the merge of its progress. Also the
// coming of a context, and a change of the configuration at run time. Used by the calls target, on its one
// thread.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz/callchecks.h"
#include "fuzz/callroles.h"
#include "goal/dsp/samplerateconverter.h"

namespace calls {

inline void CopyStep(World& world) {
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    goal::MarkBufferUsage(*context);
    static const goal::SampleRateConverter converter(goal::SincQuality::Low);
    goal::CopyToSnapshot(context->snapshot, context->application, &converter.start);
    CheckCopied(*context, world.isMerged);
    for (const goal::Buffer* buffer : context->snapshot.deletedBuffers)
        delete buffer;
    context->snapshot.deletedBuffers.clear();
}

inline void MergeStep(World& world) {
    goal::Context* const context = world.Context();
    if (context != nullptr) goal::MergeProgress(context->snapshot, context->application);
    world.isMerged = true;
}

/// All bytes that a renderer may read, so that memory which is gone shows.
inline void ReadSamples(const goal::Source& source) {
    volatile std::uint8_t sink = 0;
    for (const goal::Buffer* buffer : source.queue)
        for (std::uint32_t i = 0; i < buffer->size; i += std::max(1U, buffer->size - 1))
            sink = buffer->data[i];
    static_cast<void>(sink);
}

/// Plays on: to a later place in the queue, to any place when it loops, or to the end of the data. At the end
/// of a block the position may be beyond the end of its buffer.
inline void Advance(Input& input, goal::Source& source) {
    const std::uint8_t choice = input.Byte();
    if (!source.looping && choice % 4 == 0) {
        source.position = 0;
        source.queueIndex = 0;
        source.state = goal::SourceState::Stopped;
        return;
    }
    const std::uint32_t from = source.looping ? 0 : source.queueIndex;
    source.queueIndex = from + choice / 4 % (source.queue.size - from);
    const std::uint64_t end = std::uint64_t{source.queue[source.queueIndex]->frames} << 16;
    source.position = choice == 255 ? end + input.Word() : input.Word() % (end + 1);
}

inline void RenderStep(World& world) {
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    context->snapshot.playing.ForEach([&](std::uint32_t i) {
        goal::Source& source = context->snapshot.sources[i];
        if (source.deleted || source.state != goal::SourceState::Playing) return;
        ReadSamples(source);
        world.isMerged = false;
        if (source.queueIndex < source.queue.size) Advance(world.input, source);
    });
}

inline void BlockStep(World& world) {
    CopyStep(world);
    RenderStep(world);
    MergeStep(world);
}

/// What alcCreateContext does, but for the server.
inline void CreateContext(World& world) {
    if (world.Context() != nullptr) return;
    world.process.engine.device.context = new goal::Context(world.process.engine);
    world.process.currentContext = world.Context();
    world.isMerged = true;
}

/// One of the two switches of the configuration that calls look at.
inline void Reconfigure(World& world) {
    orb3::SharedConfiguration& shared = world.process.engine.configuration;
    const slib::Lock lock(shared.configurationMutex);
    const std::uint8_t choice = world.input.Byte();
    orb3::GoalConfig& settings = shared.configuration.goalConfig;
    if (choice % 2 == 0)
        settings.onlyOneReverb = choice % 4 == 0;
    else
        settings.isSuspendSupported = choice % 8 != 1;
}

inline std::vector<Operation> ServerSteps() {
    const auto step = [](const char* name, void (*run)(World & world)) {
        return Operation{name, Effect::Makes, [run](Call& call) { run(call.world); }};
    };
    return {step("Copy", CopyStep),   step("Render", RenderStep),           step("Merge", MergeStep),
            step("Block", BlockStep), step("CreateContext", CreateContext), step("Reconfigure", Reconfigure)};
}

}  // namespace calls
