// The pipe on a real sound server: one of its own for each test, in a folder of its own, with two outputs
// into nothing, whose monitors are recorded.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "pipe/adaptivedirectsoundframework.h"
#include "pipe/directsoundexception.h"
#include "recordinglog.h"
#include "temporaryfolder.h"

namespace {

using audiopipe::directsound::AdaptiveDirectSoundFramework;
using audiopipe::directsound::DirectSoundException;
using testing_support::RecordingLog;
using testing_support::TemporaryFolder;

constexpr std::size_t length = 512;
constexpr const char* twoPlaces = "front-left,front-right";
constexpr const char* sixPlaces = "front-left,front-right,front-center,lfe,rear-left,rear-right";

void Await(const std::function<bool()>& condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(condition());
}

// A program that runs beside the test, until the end of the scope, or of the test's process.
class Program {
public:
    Program(std::vector<std::string> line, const std::string& output) : id(fork()) {
        if (id != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::vector<char*> arguments;
        arguments.reserve(line.size() + 1);
        for (std::string& word : line)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (freopen(output.c_str(), "w", stdout) != nullptr && freopen("/dev/null", "w", stderr) != nullptr)
            execvp(arguments[0], arguments.data());
        _exit(97);
    }
    ~Program() { End(SIGTERM); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    void End(int signal) {
        if (id <= 0) return;
        kill(id, signal);
        waitpid(std::exchange(id, 0), nullptr, 0);
    }

private:
    pid_t id;
};

class Pulse : public testing::Test {
protected:
    Pulse() {
        for (const char* name :
             {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH", "XDG_CONFIG_HOME", "HOME"})
            setenv(name, folder.path.c_str(), 1);
        setenv("PULSE_SERVER", ("unix:" + Socket()).c_str(), 1);  // and no client starts one of its own
        StartServer();
    }
    std::string Socket() const { return folder.path / "native"; }
    void StartServer() {
        unlink(Socket().c_str());
        const std::string sink =
            "--load=module-null-sink rate=48000 format=float32le sink_properties=device.description=";
        server = std::make_unique<Program>(
            std::vector<std::string>{"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                                     "--use-pid-file=no", "--disable-shm=yes",
                                     "--load=module-native-protocol-unix auth-anonymous=1 socket=" + Socket(),
                                     sink + "TwoChannels sink_name=two channels=2",
                                     sink + "SixChannels sink_name=six channels=6 channel_map=" + sixPlaces},
            "/dev/null");
        Await([&] { return access(Socket().c_str(), F_OK) == 0; });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // the outputs come after the socket
    }
    std::unique_ptr<audiopipe::Pipe> Open(const std::string& id, std::uint32_t channels) {
        AdaptiveDirectSoundFramework framework(&log, platform::MakeSoundSystem({}, &log));
        for (std::uint32_t i = 0; i < framework.GetDeviceCount(); ++i) {
            const audiopipe::DevicePtr device = framework.GetDevice(i);
            if (device->id == id && device->GetPlaybackChannelCount() == channels)
                return device->OpenPipe(&log, 48000, static_cast<std::uint32_t>(length), 2,
                                        std::vector<bool>(channels, true), {});
        }
        throw std::runtime_error("There is no device " + id + ". " + log.lines);
    }

    TemporaryFolder folder;
    RecordingLog log;
    std::unique_ptr<Program> server;
};

float Expected(std::size_t frame, std::size_t channel) {
    const double frequency = 331.7 + 97.3 * static_cast<double>(channel);
    const double level = 0.1 * (1 + static_cast<double>(channel));
    return static_cast<float>(level * std::cos(2 * M_PI * frequency * static_cast<double>(frame) / 48000));
}

std::vector<float> ReadFloats(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<float> floats(bytes.size() / sizeof(float));
    std::copy_n(bytes.data(), floats.size() * sizeof(float), reinterpret_cast<char*>(floats.data()));
    return floats;
}

// How many frames from the first sound on are what was sent: every channel at its place and level, no frame
// missing and none repeated.
std::size_t WholeFrames(const std::vector<float>& recorded, std::size_t channels) {
    std::size_t start = 0;
    while (start < recorded.size() && std::fabs(recorded[start]) < 0.05F)
        ++start;
    start -= start % channels;
    for (std::size_t i = start; i < recorded.size(); ++i)
        if (std::fabs(recorded[i] - Expected((i - start) / channels, i % channels)) > 1e-5F)
            return (i - start) / channels;
    return (recorded.size() - start) / channels;
}

class PulseSine : public Pulse, public testing::WithParamInterface<std::tuple<const char*, std::uint32_t>> {};

TEST_P(PulseSine, ArrivesWholeOnEveryChannel) {
    const auto& [sink, channels] = GetParam();
    const std::string recording = folder.path / "recording";
    Program recorder({"parec", std::string("--device=") + sink + ".monitor", "--format=float32le",
                      "--rate=48000", "--channels=" + std::to_string(channels), "--latency-msec=20", "--raw",
                      std::string("--channel-map=") + (channels == 2 ? twoPlaces : sixPlaces)},
                     recording);
    Await([&] { return !ReadFloats(recording).empty(); });
    const auto pipe = Open(channels == 2 ? "TwoChannels" : "SixChannels", channels);
    pipe->Start();
    std::vector<float> block(length * channels);
    constexpr std::size_t frames = 240000;
    constexpr std::size_t inThePipe = 24000;  // at most
    for (std::size_t frame = 0; frame < frames + inThePipe; frame += length) {
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = Expected(frame + i / channels, i % channels);
        pipe->Write(block.data(), nullptr);
    }
    pipe->Stop();
    recorder.End(SIGTERM);
    EXPECT_GE(WholeFrames(ReadFloats(recording), channels), frames) << log.lines;
}

INSTANTIATE_TEST_SUITE_P(Channels, PulseSine, testing::Values(std::tuple("two", 2U), std::tuple("six", 6U)));

TEST_F(Pulse, ServerThatDies_EndsThePipeAndANewOneIsFound) {
    auto pipe = Open("PrimarySoundDriver", 2);
    pipe->Start();
    const std::vector<float> block(length * 2);
    for (int i = 0; i < 20; ++i)
        pipe->Write(block.data(), nullptr);
    server->End(SIGKILL);
    try {
        for (int i = 0; i < 1000; ++i)
            pipe->Write(block.data(), nullptr);
        FAIL();
    } catch (const DirectSoundException& exception) {
        EXPECT_STREQ(exception.what(),
                     "A DirectSound error occurred: The buffer memory has been lost and must be restored.");
    }
    pipe.reset();
    StartServer();
    EXPECT_TRUE(Open("TwoChannels", 2));
}

}  // namespace
