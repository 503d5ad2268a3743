// The whole at once, for a while: 255 sources of all formats, all effects, both sounds, four threads of a
// game at random calls, restarts for changed configurations, contexts that come and go, a head tracker,
// recordings, rooms that are put in force, readers of the status page; and an output that misbehaves, or with
// "server" a sound server that is killed now and then, a profile with every switch on, a second game in the
// process and a microphone. What it looks for are crashes, races, leaks and deadlocks, so its full worth is
// under the sanitizers; and it watches memory, descriptors, threads and the store.
//
//     soak [SECONDS [SEED [server]]]      8 seconds, and a seed of the clock's
//
// TESSARUNE_PROGRAMS is the folder of tessarune-config, where that isn't in the same build tree.

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <memory>

#include "app/goaldll/process.h"
#include "tests/soak/companions.h"
#include "tests/soak/usage.h"
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
        // A room that the person has connected to other outputs than this game has.
        if (text.find("Audio output has not been set up.") != std::string::npos)
            world.output.hasFailed = true;
        if (text.starts_with("Exception: ") && !world.output.hasFailed)
            world.Fault("The server ended. " + text);
    }

private:
    World& world;
    slib::Log& target;
};

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
        Vary(next.goalConfig, world.trackerPort, dice);
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

// Every switch of a profile, for this program.
void AllowEverything(const testing_support::TemporaryStore& store) {
    std::filesystem::create_directories(store.UserFile().parent_path());
    std::ofstream(store.UserFile())
        << "[Games]\nProfiles=<Games><Game Name=\"Soak\" Programs=\"soak\" QuietLookups=\"True\" "
           "ThreadContexts=\"True\" SeveralContexts=\"True\" StandardErrors=\"True\" "
           "Capture=\"True\"/></Games>\n";
}

// What varies are the random sounds in the buffers.
void CheckMemory(World& world, const Director& director) {
    std::cout << director.allocated << " MiB without a context at last; " << director.settled
              << " MiB after a minute, 0 for a shorter run.\n";
    if (director.settled > 0 && director.allocated > director.settled + 64) world.Fault("Memory grows.");
}

// The companions, and the one that the form of the soak has besides.
struct Company {
    Company(World& world, const testing_support::TemporaryStore& store)
        : tracker(world), reader(world), person(world, store.folder.path, Programs() / "tessarune-config") {}

    static std::filesystem::path Programs() {
        const char* const given = std::getenv("TESSARUNE_PROGRAMS");
        return given != nullptr ? std::filesystem::path(given) : testing_support::BuildTree() / "bin";
    }

    HeadTracker tracker;
    StatusReader reader;
    Person person;
};

struct OtherGames {
    explicit OtherGames(World& world) : second(world), chat(world) {}

    SecondGame second;
    VoiceChat chat;
};

class Soak {
public:
    Soak(World& world, const testing_support::TemporaryStore& store, bool isOnAServer)
        : world(world), store(store), company(world, store) {
        if (!isOnAServer) return;
        server.emplace(world, store.folder.path);
        others.emplace(world);
    }

    void RunFor(std::chrono::seconds duration) {
        WarmUp();
        const Usage before = Usage::Now(store);
        Live(duration);
        testing_support::WaitForTasks();
        for (ALuint name = 1; name <= world.cast.buffers; ++name)
            alDeleteBuffers(1, &name);
        // The thread of the log stays for half a second, a call that a server blocked for as long as that.
        for (int i = 0; i < 300 && !Usage::Now(store).IsAsLittleAs(before); ++i)
            Nap(50);
        std::cout << "before  " << before.Row() << "\nafter   " << Usage::Now(store).Row() << "\n";
        if (!Usage::Now(store).IsAsLittleAs(before)) world.Fault("Descriptors, threads or memory are left.");
    }

    void Report() const {
        std::cout << company.tracker.packets << " packets of a tracker, " << company.reader.reads
                  << " readings of the status page (" << company.reader.heads << " with a head, "
                  << company.reader.recordings << " of a recording, " << company.reader.away
                  << " with the output away), " << company.person.commands << " commands, "
                  << company.person.rooms << " rooms put in force, " << company.person.files
                  << " recordings of " << company.person.mebibytes << " MiB.\n";
        if (server)
            std::cout << server->kills << " servers killed, " << others->second.contexts
                      << " second contexts, " << others->chat.frames << " frames of a microphone.\n";
    }

