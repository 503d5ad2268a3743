#include "platform/pulseconnection.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/pulseloop.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"
#include "slib/text.h"

namespace platform {
namespace {

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool IsOfHeadphones(const std::string& name) {
    const std::string lower = slib::toLower(name);
    return Contains(lower, "headphone") || Contains(lower, "headset");
}

struct PositionName {
    pa_channel_position_t position;
    const char* name;
};

// Those of the standard formats, where these have one.
constexpr std::array<PositionName, 19> positionNames{{
    {PA_CHANNEL_POSITION_MONO, "Output"},
    {PA_CHANNEL_POSITION_FRONT_LEFT, "Front Left"},
    {PA_CHANNEL_POSITION_FRONT_RIGHT, "Front Right"},
    {PA_CHANNEL_POSITION_FRONT_CENTER, "Front Centre"},
    {PA_CHANNEL_POSITION_LFE, "Bass (LFE Only)"},
    {PA_CHANNEL_POSITION_REAR_LEFT, "Back Left"},
    {PA_CHANNEL_POSITION_REAR_RIGHT, "Back Right"},
    {PA_CHANNEL_POSITION_REAR_CENTER, "Back Centre"},
    {PA_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER, "Front Left of Centre"},
    {PA_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER, "Front Right of Centre"},
    {PA_CHANNEL_POSITION_SIDE_LEFT, "Side Left"},
    {PA_CHANNEL_POSITION_SIDE_RIGHT, "Side Right"},
    {PA_CHANNEL_POSITION_TOP_CENTER, "Top Centre"},
    {PA_CHANNEL_POSITION_TOP_FRONT_LEFT, "Top Front Left"},
    {PA_CHANNEL_POSITION_TOP_FRONT_RIGHT, "Top Front Right"},
    {PA_CHANNEL_POSITION_TOP_FRONT_CENTER, "Top Front Centre"},
    {PA_CHANNEL_POSITION_TOP_REAR_LEFT, "Top Back Left"},
    {PA_CHANNEL_POSITION_TOP_REAR_RIGHT, "Top Back Right"},
    {PA_CHANNEL_POSITION_TOP_REAR_CENTER, "Top Back Centre"},
}};

std::string NameOf(pa_channel_position_t position) {
    for (const PositionName& known : positionNames)
        if (known.position == position) return known.name;
    const int number = position - PA_CHANNEL_POSITION_AUX0;
    return number >= 0 && position <= PA_CHANNEL_POSITION_AUX31 ? "Aux " + std::to_string(number + 1) : "";
}

std::vector<std::string> NamesOf(const pa_channel_map& map) {
    std::vector<std::string> names;
    for (std::size_t c = 0; c < map.channels; ++c)
        names.push_back(NameOf(map.map[c]));
    return names;
}

ServerOutput OutputOf(const pa_sink_info& info) {
    const std::string form = TextOf(Pulse().property(info.proplist, PA_PROP_DEVICE_FORM_FACTOR));
    const bool isPort = info.active_port != nullptr;
    return {
        .identifier = TextOf(info.name),
        .description = TextOf(info.description),
        .channels = info.channel_map.channels,
        .rate = info.sample_spec.rate,
        .isHeadphones = IsOfHeadphones(form) || (isPort && IsOfHeadphones(TextOf(info.active_port->name))),
        .channelNames = NamesOf(info.channel_map)};
}

// In the order of the bits of a channel mask.
constexpr std::array<pa_channel_position_t, 11> positions{
    PA_CHANNEL_POSITION_FRONT_LEFT,
    PA_CHANNEL_POSITION_FRONT_RIGHT,
    PA_CHANNEL_POSITION_FRONT_CENTER,
    PA_CHANNEL_POSITION_LFE,
    PA_CHANNEL_POSITION_REAR_LEFT,
    PA_CHANNEL_POSITION_REAR_RIGHT,
    PA_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER,
    PA_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER,
    PA_CHANNEL_POSITION_REAR_CENTER,
    PA_CHANNEL_POSITION_SIDE_LEFT,
    PA_CHANNEL_POSITION_SIDE_RIGHT,
};

// Two channels under a mask of more are a left and a right one that carry the others within them; what else
// doesn't match its mask has no places.
pa_channel_map ChannelMap(const RingShape& shape) {
    pa_channel_map map{};
    map.channels = static_cast<std::uint8_t>(shape.channels);
    std::uint32_t found = 0;
    for (std::size_t bit = 0; bit < positions.size() && found < shape.channels; ++bit)
        if ((shape.channelMask >> bit & 1) != 0) map.map[found++] = positions[bit];
    const bool isWhole = found == shape.channels && (shape.channels == 2 || shape.channelMask >> 11 == 0);
    if (shape.channels == 1) map.map[0] = PA_CHANNEL_POSITION_MONO;
    for (std::uint32_t c = 0; c < shape.channels && !isWhole; ++c)
        map.map[c] = static_cast<pa_channel_position_t>(PA_CHANNEL_POSITION_AUX0 + c);
    return map;
}

// Where the user has moved the sound of this process to by the server's mixer, away from the output that was
// the default by then. It holds until there is another default. A restart opens there.
struct Move {
    slib::Mutex mutex;
    std::string from SLIB_GUARDED_BY(mutex);
    std::string to SLIB_GUARDED_BY(mutex);
};

Move& UsersMove() {
    static slib::NoDestroy<Move> move;
    return *move;
}

void NoteMove(const std::string& from, const std::string& to) {
    Move& move = UsersMove();
    const slib::Lock lock(move.mutex);
    move.from = from;
    move.to = to;
}

// What the default output is for this process, when it is `name` for all.
std::string DefaultHere(const std::string& name, const std::vector<ServerOutput>& outputs) {
    std::string to;
    {
        Move& move = UsersMove();
        const slib::Lock lock(move.mutex);
        if (move.from == name) to = move.to;
    }
    const bool isThere = std::any_of(outputs.begin(), outputs.end(),
                                     [&](const ServerOutput& output) { return output.identifier == to; });
    return isThere ? to : name;
}

class PulseStream;

// A connection, and what the server has.
class PulseContext {
public:
    PulseContext() = default;
    ~PulseContext() { connection.End(); }
    PulseContext(const PulseContext&) = delete;
    PulseContext& operator=(const PulseContext&) = delete;

