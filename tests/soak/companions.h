#pragma once

// What goes on beside the soak's game: a head tracker, readers of its status page, a person at the commands,
// a sound server that dies, a second game in the same process, somebody who records a microphone. Each lives
// on a thread of its own until the world is over.

#include <arpa/inet.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/packetsocket.h"
#include "platform/runtimefolder.h"
#include "tests/support/program.h"
#include "tests/support/randomgame.h"
#include "tests/support/temporaryfolder.h"
#include "tools/support/gamestatus.h"

namespace soak {

/// Sleeps for so long, or until the world is over.
inline void Pause(const World& world, unsigned milliseconds) {
    for (unsigned rest = milliseconds; rest > 0 && !world.isOver; rest -= std::min(rest, 20U))
        Nap(std::min(rest, 20U));
}

/// Packets of all forms, and nonsense, 250 a second, with pauses in which the head eases back.
class HeadTracker {
public:
    explicit HeadTracker(World& world) : world(world), dice(world.seed + 200) {}

    void Live() {
        for (; !world.isOver; Pause(world, dice.Below(4000)))
            for (unsigned rest = dice.Below(1500); rest > 0 && !world.isOver; --rest, Nap(4))
                Send();
    }

    std::uint64_t packets = 0;

private:
    void Send() {
        for (double& angle : angles)
            angle = std::remainder(angle + dice.Between(-3, 3), 360);
        std::string packet;
        if (dice.OneIn(20)) {
            packet.resize(dice.Below(2000));
            std::ranges::generate(packet, [&] { return static_cast<char>(dice.Below(256)); });
        } else if (dice.OneIn(4)) {
            packet = std::string("/ypr\0\0\0\0,fff\0\0\0\0", 16);
            for (const double angle : angles)
                Append(packet, htonl(std::bit_cast<std::uint32_t>(static_cast<float>(angle))));
        } else {
            packet.assign(24, '\0');
            for (const double angle : angles)
                Append(packet, angle);
        }
        packets += platform::PacketSocket::Send(world.trackerPort, std::as_bytes(std::span(packet)));
    }

    template <typename Value>
    static void Append(std::string& packet, Value value) {
        packet.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    World& world;
    Dice dice;
    std::array<double, 3> angles{};
};

/// Reads the status page of this process 200 times a second, and all pages now and then.
class StatusReader {
public:
    explicit StatusReader(World& world) : world(world) {}

    void Live() {
        for (; !world.isOver; Nap(5), ++reads) {
            if (last && reads % 64 == 0 && tool::StatusOfGames().empty())
                world.Fault("No game is found, though this one runs.");
            const std::optional<tool::GameStatus> next = tool::ReadStatusPage(Page());
            if (next)
                Compare(*next);
            else if (last)
                world.Fault("The status page can't be read any more.");
        }
    }

    std::uint64_t reads = 0, heads = 0, recordings = 0, away = 0;
    std::optional<tool::GameStatus> last;

private:
    static std::filesystem::path Page() {
        return platform::MakeRuntimeFolder(orb3::storeRoot) / goal::StatusFileName(getpid());
    }

    void Compare(const tool::GameStatus& next) {
        if (last && (next.blocks < last->blocks || next.blockTime < last->blockTime ||
                     next.lateBlocks < last->lateBlocks || next.contextsMade < last->contextsMade))
            world.Fault("A sum of the status page fell.");
        heads += next.isTrackerHeard;
        recordings += next.recordsField || next.recordsOutput;
        away += next.isOutputAway;
        last = next;
    }

    World& world;
};

/// Records, puts rooms in force, looks, and takes changes back, by the commands.
class Person {
public:
    Person(World& world, const std::filesystem::path& folder, std::filesystem::path program)
        : world(world), folder(folder / "recordings"), program(std::move(program)), dice(world.seed + 300) {
        std::filesystem::create_directories(this->folder);
    }

    void Live() {
        for (; !world.isOver; Pause(world, dice.Below(4000))) {
            if (dice.OneIn(3))
                Record();
            else if (dice.OneIn(6))
                ApplyRoom();
            else
                Run(dice.Of(looks));
        }
    }

    std::uint64_t commands = 0, files = 0;
    std::uint64_t attempts = 0, rooms = 0;  ///< of rooms, and those that were put in force
    double mebibytes = 0;                   ///< recorded

private:
    static constexpr const char* looks[] = {"top --once --json",
                                            "get --json",
                                            "check",
                                            "undo",
                                            "redo",
                                            "tracker centre",
                                            "select Stereo",
                                            "select 'Headphone Stereo'",
                                            "set Sound Classic",
                                            "set Sound Refined",
                                            "log --cures",
                                            "game list",
                                            "export --all"};

    // 1 and 2 are answers: nothing to take back, no game that plays.
    int Run(const std::string& command) {
        ++commands;
        const int status =
            std::system((program.string() + " " + command + " > /dev/null 2> /dev/null").c_str());
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
        if (code > 2) world.Fault("The command \"" + command + "\" ended with " + std::to_string(code) + ".");
        return code;
    }

    void Record() {
        const char* const form = dice.OneIn(2) ? ".wav" : ".caf";
        const char* const what[] = {"", " --output", " --both"};
        const std::string path = folder / ("take" + std::to_string(files) + form);
        Run("record start " + path + dice.Of(what) + " --game " + std::to_string(getpid()));
        Pause(world, 1000 + dice.Below(9000));
        Run("record stop");
        TakeFiles();
    }

