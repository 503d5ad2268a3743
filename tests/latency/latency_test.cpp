// From the call to the speaker, on an output whose clock is exact: here time passes only while the writer of
// the blocks sleeps or works, and the server's turns are taken in it. So when each frame is heard is known,
// and a busy machine changes nothing. The blocks are the server thread's: rendered when there is room,
// written at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "pipe/adaptivedirectsoundpipe.h"
#include "platform/clock.h"
#include "platform/serverdevice.h"
#include "platform/soundsystem.h"
#include "slib/mutex.h"
#include "tests/support/dice.h"
#include "tests/support/recordinglog.h"

namespace {

using namespace platform;
using audiopipe::directsound::AdaptiveDirectSoundPipe;

constexpr std::uint32_t rate = 48000;
constexpr double numberScale = 1 << 20;  // block k is a level of k / numberScale
constexpr std::int64_t second = 1'000'000'000, millisecond = 1'000'000;

std::atomic<std::int64_t> now{second};  // ns

double Now() {
    return static_cast<double>(now) / second;
}

// How a server behaves that keeps its buffer full, in requests of a quarter of it.
struct Habits {
    double drift = 0;             // of its clock, relative
    bool hasOddRequests = false;  // of any size, down to one frame
    int delay = 0;                // ms; by which it is late ten times a second, for two seconds
    int refusals = 0;             // of the next starts
    bool isResizable = false;
};

class ExactServer {
public:
    explicit ExactServer(const Habits& habits) : habits(habits) {}

    class Stream : public OutputStream {
    public:
        Stream(ExactServer& server, StreamOutlet& outlet, std::uint32_t capacity)
            : server(server), outlet(outlet), capacity(capacity) {}
        ~Stream() override { Stream::Stop(); }
        Result Start() override {
            const slib::Lock lock(server.mutex);
            if (server.habits.refusals > 0) return --server.habits.refusals, DSERR_GENERIC;
            start = next = now;
            handed = 0;
            server.stream = this;
            return DS_OK;
        }
        Result Stop() override {
            const slib::Lock lock(server.mutex);
            if (server.stream == this) server.stream = nullptr;
            return DS_OK;
        }
        bool Resize(std::uint32_t frames) override {
            if (server.habits.isResizable) outlet.SetCapacity(capacity = frames);
            return server.habits.isResizable;
        }

        // With the server's lock.
        void TakeTurn() {
            const double pace = rate * (1 + server.habits.drift) / second;  // frames a ns
            const double played = static_cast<double>(now - start) * pace;
            if (played > handed && turn > 0) ++server.underruns, handed = played;
            const double queued = handed - played;
            auto missing = static_cast<std::uint32_t>(capacity - queued);
            if (server.habits.hasOddRequests) missing = missing > 0 ? 1 + dice.Below(missing) : 0;
            if (missing >= (server.habits.hasOddRequests ? 1 : capacity / 4)) {
                outlet.Fill(frames.data(), missing, static_cast<std::uint32_t>(queued));
                Note(missing, (static_cast<double>(start) + handed / pace) / second, pace * second);
                handed += missing;
            }
            const bool isLate = server.habits.delay > 0 && ++turn % 90 == 0 && turn < 1800;
            next += millisecond * (isLate ? server.habits.delay : 1);
        }

        std::int64_t next = 0;  // ns, when it takes its next turn

    private:
        // Fades aside, each new level is the beginning of a block.
        void Note(std::uint32_t count, double time, double pace) {
            for (std::uint32_t i = 0; i < count; ++i) {
                const double number = double{frames[std::size_t{i} * 2]} * numberScale;
                if (number > 0 && number == std::floor(number))
                    server.heard.try_emplace(static_cast<int>(number), time + i / pace);
            }
        }

        ExactServer& server;
        StreamOutlet& outlet;
        std::atomic<std::uint32_t> capacity;
        std::vector<float> frames = std::vector<float>(rate);
        testing_support::Dice dice{1};
        std::int64_t start = 0;  // ns
        double handed = 0;       // frames since then
        int turn = 0;
    };

    // As if the writer slept or worked for that long. A hundredth of it passes for the threads that look
    // after the streams.
    void Pass(std::int64_t time) {
        const std::int64_t end = now + time;
        for (;;) {
            const slib::Lock lock(mutex);
            if (stream == nullptr || stream->next > end) break;
            now = std::max<std::int64_t>(now, stream->next);
            stream->TakeTurn();
        }
        now = end;
        bool isAway = false;
        {
            const slib::Lock lock(mutex);
            isAway = stream == nullptr;
        }
        std::this_thread::sleep_for(std::chrono::nanoseconds(isAway ? time : time / 20));
    }

