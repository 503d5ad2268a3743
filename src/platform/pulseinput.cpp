#include "platform/pulseinput.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <exception>
#include <numeric>
#include <set>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/clock.h"
#include "platform/pulseloop.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::uint32_t piecesPerSecond = 50;  // in which the server sends frames
constexpr std::uint32_t pause = 1000;  // ms between two looks at the stream, or attempts to find it again
constexpr std::int64_t longestAttempt = std::int64_t{5000} * 1'000'000;  // ns

// A connection, and what the server has.
class InputServer {
public:
    InputServer() = default;
    ~InputServer() { connection.End(); }
    InputServer(const InputServer&) = delete;
    InputServer& operator=(const InputServer&) = delete;

    // As ListInputs. With the lock of the connection.
    std::vector<InputName> List();

    PulseLoop connection;

private:
    static void OnServer(pa_context*, const pa_server_info* info, void* self);
    static void OnSource(pa_context*, const pa_source_info* info, int end, void* self);

    std::string byDefault;
    std::vector<InputName> inputs;
    std::vector<InputName> ofOutputs;
};

// Of several inputs of one description all but the first have a number.
void TellApart(std::vector<InputName>& inputs) {
    std::set<std::string> seen;
    for (InputName& input : inputs) {
        const std::string plain = input.description.empty() ? input.identifier : input.description;
        input.description = plain;
        for (int number = 2; !seen.insert(input.description).second; ++number)
            input.description = plain + " (" + std::to_string(number) + ")";
    }
}

// Numbers follow the server's order, whatever the default is.
std::vector<InputName> InputServer::List() {
    inputs.clear();
    ofOutputs.clear();
    connection.Await(Pulse().serverInfo(connection.Context(), &InputServer::OnServer, this));
    connection.Await(Pulse().sourceInfos(connection.Context(), &InputServer::OnSource, this));
    const bool isAllThereIs = inputs.empty();
    std::vector<InputName> all = inputs;
    for (InputName& input : ofOutputs) {
        input.isListed = isAllThereIs || input.identifier == byDefault;
        all.push_back(std::move(input));
    }
    TellApart(all);
    const auto first = std::find_if(all.begin(), all.end(),
                                    [&](const InputName& input) { return input.identifier == byDefault; });
    if (first != all.end()) std::rotate(all.begin(), first, std::next(first));
    return all;
}

void InputServer::OnServer(pa_context*, const pa_server_info* info, void* self) {
    auto& own = *static_cast<InputServer*>(self);
    if (info != nullptr) own.byDefault = TextOf(info->default_source_name);
    own.connection.Wake();
}

void InputServer::OnSource(pa_context*, const pa_source_info* info, int end, void* self) {
    auto& own = *static_cast<InputServer*>(self);
    if (end != 0 || info == nullptr) return own.connection.Wake();
    std::vector<InputName>& list = info->monitor_of_sink == PA_INVALID_INDEX ? own.inputs : own.ofOutputs;
    list.push_back({TextOf(info->name), TextOf(info->description)});
}

pa_sample_format_t FormatOf(InputFormat::Sample sample) {
    switch (sample) {
        case InputFormat::Sample::Unsigned8:
            return PA_SAMPLE_U8;
        case InputFormat::Sample::Signed16:
            return PA_SAMPLE_S16NE;
        case InputFormat::Sample::Float32:
            return PA_SAMPLE_FLOAT32NE;
    }
    return PA_SAMPLE_INVALID;  // a value outside the table
}

// Frames of a stereo stream as mono ones; all of them if there are `most` at most.
template <typename T>
std::size_t Average(const void* stereo, void* mono, std::size_t frames, std::size_t most) {
    const std::size_t count = std::min(frames, most);
    for (std::size_t i = 0; i < count; ++i) {
        std::array<T, 2> frame{};
        std::memcpy(frame.data(), static_cast<const std::byte*>(stereo) + i * sizeof frame, sizeof frame);
        const T middle = std::midpoint(frame[0], frame[1]);
        std::memcpy(static_cast<std::byte*>(mono) + i * sizeof middle, &middle, sizeof middle);
    }
    return count;
}

// Wakes whoever keeps the stream.
using Signal = std::shared_ptr<slib::Semaphore>;

// A stream on a connection of its own.
class RecordStream {
public:
    RecordStream(std::shared_ptr<InputRing> ring, Signal signal)
        : ring(std::move(ring)), signal(std::move(signal)) {}
    ~RecordStream();
    RecordStream(const RecordStream&) = delete;
    RecordStream& operator=(const RecordStream&) = delete;

    // As OpenInput, but that it waits as long as the server does.
    void Open(const std::string& name);
    void SetRunning(bool running);
    bool IsLost() const { return isLost || !server.connection.IsIntact(); }

    InputName input;  // what it was opened on; the user's default has no identifier

private:
    static constexpr std::uint8_t streamChannels = 2;

