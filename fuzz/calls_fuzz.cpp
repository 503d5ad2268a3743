// Fuzz target for the call interface: the bytes are a game that makes any calls in any order, right and wrong
// ones, with a server's steps in between, and everything that must hold is looked at after each. Also linked
// with replay_main.cpp into a program that runs the corpus in the ordinary tests.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "fuzz/callchecks.h"
#include "fuzz/callserver.h"
#include "fuzz/calltable.h"

namespace {

using calls::Call;
using calls::Effect;
using calls::Operation;
using calls::Require;
using calls::World;

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
    calls::CreateContext(world);
    world.process.alError.Take();
    world.process.alcError.Take();
}

void End(World& world) {
    alcDestroyContext(reinterpret_cast<ALCcontext*>(world.Context()));
    calls::callUnderWay = "the end of the context";
    calls::CheckInvariants(world);
    world.process.engine.device.bufferPool.Clear();
}

bool IsErrorCode(int code) {
    return code == AL_NO_ERROR || (code >= AL_INVALID_NAME && code <= AL_OUT_OF_MEMORY);
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
    explicit Before(const World& world) : bytes(calls::BytesOfAll(world)), context(world.Context()) {
        if (context != nullptr) sizes = calls::TableSizes(*context), isSuspended = context->suspendCount > 0;
    }

    std::string bytes;
    goal::Context* context;
    std::array<std::uint32_t, 8> sizes{};
    bool isSuspended = false;
};

// What a call answered has to go with what it did.
void CheckAnswer(const Operation& operation, const Call& call, const Before& before) {
    const int alCode = alGetError();
    const int alcCode = alcGetError(nullptr);
    Require(IsErrorCode(alCode) && IsErrorCode(alcCode), "an error code is none of the standard's");
    const bool isFailure = alCode != AL_NO_ERROR || alcCode != ALC_NO_ERROR;
    if (operation.effect == Effect::Makes) return;
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
    Require(std::ranges::equal(calls::TableSizes(*context), before.sizes, std::greater_equal()),
            "a table lost entries");
    if (before.isSuspended && context->suspendCount == 0) calls::CheckResumed(*context, before.sizes.front());
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