    bool IsHere() const { return connection.IsHere(); }

    // Any other thread; these wait for the server.
    bool Connect();
    std::vector<ServerOutput> List();

    // With the lock.
    pa_context* Handle() const { return connection.Context(); }
    void Add(PulseStream& stream) { streams.push_back(&stream); }
    void Remove(PulseStream& stream) { std::erase(streams, &stream); }
    const std::string& DefaultOfAll() const { return defaultOutput; }
    // The server's own order of an output's channels, for `shape`, which takes them as they are; none where
    // there is no such output.
    std::optional<pa_channel_map> MapOf(const std::string& output, const RingShape& shape) const {
        const auto found = maps.find(output);
        if (shape.channelMask != 0 || found == maps.end() || found->second.channels != shape.channels)
            return std::nullopt;
        return found->second;
    }
    // Empty where the user hasn't moved the sound away from the default output.
    std::string MovedTo() const {
        const std::string here = DefaultHere(defaultOutput, outputs);
        return here == defaultOutput ? "" : here;
    }
    void CheckStreams();

    PulseLoop connection;

private:
    pa_operation* Ask();
    static void OnEvent(pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self);
    static void OnServer(pa_context*, const pa_server_info* info, void* self);
    static void OnSink(pa_context*, const pa_sink_info* info, int end, void* self);

    std::string defaultOutput;
    std::vector<ServerOutput> outputs;
    std::vector<ServerOutput> incoming;          // of the listing under way
    std::map<std::string, pa_channel_map> maps;  // of all outputs that were there
    std::vector<PulseStream*> streams;           // borrowed; each takes itself out
};

class PulseStream : public OutputStream {
public:
    PulseStream(std::shared_ptr<PulseContext> context, OutputWatch watch, const RingShape& shape,
                StreamOutlet& outlet)
        : context(std::move(context)), watch(std::move(watch)), shape(shape), outlet(outlet) {}
    ~PulseStream() override;