    // Of the stream.
    std::size_t FrameBytes() const {
        return ring->format.FrameBytes() / ring->format.channels * streamChannels;
    }
    void Choose(const std::string& name);
    void Connect();
    void Write(const std::byte* samples, std::size_t frames);
    static void OnFrames(pa_stream*, std::size_t bytes, void* self);
    static void OnState(pa_stream*, void* self);

    const std::shared_ptr<InputRing> ring;
    const Signal signal;
    InputServer server;
    std::vector<float> mixed;  // room for some mono frames of any format, where the stream is averaged
    pa_stream* stream = nullptr;
    std::atomic<bool> isLost{false};
    bool isRunning = false;
};

RecordStream::~RecordStream() {
    if (!server.connection.IsHere() || stream == nullptr) return;
    const PulseLock lock(server.connection);
    Pulse().onRead(stream, nullptr, nullptr);
    Pulse().onStreamState(stream, nullptr, nullptr);
    if (!server.connection.IsIntact()) return;
    Pulse().disconnectStream(stream);
    Pulse().unrefStream(stream);
}

void RecordStream::Open(const std::string& name) {
    if (const std::string& problem = Pulse().library.problem; !problem.empty())
        throw slib::BadStateException("The sound server's library can't be loaded: " + problem);
    if (!server.connection.Connect())
        throw slib::BadStateException("No sound server answers, so nothing can be recorded.");
    const PulseLock lock(server.connection);
    Choose(name);
    Connect();
}

void RecordStream::Choose(const std::string& name) {
    const std::vector<InputName> inputs = server.List();
    if (inputs.empty()) throw slib::BadStateException("The sound server has no input to record from.");
    const auto found = std::find_if(inputs.begin(), inputs.end(), [&](const InputName& each) {
        return name.empty() || each.description == name || each.identifier == name;
    });
    if (found == inputs.end()) throw NoSuchInputException(name);
    input = *found;
    if (found == inputs.begin() && name != input.identifier) input.identifier.clear();
}

// Always stereo: PulseAudio averages two channels for a mono stream, PipeWire makes them louder by 3 dB, so
// that they may clip.
void RecordStream::Connect() {
    const pa_sample_spec format{
        .format = FormatOf(ring->format.sample), .rate = ring->format.rate, .channels = streamChannels};
    if (ring->format.channels != streamChannels) mixed.resize(ring->format.rate / piecesPerSecond);
    pa_proplist* const properties = Pulse().newProperties();
    Pulse().setProperty(properties, PA_PROP_MEDIA_ROLE, "game");
    stream = Pulse().newStream(server.connection.Context(), "Input", &format, nullptr, properties);
    Pulse().freeProperties(properties);
    const auto refuse = [&] {
        throw slib::BadStateException("The input '" + input.description + "' can't be opened: " +
                                      Pulse().explain(Pulse().lastError(server.connection.Context())) + ".");
    };
    if (stream == nullptr) refuse();
    Pulse().onRead(stream, &RecordStream::OnFrames, this);
    Pulse().onStreamState(stream, &RecordStream::OnState, this);
    constexpr auto open = static_cast<std::uint32_t>(-1);
    const auto piece = static_cast<std::uint32_t>(format.rate / piecesPerSecond * FrameBytes());
    const pa_buffer_attr sizes{
        .maxlength = open, .tlength = open, .prebuf = open, .minreq = open, .fragsize = piece};
    const std::string& device = input.identifier;
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_ADJUST_LATENCY);
    if (Pulse().connectRecord(stream, device.empty() ? nullptr : device.c_str(), &sizes, flags) < 0) refuse();
    for (;;) {
        const pa_stream_state_t state = Pulse().streamState(stream);
        if (state == PA_STREAM_READY) return;
        if (!PA_STREAM_IS_GOOD(state)) refuse();
        server.connection.Wait();
    }
}

void RecordStream::SetRunning(bool running) {
    if (running == isRunning) return;
    isRunning = running;
    const PulseLock lock(server.connection);
    PulseLoop::Drop(Pulse().cork(stream, running ? 0 : 1, nullptr, nullptr));
}

// A hole, where the server has lost frames, is as long as they were.
void RecordStream::OnFrames(pa_stream* stream, std::size_t, void* self) {
    auto& own = *static_cast<RecordStream*>(self);
    for (;;) {
        const void* samples = nullptr;
        std::size_t bytes = 0;
        if (Pulse().peek(stream, &samples, &bytes) < 0 || bytes == 0) return;
        own.Write(static_cast<const std::byte*>(samples), bytes / own.FrameBytes());
        Pulse().drop(stream);
    }
}