    // A change of the settings at the same time may get in its way.
    bool HasPutRoomsInForce() const { return company.person.rooms > 0 || company.person.attempts < 5; }

    bool WasHeard() const {
        return world.output.audibleFrames != 0 ||
               (server && company.reader.last && company.reader.last->greatestPeak > 0);
    }

private:
    // What is made once for the process is there afterwards.
    static void WarmUp() {
        for (int i = 0; i < 2; ++i) {
            ALCcontext* const context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
            Nap(300);
            if (context != nullptr) alcDestroyContext(context);
        }
        testing_support::WaitForTasks();
        Nap(1000);
    }

    void Live(std::chrono::seconds duration) {
        Director director(world);
        Player players[]{{world, 0}, {world, 1}, {world, 2}, {world, 3}};
        std::vector<std::thread> threads;
        const auto start = [&](auto&& live) { threads.emplace_back(live); };
        for (Player& player : players)
            start([&] { player.Play(); });
        start([&] { director.Direct(); });
        start([&] { company.tracker.Live(); });
        start([&] { company.reader.Live(); });
        if (std::filesystem::exists(Company::Programs() / "tessarune-config"))
            start([&] { company.person.Live(); });
        if (server) start([&] { server->Live(); });
        if (others) start([&] { others->second.Live(); });
        if (others) start([&] { others->chat.Live(); });
        Watch(duration);
        world.isOver = true;
        for (std::thread& thread : threads)
            thread.join();
        CheckMemory(world, director);
    }

    // A row for each of twenty parts, but not more than one a minute.
    void Watch(std::chrono::seconds duration) {
        const auto begin = Clock::now(), end = begin + duration;
        const auto part = std::max<Clock::duration>(duration / 20, std::chrono::minutes(1));
        for (auto next = begin + part; Clock::now() < end;
             std::this_thread::sleep_for(std::chrono::seconds(1))) {
            const Usage usage = Usage::Now(store);
            if (!usage.IsBounded()) world.Fault("Too much is in use: " + usage.Row());
            if (Clock::now() < next) continue;
            next += part;
            std::cout << std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count()
                      << " s  " << usage.Row() << ", " << world.restarts << " restarts" << std::endl;
        }
    }

    World& world;
    const testing_support::TemporaryStore& store;
    Company company;
    std::optional<ServerOwner> server;
    std::optional<OtherGames> others;
};

void CheckEnd(World& world, const Soak& soak) {
    for (const auto& slot : goal::TheProcess().engine.device.bufferPool.slots)
        if (slot.buffer != nullptr && slot.buffer->useCount != 0)
            world.Fault("A buffer is in use though there is no context.");
    if (world.output.openObjects != 0) world.Fault("Objects of the sound system were left open.");
    if (!soak.HasPutRoomsInForce()) world.Fault("No room could be put in force.");
    if (world.calls == 0 || !soak.WasHeard() || world.restarts == 0)
        world.Fault("There were no calls, no sound or no restart.");
}

void RunSoak(World& world, const testing_support::TemporaryStore& store, std::chrono::seconds duration,
             bool isOnAServer) {
    goal::Process& process = goal::TheProcess();
    Witness witness(world, process.log);
    Dice seeds(world.seed + 100);
    goal::OutputMachinery machinery([&](const platform::PlatformSettings&, slib::Log*) {
        return std::make_shared<testing_support::MisbehavingSystem>(world.output, seeds.Below(1U << 31));
    });
    process.engine.log = &witness;
    if (!isOnAServer) process.engine.machinery = &machinery;
    std::vector<ALuint> names(world.cast.buffers);
    alGenBuffers(static_cast<ALsizei>(names.size()), names.data());
    Soak soak(world, store, isOnAServer);
    soak.RunFor(duration);
    CheckEnd(world, soak);
    soak.Report();
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
    const bool isOnAServer = count > 3 && std::string_view(arguments[3]) == "server";
    std::cout << "A soak of " << seconds << " seconds with seed " << seed
              << (isOnAServer ? " on a server" : "") << "." << std::endl;
    const testing_support::TemporaryStore store;
    if (isOnAServer) soak::AllowEverything(store);
    testing_support::StoreDocument();
    soak::World world{.seed = static_cast<unsigned>(seed)};
    soak::RunSoak(world, store, std::chrono::seconds(seconds), isOnAServer);
    return world.faults == 0 ? 0 : 1;
}