    // With the lock.
    [[nodiscard]] Result Open(std::uint32_t capacity);
    void Check(const std::string& defaultOutput, const std::vector<ServerOutput>& outputs);

    Result Start() override { return Cork(false); }
    Result Stop() override { return Cork(true); }
    bool Resize(std::uint32_t capacity) override;

private:
    static constexpr std::uint32_t sampleBytes = sizeof(float);

    std::uint32_t FrameBytes() const { return sampleBytes * shape.channels; }
    pa_buffer_attr Sizes(std::uint32_t capacity) const;
    std::uint32_t Delay();
    void NoteSizes();
    void NotePlace();
    void Feed(std::size_t bytes);
    Result Cork(bool isCorked);
    static void OnRequest(pa_stream*, std::size_t bytes, void* self);
    static void OnState(pa_stream*, void* self);
    static void OnUnderflow(pa_stream*, void* self);
    static void OnMove(pa_stream*, void* self);

    const std::shared_ptr<PulseContext> context;
    const OutputWatch watch;
    const RingShape shape;
    StreamOutlet& outlet;
    pa_stream* stream = nullptr;
    bool isRunning = false;
    std::uint32_t lastDelay = 0;  // frames
    std::vector<float> frames;    // as many as the server's buffer holds at most
};

bool PulseContext::Connect() {
    if (!connection.Connect()) return false;
    const PulseLock lock(connection);
    Pulse().onEvent(Handle(), &PulseContext::OnEvent, this);
    constexpr auto wanted =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK);
    PulseLoop::Drop(Pulse().subscribe(Handle(), wanted, nullptr, nullptr));
    return true;
}

std::vector<ServerOutput> PulseContext::List() {
    if (!IsHere()) return {};
    const PulseLock lock(connection);
    connection.Await(Ask());
    if (!connection.IsConnected()) return {};
    std::vector<ServerOutput> found = outputs;
    const std::string byDefault = DefaultHere(defaultOutput, found);
    for (ServerOutput& output : found)
        output.isDefault = output.identifier == byDefault;
    return found;
}

// The default output comes before the list of all, whose end concludes it.
pa_operation* PulseContext::Ask() {
    PulseLoop::Drop(Pulse().serverInfo(Handle(), &PulseContext::OnServer, this));
    return Pulse().sinkInfos(Handle(), &PulseContext::OnSink, this);
}

void PulseContext::OnEvent(pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
    auto& own = *static_cast<PulseContext*>(self);
    if (!own.streams.empty()) PulseLoop::Drop(own.Ask());
}

void PulseContext::OnServer(pa_context*, const pa_server_info* info, void* self) {
    if (info != nullptr) static_cast<PulseContext*>(self)->defaultOutput = TextOf(info->default_sink_name);
}

void PulseContext::OnSink(pa_context*, const pa_sink_info* info, int end, void* self) {
    auto& own = *static_cast<PulseContext*>(self);
    if (end == 0 && info != nullptr) {
        own.maps[TextOf(info->name)] = info->channel_map;
        return own.incoming.push_back(OutputOf(*info));
    }
    own.outputs = std::move(own.incoming);
    own.incoming.clear();
    own.CheckStreams();
    own.connection.Wake();
}

void PulseContext::CheckStreams() {
    for (PulseStream* const stream : streams)
        stream->Check(defaultOutput, outputs);
}

PulseStream::~PulseStream() {
    if (!context->IsHere() || stream == nullptr) return;
    const PulseLock lock(context->connection);
    context->Remove(*this);
    Pulse().onStreamState(stream, nullptr, nullptr);
    Pulse().onRequest(stream, nullptr, nullptr);
    Pulse().onUnderflow(stream, nullptr, nullptr);
    Pulse().onMove(stream, nullptr, nullptr);
    Pulse().disconnectStream(stream);
    Pulse().unrefStream(stream);
}

// The server keeps the buffer full in pieces of a quarter. After it ran dry it waits until it is full again.
pa_buffer_attr PulseStream::Sizes(std::uint32_t capacity) const {
    constexpr auto open = static_cast<std::uint32_t>(-1);
    return {.maxlength = open,
            .tlength = capacity * FrameBytes(),
            .prebuf = open,
            .minreq = capacity / 4 * FrameBytes(),
            .fragsize = open};
}

Result PulseStream::Open(std::uint32_t capacity) {
    const pa_sample_spec format{.format = PA_SAMPLE_FLOAT32NE,
                                .rate = shape.rate,
                                .channels = static_cast<std::uint8_t>(shape.channels)};
    // The channels of a server's output go where they are, whatever the server would make of their names.
    const std::optional<pa_channel_map> own = context->MapOf(watch.identifier, shape);
    const pa_channel_map map = own.value_or(ChannelMap(shape));
    pa_proplist* const properties = Pulse().newProperties();
    Pulse().setProperty(properties, PA_PROP_MEDIA_ROLE, "game");
    stream = Pulse().newStream(context->Handle(), "Output", &format, &map, properties);
    Pulse().freeProperties(properties);
    if (stream == nullptr) return DSERR_BADFORMAT;
    Pulse().onStreamState(stream, &PulseStream::OnState, this);
    Pulse().onRequest(stream, &PulseStream::OnRequest, this);
    Pulse().onUnderflow(stream, &PulseStream::OnUnderflow, this);
    Pulse().onMove(stream, &PulseStream::OnMove, this);
    constexpr unsigned asTheyAre = PA_STREAM_NO_REMAP_CHANNELS | PA_STREAM_NO_REMIX_CHANNELS;
    const auto flags = static_cast<pa_stream_flags_t>(
        (own ? asTheyAre : 0) | PA_STREAM_START_CORKED | PA_STREAM_INTERPOLATE_TIMING |
        PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_ADJUST_LATENCY);
    const pa_buffer_attr sizes = Sizes(capacity);
    const std::string device = watch.identifier.empty() ? context->MovedTo() : watch.identifier;
    if (Pulse().connectPlayback(stream, device.empty() ? nullptr : device.c_str(), &sizes, flags, nullptr,
                                nullptr) < 0)
        return DSERR_GENERIC;
    for (;;) {
        const pa_stream_state_t state = Pulse().streamState(stream);
        if (state == PA_STREAM_READY) break;
        if (!PA_STREAM_IS_GOOD(state))
            return Pulse().lastError(context->Handle()) == PA_ERR_INVALID ? DSERR_BADFORMAT : DSERR_NODRIVER;
        context->connection.Wait();
    }
    frames.resize(std::size_t{shape.rate} / 2 * shape.channels);
    NoteSizes();
    NotePlace();
    context->Add(*this);
    return DS_OK;
}

// What it was opened on is still right, and it is still there.
void PulseStream::Check(const std::string& defaultOutput, const std::vector<ServerOutput>& outputs) {
    const std::string here = TextOf(Pulse().streamDevice(stream));
    const auto output = std::find_if(outputs.begin(), outputs.end(),
                                     [&](const ServerOutput& each) { return each.identifier == here; });
    if (output == outputs.end()) return;  // a listing that has it is under way
    const bool isDefault = watch.identifier.empty();
    const bool isAway = here != (isDefault ? DefaultHere(defaultOutput, outputs) : watch.identifier);
    const bool isOther = watch.speakers && output->Speakers() != *watch.speakers;
    // Where the user sent it himself, away from the one that the game names, it stays as it is.
    if (isDefault ? isAway || isOther : !isAway && isOther) watch.news->hasChanged = true;
}

// The user may have sent the sound elsewhere, now or when the game last ran.
void PulseStream::NotePlace() {
    const std::string here = TextOf(Pulse().streamDevice(stream));
    const std::string& byDefault = context->DefaultOfAll();
    if (watch.identifier.empty() && !here.empty()) NoteMove(byDefault, here);
}

void PulseStream::NoteSizes() {
    if (const pa_buffer_attr* const sizes = Pulse().bufferSizes(stream); sizes != nullptr)
        outlet.SetCapacity(sizes->tlength / FrameBytes());
}

Result PulseStream::Cork(bool isCorked) {
    if (!context->IsHere()) return DSERR_BUFFERLOST;
    const PulseLock lock(context->connection);
    if (Pulse().streamState(stream) != PA_STREAM_READY) return DSERR_BUFFERLOST;
    isRunning = !isCorked;
    pa_operation* const operation = Pulse().cork(stream, isCorked ? 1 : 0, nullptr, nullptr);
    if (operation == nullptr) return DSERR_BUFFERLOST;
    PulseLoop::Drop(operation);
    if (!isRunning) return DS_OK;
    const std::size_t wanted = Pulse().writableSize(stream);
    if (wanted != static_cast<std::size_t>(-1)) Feed(wanted);
    return DS_OK;
}

bool PulseStream::Resize(std::uint32_t capacity) {
    if (!context->IsHere()) return false;
    const PulseLock lock(context->connection);
    if (Pulse().streamState(stream) != PA_STREAM_READY) return false;
    const pa_buffer_attr sizes = Sizes(capacity);
    const auto onDone = [](pa_stream*, int, void* self) { static_cast<PulseStream*>(self)->NoteSizes(); };
    pa_operation* const operation = Pulse().setBufferSizes(stream, &sizes, onDone, this);
    if (operation == nullptr) return false;
    Pulse().unrefOperation(operation);
    return true;
}

// Frames until what is written next is heard; as before while the server hasn't told.
std::uint32_t PulseStream::Delay() {
    pa_usec_t time = 0;
    int isNegative = 0;
    if (Pulse().latency(stream, &time, &isNegative) == 0)
        lastDelay =
            isNegative != 0
                ? 0
                : static_cast<std::uint32_t>(std::min<pa_usec_t>(time, 10'000'000) * shape.rate / 1'000'000);
    return lastDelay;
}

void PulseStream::Feed(std::size_t bytes) {
    while (bytes >= FrameBytes()) {
        const auto count =
            static_cast<std::uint32_t>(std::min(bytes, frames.size() * sampleBytes) / FrameBytes());
        outlet.Fill(frames.data(), count, Delay());
        const std::size_t filled = std::size_t{count} * FrameBytes();
        if (Pulse().write(stream, frames.data(), filled, nullptr, 0, PA_SEEK_RELATIVE) != 0) return;
        bytes -= filled;
    }
}

void PulseStream::OnRequest(pa_stream*, std::size_t bytes, void* self) {
    auto& own = *static_cast<PulseStream*>(self);
    if (own.isRunning) own.Feed(bytes);
}

void PulseStream::OnState(pa_stream* stream, void* self) {
    auto& own = *static_cast<PulseStream*>(self);
    if (!PA_STREAM_IS_GOOD(Pulse().streamState(stream))) own.outlet.NoteLoss();
    own.context->connection.Wake();
}

void PulseStream::OnUnderflow(pa_stream*, void* self) {
    auto& own = *static_cast<PulseStream*>(self);
    if (own.isRunning) own.outlet.NoteUnderflow();
}

void PulseStream::OnMove(pa_stream*, void* self) {
    auto& own = *static_cast<PulseStream*>(self);
    own.NotePlace();
    own.context->CheckStreams();
}

class PulseConnection : public ServerConnection {
public:
    explicit PulseConnection(std::shared_ptr<PulseContext> context) : context(std::move(context)) {}

    std::vector<ServerOutput> Outputs() override { return context->List(); }
    std::string Module() override { return "pulse"; }
    std::uint32_t ShortestBuffer(const RingShape&) override { return 0; }

    Result OpenStream(const OutputWatch& watch, const RingShape& shape, std::uint32_t capacity,
                      StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) override {
        if (!context->IsHere()) return DSERR_NODRIVER;
        auto opened = std::make_unique<PulseStream>(context, watch, shape, outlet);
        Result result = DS_OK;
        {
            const PulseLock lock(context->connection);
            result = opened->Open(capacity);
            if (result == DS_OK) context->CheckStreams();
        }
        if (result == DS_OK) stream = std::move(opened);
        return result;
    }

private:
    const std::shared_ptr<PulseContext> context;
};

}  // namespace

ServerConnectionPtr ConnectPulse() {
    if (!Pulse().library.problem.empty()) return nullptr;
    auto context = std::make_shared<PulseContext>();
    if (!context->Connect()) return nullptr;
    return std::make_shared<PulseConnection>(std::move(context));
}

}  // namespace platform