void RecordStream::Write(const std::byte* samples, std::size_t frames) {
    if (mixed.empty() || samples == nullptr) return ring->Write(samples, frames);
    while (frames > 0) {
        std::size_t count = 0;
        switch (ring->format.sample) {
            case InputFormat::Sample::Unsigned8:
                count = Average<std::uint8_t>(samples, mixed.data(), frames, mixed.size());
                break;
            case InputFormat::Sample::Signed16:
                count = Average<std::int16_t>(samples, mixed.data(), frames, mixed.size());
                break;
            case InputFormat::Sample::Float32:
                count = Average<float>(samples, mixed.data(), frames, mixed.size());
                break;
        }
        ring->Write(mixed.data(), count);
        samples += count * FrameBytes();
        frames -= count;
    }
}

void RecordStream::OnState(pa_stream* stream, void* self) {
    auto& own = *static_cast<RecordStream*>(self);
    own.server.connection.Wake();
    if (PA_STREAM_IS_GOOD(Pulse().streamState(stream))) return;
    own.isLost = true;
    own.signal->Post();
}

// What is opened on a thread that one can do without.
struct Attempt {
    std::atomic<bool> isOver{false};
    // When it is over.
    std::unique_ptr<RecordStream> stream;
    std::exception_ptr problem;
};

// False when it isn't over in time, and goes on alone.
bool TryToOpen(const std::shared_ptr<Attempt>& attempt, const std::string& name,
               const std::shared_ptr<InputRing>& ring, const Signal& signal) {
    return CallBounded([=] {
        try {
            auto stream = std::make_unique<RecordStream>(ring, signal);
            stream->Open(name);
            attempt->stream = std::move(stream);
        } catch (...) {
            attempt->problem = std::current_exception();
        }
        attempt->isOver = true;
    });
}

// Keeps the stream on a thread of its own, and looks for another one when it is lost. The game's thread only
// says whether the ring is running.
class PulseInput : public Input, private slib::Thread {
public:
    PulseInput(std::unique_ptr<RecordStream> first, std::shared_ptr<InputRing> ring, Signal signal,
               slib::Log* log)
        : Thread("Input", Priority::Normal),
          identifier(first->input.identifier),
          ring(std::move(ring)),
          signal(std::move(signal)),
          log(log),
          stream(std::move(first)) {
        Input::name = stream->input.description;
        Thread::Start();
    }

    ~PulseInput() override {
        if (RequestStop()) {
            signal->Post();
            AwaitEnd();
        }
        try {
            Forget();
        } catch (const std::exception&) {  // without memory for a thread it was destroyed on this one
        }
    }

    void Start() override { SetRunning(true); }
    void Stop() override { SetRunning(false); }

private:
    void SetRunning(bool running) {
        ring->SetRunning(running);
        signal->Post();
    }

    void Run() override {
        while (!IsStopRequested()) {
            // Woken or not, there may be something to do.
            static_cast<void>(signal->WaitFor(pause));
            try {
                if (!IsStopRequested()) Keep();
            } catch (const std::exception&) {  // there was no memory; the next turn tries again
            }
        }
    }

    void Keep() {
        if (stream && stream->IsLost()) {
            Forget();
            log->Write("The input '" + Input::name + "' went away: nothing is recorded until it is back.",
                       true);
        }
        if (!stream) Seek();
        if (stream) stream->SetRunning(ring->IsRunning());
    }

    // A server that has just begun may never answer one attempt, which the library gives up after 30 seconds.
    void Seek() {
        if (attempt && !attempt->isOver && NowNanoseconds() > attemptEnd) attempt.reset();
        if (!attempt) {
            attempt = std::make_shared<Attempt>();
            attemptEnd = NowNanoseconds() + longestAttempt;
            static_cast<void>(TryToOpen(attempt, identifier, ring, signal));
        }
        if (!attempt->isOver) return;
        stream = std::move(attempt->stream);
        attempt.reset();
        if (stream) log->Write("The input '" + Input::name + "' is back.", false);
    }

    void Forget() {
        if (!stream) return;
        CallBounded([old = std::shared_ptr<RecordStream>(std::move(stream))]() mutable { old.reset(); });
    }

    const std::string identifier;
    const std::shared_ptr<InputRing> ring;
    const Signal signal;
    slib::Log* const log;
    // The thread's, while it runs.
    std::unique_ptr<RecordStream> stream;  // null while the input is away
    std::shared_ptr<Attempt> attempt;      // null for none under way
    std::int64_t attemptEnd = 0;           // ns
};

}  // namespace

std::vector<InputName> ListPulseInputs() {
    InputServer server;
    if (!server.connection.Connect()) return {};
    const PulseLock lock(server.connection);
    return server.List();
}

std::unique_ptr<Input> OpenPulseInput(const std::string& name, std::shared_ptr<InputRing> ring,
                                      slib::Log* log) {
    const auto attempt = std::make_shared<Attempt>();
    const auto signal = std::make_shared<slib::Semaphore>();
    if (!TryToOpen(attempt, name, ring, signal))
        throw slib::BadStateException("The sound server doesn't answer, so nothing can be recorded.");
    if (attempt->problem) std::rethrow_exception(attempt->problem);
    return std::make_unique<PulseInput>(std::move(attempt->stream), std::move(ring), signal, log);
}

}  // namespace platform
