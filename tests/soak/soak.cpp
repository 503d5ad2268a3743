// The whole at once, for a while: 255 sources of all formats, all effects, four threads of a game at random
// calls, restarts for changed configurations, contexts that come and go, and an output that misbehaves. What
// it looks for are crashes, races, leaks and deadlocks, so its full worth is under the sanitizers.
//
//     soak [SECONDS [SEED]]      8 seconds, and a seed of the clock's

#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <memory>

#include "app/goaldll/process.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/randomgame.h"
#include "tests/support/tasks.h"
#include "tests/support/temporaryfolder.h"

namespace soak {
namespace {

using Clock = std::chrono::steady_clock;

// Counts the restarts, and tells a server that ended for its device's sake from one that ended for none.
class Witness : public slib::Log {
public:
    Witness(World& world, slib::Log& target) : world(world), target(target) {}

    void Write(const std::string& text, bool isError) override {
        target.Write(text, isError);
        if (text.starts_with("Restarting ")) ++world.restarts;
        if (text.starts_with("Exception: ") && !world.output.hasFailed)
            world.Fault("The server ended. " + text);
    }

private:
    World& world;
    slib::Log& target;
};

double AllocatedMebibytes() {
    const auto info = mallinfo2();  // all 0 under a sanitizer
    return static_cast<double>(info.uordblks + info.hblkhd) / (1 << 20);
}

// The thread that makes and destroys contexts, changes the configuration and asks for foldback, while the
// players call.
class Director {
public:
    explicit Director(World& world) : world(world), dice(world.seed) {}

    void Direct() {
        while (!world.isOver) {
            const ALCint attributes[] = {ALC_FREQUENCY, dice.OneIn(2) ? 48000 : 44100, 0};
            world.output.hasFailed = false;
            ALCcontext* const context = alcCreateContext(alcOpenDevice(nullptr), attributes);
            if (context != nullptr)
                Run(context);
            else if (!world.output.hasFailed)
                world.Fault("No context, though the device is well.");
            allocated = AllocatedMebibytes();
            if (settled == 0 && Clock::now() - start > std::chrono::minutes(1)) settled = allocated;
        }
    }

    double settled = 0;    ///< MiB without a context, once everything has had its first use; 0: not yet
    double allocated = 0;  ///< MiB without a context, at last

private:
    void Run(ALCcontext* context) {
        ++world.contexts;
        SetHandle(context);
        alcMakeContextCurrent(context);
        MakeObjects(world.cast);
        for (unsigned rest = dice.Below(8); rest > 0 && !IsLost(); --rest) {
            Wait(50 + dice.Below(1000));
            ChangeConfiguration();
        }
        Wait(dice.Below(500));
        Nap(dice.Below(200));  // of a game that doesn't know yet
        SetHandle(nullptr);
        alcDestroyContext(context);
        testing_support::WaitForTasks();
        if (world.foldback.IsRunning()) world.Fault("Foldback never told its end.");
    }

    bool IsLost() const { return world.isOver || world.output.hasFailed; }

    void SetHandle(ALCcontext* context) {
        const std::lock_guard lock(world.handleMutex);
        world.context = context;
    }

    void Wait(unsigned milliseconds) {
        const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
        for (; Clock::now() < end && !IsLost(); Nap(10)) {
            if (dice.OneIn(10)) world.foldback.Start(dice);
            if (dice.OneIn(30)) alRequestFoldbackStop();
        }
    }

    void ChangeConfiguration() {
        orb3::SharedConfiguration& shared = goal::TheProcess().engine.configuration;
        const slib::Lock lock(shared.configurationMutex);
        orb3::Configuration next = shared.configuration;
        Vary(next.goalConfig, dice);
        next.useDirectSoundAutoselect = dice.OneIn(2);
        if (!next.layouts.empty()) next.selectedName = dice.Of(next.layouts)->format;
        if (dice.OneIn(3)) return testing_support::StoreDocument(next);  // the monitor may see it
        shared.pendingConfiguration = std::move(next);
        shared.isRestartRequested = true;
    }

    World& world;
    Dice dice;
    const Clock::time_point start = Clock::now();
};

void CheckEnd(World& world) {
    for (const auto& slot : goal::TheProcess().engine.device.bufferPool.slots)
        if (slot.buffer != nullptr && slot.buffer->useCount != 0)
            world.Fault("A buffer is in use though there is no context.");
    if (world.output.openObjects != 0) world.Fault("Objects of the sound system were left open.");
    if (world.calls == 0 || world.output.audibleFrames == 0 || world.restarts == 0)
        world.Fault("There were no calls, no sound or no restart.");
}

// What varies are the random sounds in the buffers.
void CheckMemory(World& world, const Director& director) {
    std::cout << director.allocated << " MiB without a context at last; " << director.settled
              << " MiB after a minute, 0 for a shorter run.\n";
    if (director.settled > 0 && director.allocated > director.settled + 32) world.Fault("Memory grows.");
}

void RunFor(World& world, std::chrono::seconds duration) {
    Director director(world);
    Player players[]{{world, 0}, {world, 1}, {world, 2}, {world, 3}};
    std::vector<std::thread> threads;
    for (Player& player : players)
        threads.emplace_back([&] { player.Play(); });
    threads.emplace_back([&] { director.Direct(); });
    std::this_thread::sleep_for(duration);
    world.isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    CheckMemory(world, director);
}

void Soak(World& world, std::chrono::seconds duration) {
    goal::Process& process = goal::TheProcess();
    Witness witness(world, process.log);
    Dice seeds(world.seed + 100);
    goal::OutputMachinery machinery([&](const platform::PlatformSettings&, slib::Log*) {
        return std::make_shared<testing_support::MisbehavingSystem>(world.output, seeds.Below(1U << 31));
    });
    process.engine.log = &witness;
    process.engine.machinery = &machinery;
    std::vector<ALuint> names(world.cast.buffers);
    alGenBuffers(static_cast<ALsizei>(names.size()), names.data());
    RunFor(world, duration);
    CheckEnd(world);
    std::cout << world.calls << " calls, " << world.contexts << " contexts, " << world.restarts
              << " restarts, " << world.faults << " faults.\n";
    process.engine.machinery = &process.machinery;
    process.engine.log = &process.log;
}

}  // namespace
}  // namespace soak

int main(int count, char** arguments) {
    const long seconds = count > 1 ? std::atol(arguments[1]) : 8;
    const long seed = count > 2 ? std::atol(arguments[2]) : getpid();
    std::cout << "A soak of " << seconds << " seconds with seed " << seed << "." << std::endl;
    const testing_support::TemporaryStore store;
    testing_support::StoreDocument();
    soak::World world{.seed = static_cast<unsigned>(seed)};
    soak::Soak(world, std::chrono::seconds(seconds));
    return world.faults == 0 ? 0 : 1;
}