    // The monitor looks every two seconds.
    void TakeFiles() {
        for (int i = 0; i < 600 && !std::ranges::all_of(std::filesystem::directory_iterator(folder), IsWhole);
             ++i)
            Nap(50);
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            if (!IsWhole(file))
                world.Fault("The recording " + file.path().string() + " was never completed.");
            mebibytes += static_cast<double>(file.file_size()) / (1 << 20);
            ++files;
            std::filesystem::remove(file);
        }
    }

    // What the head says of the sizes is what there is; a CAF file tells its own at its end only.
    static bool IsWhole(const std::filesystem::path& path) {
        std::uint32_t head[2]{};
        std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(head), sizeof head);
        const bool isWave = path.extension() == ".wav";
        return head[0] == std::bit_cast<std::uint32_t>(isWave ? std::array{'R', 'I', 'F', 'F'}
                                                              : std::array{'c', 'a', 'f', 'f'}) &&
               (!isWave || head[1] + std::uintmax_t{8} == std::filesystem::file_size(path));
    }

    void ApplyRoom() {
        const std::string file = folder.parent_path() / ("room" + std::to_string(commands) + ".txt");
        std::string places = " --name Attic" + std::to_string(dice.Below(3));
        for (unsigned i = 0; i < 4; ++i)
            places += " --place " + std::to_string(i + 1) + " " + std::to_string(90 * i + dice.Below(20)) +
                      (i % 2 == 0 ? " 0 2" : " 25 2.4");
        Run("set SpeakerSetting Quad");  // the outputs that the room is connected to
        Run("select Quad");
        Run("speakers room " + file + places);
        ++attempts;
        rooms += Run("speakers room " + file + " --apply") == 0;
        std::filesystem::remove(file);
    }

    World& world;
    const std::filesystem::path folder;
    const std::filesystem::path program;
    Dice dice;
};

/// A PulseAudio of the soak's own with one output into nothing, killed every few seconds.
class ServerOwner {
public:
    ServerOwner(World& world, const std::filesystem::path& folder)
        : world(world), socket(folder / "native"), dice(world.seed + 400) {
        for (const char* name : {"HOME", "XDG_STATE_HOME", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH"})
            setenv(name, folder.c_str(), 1);
        setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
        Start();
    }

    void Live() {
        while (!world.isOver) {
            Pause(world, 4000 + dice.Below(30000));
            server->End(SIGKILL);
            ++kills;
            Pause(world, dice.Below(4000));
            Start();
        }
    }

    std::uint64_t kills = 0;

private:
    void Start() {
        unlink(socket.c_str());
        server.emplace(
            "exec pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no "
            "--load='module-native-protocol-unix auth-anonymous=1 socket=" +
            socket + "' --load='module-null-sink sink_name=out' > /dev/null 2>&1");
        for (int i = 0; i < 1000 && access(socket.c_str(), F_OK) != 0; ++i)
            Nap(10);
        if (access(socket.c_str(), F_OK) != 0) world.Fault("No sound server could be started.");
    }

    World& world;
    const std::string socket;
    Dice dice;
    std::optional<testing_support::Program> server;
};

/// A context of its thread alone, beside the game's, with sources on the game's buffers.
class SecondGame {
public:
    explicit SecondGame(World& world) : world(world), dice(world.seed + 500) {}

    void Live() {
        using SetThreadContext = ALCboolean (*)(ALCcontext*);
        const auto setThreadContext =
            reinterpret_cast<SetThreadContext>(alcGetProcAddress(nullptr, "alcSetThreadContext"));
        if (setThreadContext == nullptr) return world.Fault("The profile isn't in force.");
        for (; !world.isOver; Pause(world, dice.Below(2000))) {
            ALCcontext* const context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
            if (context == nullptr) {
                world.Fault("There is no second context.");
                continue;
            }
            ++contexts;
            setThreadContext(context);
            MakeObjects(cast);
            for (unsigned rest = dice.Below(600); rest > 0 && !world.isOver; --rest, Nap(5))
                alSource3f(1 + dice.Below(cast.sources), AL_POSITION, dice.Between(-5, 5), 0,
                           dice.Between(-5, 5));
            if (alGetError() > AL_OUT_OF_MEMORY) world.Fault("The second game has an unknown error.");
            setThreadContext(nullptr);
            alcDestroyContext(context);
        }
    }

    std::uint64_t contexts = 0;

private:
    static constexpr Cast cast{.sources = 16, .buffers = 96, .slots = 2, .effects = 4, .filters = 2};

    World& world;
    Dice dice;
};

/// Opens, reads and closes a microphone.
class VoiceChat {
public:
    explicit VoiceChat(World& world) : world(world), dice(world.seed + 600) {}

    void Live() {
        for (; !world.isOver; Pause(world, dice.Below(1500))) {
            ALCdevice* const device =
                alcCaptureOpenDevice(nullptr, 8000 + dice.Below(48000), AL_FORMAT_MONO16, 4096);
            if (device == nullptr) continue;  // the server may be dead
            alcCaptureStart(device);
            for (unsigned rest = dice.Below(200); rest > 0 && !world.isOver; --rest, Nap(5)) {
                ALCint count = 0;
                alcGetIntegerv(device, ALC_CAPTURE_SAMPLES, 1, &count);
                std::vector<std::int16_t> samples(static_cast<std::size_t>(std::max(count, 0)));
                if (count > 0) alcCaptureSamples(device, samples.data(), count);
                frames += samples.size();
            }
            if (dice.OneIn(2)) alcCaptureStop(device);
            alcCaptureCloseDevice(device);
        }
    }

    std::uint64_t frames = 0;

private:
    World& world;
    Dice dice;
};

}  // namespace soak