    Habits habits;
    slib::Mutex mutex;         // guards what follows
    Stream* stream = nullptr;  // that runs
    int underruns = 0;
    std::map<int, double> heard;  // when (s) the first frame of each block was
};

class Connection : public ServerConnection {
public:
    explicit Connection(ExactServer& server) : server(server) {}
    std::vector<ServerOutput> Outputs() override {
        return {{.identifier = "exact", .description = "exact", .channels = 2, .isDefault = true}};
    }
    std::string Module() override { return "exact"; }
    std::uint32_t ShortestBuffer(const RingShape&) override { return 0; }
    Result OpenStream(const OutputWatch&, const RingShape&, std::uint32_t capacity, StreamOutlet& outlet,
                      std::unique_ptr<OutputStream>& stream) override {
        stream = std::make_unique<ExactServer::Stream>(server, outlet, capacity);
        return DS_OK;
    }

private:
    ExactServer& server;
};

class System : public SoundSystem {
public:
    explicit System(ExactServer& server) : server(server) {}
    Result DirectSoundEnumerateA(const DeviceCallback&) override { return DS_OK; }
    Result DirectSoundCreate8(const char*, IDirectSound8**) override { return DSERR_NODRIVER; }
    bool EnumWindows(const std::function<bool(WindowHandle)>&) override { return false; }
    WindowHandle GetParent(WindowHandle) override { return 0; }
    bool IsOfThisProcess(WindowHandle) override { return false; }
    WindowHandle GetDesktopWindow() override { return 1; }
    // As long as the real one takes.
    void Sleep(std::uint32_t milliseconds) override {
        server.Pass(milliseconds * millisecond + millisecond / 10);
    }

private:
    ExactServer& server;
};

struct Case {
    const char* name;
    std::uint32_t length, count;  // frames and blocks, of the settings
    Habits habits;
    double mostAtStart, mostSettled;  // ms, medians
    std::uint32_t extraBlocks = 0;
};

class Latency : public testing::TestWithParam<Case> {
protected:
    void Play(double seconds) {
        const auto system = std::make_shared<System>(server);
        const auto connect = [this] { return std::make_shared<Connection>(server); };
        const SoundDevicePtr device =
            MakeServerDevice(DSSPEAKER_STEREO, connect(),
                             {.identifier = "", .speakers = {}, .news = system->news}, connect, &log);
        ASSERT_EQ(device->SetCooperativeLevel(1, DSSCL_PRIORITY), DS_OK);
        AdaptiveDirectSoundPipe pipe(&log,
                                     {.name = "exact",
                                      .index = 0,
                                      .system = system,
                                      .directSound = device.get(),
                                      .isEmulated = false,
                                      .channelNames = {"Left", "Right"},
                                      .standardFormat = slib::StandardFormat::Stereo,
                                      .channelMask = 3},
                                     rate, GetParam().length, GetParam().count, {true, true});
        pipe.Start();
        const double end = Now() + seconds;
        std::vector<float> block(std::size_t{GetParam().length} * 2);
        for (int number = 1; Now() < end; ++number) {
            pipe.AwaitRoom(1);
            rendered.push_back(Now());
            server.Pass(second * GetParam().length / rate / 4);  // the work of the renderer
            std::ranges::fill(block, static_cast<float>(number / numberScale));
            pipe.Write(block.data(), nullptr);
        }
        extraBlocks = pipe.Buffering().extraBuffers;
        pipe.Stop();
    }

    // Of calls at each millisecond between two times since the start (s), how long until they were heard
    // (ms), in their order. A call takes effect in the next block that is rendered.
    std::vector<double> Delays(double from, double to) const {
        std::vector<double> delays;
        for (double call = rendered.front() + from; call < rendered.front() + to; call += 1e-3) {
            const auto next = std::ranges::upper_bound(rendered, call);
            const auto heard = server.heard.lower_bound(static_cast<int>(next - rendered.begin()) + 1);
            if (heard != server.heard.end()) delays.push_back((heard->second - call) * 1000);
        }
        std::ranges::sort(delays);
        return delays;
    }

    ExactServer server{GetParam().habits};
    testing_support::RecordingLog log;
    std::vector<double> rendered;  // when (s) each block was
    std::uint32_t extraBlocks = 0;
};

TEST_P(Latency, FromTheCallToTheSpeaker_IsThatOfTheSettings) {
    Play(20);
    const std::vector<double> atStart = Delays(0, 0.5), settled = Delays(15, 19);
    ASSERT_FALSE(atStart.empty() || settled.empty());
    const double first = atStart[atStart.size() / 2], last = settled[settled.size() / 2];
    std::printf("%s: at start %.1f ms, settled %.1f ms (%.1f to %.1f), %u extra blocks, %d underruns\n",
                GetParam().name, first, last, settled.front(), settled.back(), extraBlocks, server.underruns);
    EXPECT_LE(first, GetParam().mostAtStart) << log.Lines();
    EXPECT_LE(last, GetParam().mostSettled) << log.Lines();
    const bool isCalm = GetParam().habits.delay == 0;
    EXPECT_EQ(log.Has("is now"), !isCalm) << log.Lines();
    EXPECT_LE(extraBlocks, GetParam().extraBlocks);
    EXPECT_TRUE(!isCalm || server.underruns == 0);
}

INSTANTIATE_TEST_SUITE_P(
    Outputs, Latency,
    testing::Values(Case{"first start", 256, 3, {}, 35, 30}, Case{"long blocks", 512, 4, {}, 65, 60},
                    Case{"short blocks", 64, 1, {}, 30, 30, 7},
                    Case{"fast clock", 256, 3, {.drift = 200e-6}, 35, 30},
                    Case{"slow clock", 256, 3, {.drift = -200e-6}, 35, 30},
                    Case{"odd requests", 256, 3, {.hasOddRequests = true}, 35, 32},
                    Case{"a start that fails", 256, 3, {.refusals = 1}, 35, 30},
                    Case{"late requests", 256, 3, {.delay = 12}, 40, 45, 4},
                    Case{"late requests, in place", 256, 3, {.delay = 12, .isResizable = true}, 40, 45, 2}));

}  // namespace

namespace platform {

std::int64_t NowNanoseconds() {
    return now;
}

}  // namespace platform
