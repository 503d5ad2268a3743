// Fuzz target for the call interface: the bytes are a game that makes any calls in any order, right and wrong
// ones, with a server's steps in between, and everything that must hold is looked at after each. Also linked
// with replay_main.cpp into a program that runs the corpus in the ordinary tests.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "fuzz/callchecks.h"
#include "fuzz/calltable.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/render/sloteffect.h"

namespace {

using calls::Call;
using calls::Effect;
using calls::Operation;
using calls::Require;
using calls::World;

// ---- What a server would do between the calls, step by step and without a thread ----

void CopyStep(World& world) {
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    goal::MarkBufferUsage(*context);
    goal::CopyToSnapshot(context->snapshot, context->application, world.process.engine.retired);
    calls::CheckCopied(*context, world.isMerged);
}

void MergeStep(World& world) {
    goal::Context* const context = world.Context();
    if (context != nullptr)
        goal::MergeProgress(context->snapshot, context->application, world.process.engine.retired);
    world.isMerged = true;
}

// All bytes that a renderer may read, so that memory which is gone shows.
void ReadSamples(const goal::Source& source) {
    volatile std::uint8_t sink = 0;
    for (const goal::Buffer* buffer : source.queue)
        for (std::uint32_t i = 0; i < buffer->size; i += std::max(1U, buffer->size - 1))
            sink = buffer->data[i];
    static_cast<void>(sink);
}

// Plays on: to a later place in the queue, to any place when it loops, or to the end of the data. At the end
// of a block the position may be beyond the end of its buffer.
void Advance(calls::Input& input, goal::Source& source) {
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

void RenderStep(World& world) {
    goal::Context* const context = world.Context();
    if (context == nullptr) return;
    context->snapshot.playing.ForEach([&](std::uint32_t i) {
        goal::Source& source = context->snapshot.voices[i]->source;
        if (source.state != goal::SourceState::Playing) return;
        ReadSamples(source);
        world.isMerged = false;
        if (source.queueIndex < source.queue.size) Advance(world.input, source);
    });
    context->snapshot.endings.ForEach([](goal::Voice& voice) { ReadSamples(voice.source); });
}

void BlockStep(World& world) {
    CopyStep(world);
    RenderStep(world);
    MergeStep(world);
}

// What alcCreateContext does, but for the server.
void CreateContext(World& world) {
    if (world.Context() != nullptr) return;
    world.process.engine.device.contexts.Add(new goal::Context(world.process.engine));
    world.process.currentContext = world.Context();
    world.isMerged = true;
    static const goal::SampleRateConverter converter(goal::SincQuality::Low);
    static const goal::Basis listener;
    const goal::RenderContext run{.sampleRate = 48000, .blockFrames = 64, .listenerBasis = &listener};
    goal::BeginRun(world.Context()->snapshot, world.Context()->application, &converter.start,
                   std::make_shared<goal::SlotEffectBuilder>(run, 4), 3);
}

// One of the two switches of the configuration that calls look at.
void Reconfigure(World& world) {
    orb3::SharedConfiguration& shared = world.process.engine.configuration;
    const slib::Lock lock(shared.configurationMutex);
    const std::uint8_t choice = world.input.Byte();
    orb3::GoalConfig& settings = shared.configuration.goalConfig;
    if (choice % 2 == 0)
        settings.onlyOneReverb = choice % 4 == 0;
    else
        settings.isSuspendSupported = choice % 8 != 1;
}

calls::Operations ServerSteps() {
    const auto step = [](const char* name, void (*run)(World & world)) {
        return Operation{name, Effect::Makes, [run](Call& call) { run(call.world); }};
    };
    return {step("Copy", CopyStep),   step("Render", RenderStep),           step("Merge", MergeStep),
            step("Block", BlockStep), step("CreateContext", CreateContext), step("Reconfigure", Reconfigure)};
}

// ---- The game ----

// Some milliseconds' worth.
constexpr int mostCalls = 300;

// One byte chooses, so that what leads furthest stands here more than once.
const calls::Operations& Operations() {
    using namespace calls;
    static const calls::Operations operations =
        Joined({SourceCalls(), BufferCalls(), SourcePropertyCalls(), ServerSteps(), AlcCalls(), EfxCalls(),
                GlobalCalls(), ListenerCalls(), SourceCalls(), ServerSteps()});
    return operations;
}

// A game that just began, with nothing left over from another.
void Begin(World& world) {
    orb3::SharedConfiguration& shared = world.process.engine.configuration;
    const slib::Lock lock(shared.configurationMutex);
    shared.isConfigurationLoaded = true;  // the defaults, and not what the store of this machine says
    shared.configuration.goalConfig.isSuspendSupported = true;
    shared.configuration.goalConfig.onlyOneReverb = false;
    CreateContext(world);
    world.process.alError.Take();
    world.process.alcError.Take();
}

void End(World& world) {
    alcDestroyContext(reinterpret_cast<ALCcontext*>(world.Context()));
    calls::callUnderWay = "the end of the context";
    calls::CheckInvariants(world);
    world.process.engine.device.bufferPool.Clear();
}

// A program may free what no name of a static buffer stands for any more.
void FreeStaticData(World& world) {
    const auto& slots = world.process.engine.device.bufferPool.slots;
    std::erase_if(world.staticData, [&](const auto& data) {
        return std::none_of(slots.begin(), slots.end(), [&](const goal::BufferPool::BufferSlot& slot) {
            return slot.buffer != nullptr && slot.buffer->data == data.get();
        });
    });
}

// What was so before a call.
struct Before {
    explicit Before(const World& world)
        : bytes(calls::BytesOfAll(world)), context(world.Context()), current(world.process.currentContext) {
        if (context == nullptr) return;
        sources = context->application.sources.size;
        isSuspended = context->suspendCount > 0;
    }

    std::string bytes;
    goal::Context* context;
    const goal::Context* current;  // as the game gave it
    std::uint32_t sources = 0;     // of the application state
    bool isSuspended = false;
};

// What a call answered has to go with what it did.
void CheckAnswer(const Operation& operation, const Call& call, const Before& before) {
    const bool isAlFailure = alGetError() != AL_NO_ERROR;
    const bool isFailure = alcGetError(nullptr) != ALC_NO_ERROR || isAlFailure;
    if (operation.effect == Effect::Makes) return;
    // A handle that is current and no context ceases to be current, though it can't be destroyed.
    if (operation.name == std::string_view("alcDestroyContext") && before.current != before.context) return;
    Require(
        !(isFailure || operation.effect == Effect::Reads) || calls::BytesOfAll(call.world) == before.bytes,
        "a call that failed or reads changed something");
    for (const std::span<const std::uint8_t> output : call.outputs)
        Require(!isFailure || std::ranges::count(output, calls::untouched) == std::ssize(output),
                "a call that failed wrote a result");
}

void CheckState(World& world, const Before& before) {
    calls::CheckInvariants(world);
    goal::Context* const context = world.Context();
    if (context == nullptr || context != before.context) return;
    if (before.isSuspended && context->suspendCount == 0) calls::CheckResumed(*context, before.sources);
}

void Run(World& world, const Operation& operation) {
    calls::callUnderWay = operation.name;
    Call call(world);
    const Before before(world);
    operation.run(call);
    CheckAnswer(operation, call, before);
    CheckState(world, before);
    FreeStaticData(world);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const calls::Operations& operations = Operations();
    World world(calls::Input(data, size));
    Begin(world);
    for (int i = 0; i < mostCalls && !world.input.IsAtEnd(); ++i)
        Run(world, operations[world.input.Byte() % operations.size()]);
    End(world);
    return 0;
}
