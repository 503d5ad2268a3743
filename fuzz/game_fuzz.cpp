// Fuzz target for a game as a whole: the bytes seed the soak's game, of fewer objects, whose threads make
// random calls through the exported functions while the real server renders into silence and restarts. What
// it looks for are crashes, races and hangs, under the sanitizers.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <thread>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "fuzz/check.h"
#include "fuzz/silentstore.h"
#include "tests/support/randomgame.h"
#include "tests/support/tasks.h"

namespace {

using testing_support::Dice;

constexpr soak::Cast cast{.sources = 24, .buffers = 16, .slots = 6, .effects = 16, .filters = 4};

void Restart(const soak::World& world, Dice& dice) {
    orb3::SharedConfiguration& shared = goal::TheProcess().engine.configuration;
    const slib::Lock lock(shared.configurationMutex);
    shared.pendingConfiguration = shared.configuration;
    soak::Vary(shared.pendingConfiguration.goalConfig, world.trackerPort, dice);
    shared.isRestartRequested = true;
}

// What the game's main thread does beside the players.
void Direct(soak::World& world, Dice& dice) {
    for (unsigned rest = 1 + dice.Below(6); rest > 0; --rest) {
        Restart(world, dice);
        dice.OneIn(3) ? alRequestFoldbackStop() : world.foldback.Start(dice);
        soak::Nap(dice.Below(60));
    }
    world.isOver = true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::PrepareSilentStore();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    soak::World world{.seed = static_cast<unsigned>(std::hash<std::string_view>{}(bytes)), .cast = cast};
    Dice dice(world.seed);
    world.context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
    Check(world.context != nullptr);
    alcMakeContextCurrent(world.context);
    soak::MakeObjects(cast);
    {
        soak::Player first(world, 0), second(world, 1);
        std::thread firstThread([&] { first.Play(); }), secondThread([&] { second.Play(); });
        Direct(world, dice);
        firstThread.join();
        secondThread.join();
        alcDestroyContext(world.context);
    }
    testing_support::WaitForTasks();
    goal::TheProcess().log.Flush();  // what its thread is at work on would count as lost
    Check(!world.foldback.IsRunning());
    Check(world.faults == 0);
    return 0;
}
