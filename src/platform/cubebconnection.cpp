#include "platform/cubebconnection.h"

#include <cubeb/cubeb.h>
#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <map>
#include <string_view>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/dynamiclibrary.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace platform {
namespace {

struct CubebLibrary {
    DynamicLibrary library{"libcubeb.so.0"};

    Imported<decltype(cubeb_init)> init{library, "cubeb_init"};
    Imported<decltype(cubeb_destroy)> destroy{library, "cubeb_destroy"};
    Imported<decltype(cubeb_get_backend_id)> backendId{library, "cubeb_get_backend_id"};
    Imported<decltype(cubeb_get_min_latency)> minimumLatency{library, "cubeb_get_min_latency"};
    Imported<decltype(cubeb_enumerate_devices)> enumerateDevices{library, "cubeb_enumerate_devices"};
    Imported<decltype(cubeb_device_collection_destroy)> destroyCollection{library,
                                                                          "cubeb_device_collection_destroy"};
    Imported<decltype(cubeb_stream_init)> initStream{library, "cubeb_stream_init"};
    Imported<decltype(cubeb_stream_destroy)> destroyStream{library, "cubeb_stream_destroy"};
    Imported<decltype(cubeb_stream_start)> startStream{library, "cubeb_stream_start"};
    Imported<decltype(cubeb_stream_stop)> stopStream{library, "cubeb_stream_stop"};
    Imported<decltype(cubeb_stream_get_latency)> streamLatency{library, "cubeb_stream_get_latency"};
};

CubebLibrary& Library() {
    static slib::NoDestroy<CubebLibrary> library;
    return *library;
}

Result ToResult(int code) {
    switch (code) {
        case CUBEB_OK:
            return DS_OK;
        case CUBEB_ERROR_INVALID_FORMAT:
            return DSERR_BADFORMAT;
        case CUBEB_ERROR_INVALID_PARAMETER:
            return DSERR_INVALIDPARAM;
        case CUBEB_ERROR_NOT_SUPPORTED:
            return DSERR_UNSUPPORTED;
        case CUBEB_ERROR_DEVICE_UNAVAILABLE:
            return DSERR_NODRIVER;
        default:
            return DSERR_GENERIC;
    }
}

std::string OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

// The library's handle, and the process that its threads live in.
struct Context {
    explicit Context(cubeb* handle) : handle(handle) {}
    ~Context() { Library().destroy(handle); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    bool IsHere() const { return owner == getpid(); }

    cubeb* const handle;
    const pid_t owner = getpid();
};

// In a child process there is nothing left of it that could be destroyed.
std::shared_ptr<Context> MakeContext(cubeb* handle) {
    return {new Context(handle), [](Context* context) {
                if (context->IsHere()) CallBounded([context] { delete context; });
            }};
}

// The bits of a channel mask are the library's own. Two channels under a mask of more are a left and a right
// one that carry the others within them.
cubeb_stream_params StreamParameters(const RingShape& shape) {
    const bool isWhole = std::popcount(shape.channelMask) == static_cast<int>(shape.channels);
    const std::uint32_t fallback = shape.channels == 2 ? CUBEB_LAYOUT_STEREO : CUBEB_LAYOUT_UNDEFINED;
    return {.format = CUBEB_SAMPLE_FLOAT32NE,
            .rate = shape.rate,
            .channels = shape.channels,
            .layout = isWhole ? shape.channelMask : fallback,
            .prefs = CUBEB_STREAM_PREF_NONE};
}

// All calls that may wait for the server are made by the buffer, on threads that it can do without. Where one
// was given up the next ones queue behind it.
class CubebStream : public OutputStream {
public:
    CubebStream(StreamOutlet& outlet, std::shared_ptr<Context> context)
        : outlet(outlet), context(std::move(context)) {}
    ~CubebStream() override {
        if (!context->IsHere()) return;  // the library's threads, and all they know of, are in the parent
        const slib::Lock lock(mutex);
        if (stream == nullptr) return;
        Library().stopStream(stream);
        Library().destroyStream(stream);
    }

    Result Open(cubeb_devid device, const RingShape& shape, std::uint32_t latency) {
        cubeb_stream_params parameters = StreamParameters(shape);
        const int code =
            Library().initStream(context->handle, &stream, "Output", nullptr, nullptr, device, &parameters,
                                 latency, &CubebStream::OnData, &CubebStream::OnState, this);
        if (code != CUBEB_OK) stream = nullptr;
        return ToResult(code);
    }

    Result Start() override { return Call(Library().startStream); }
    Result Stop() override { return Call(Library().stopStream); }

private:
    Result Call(int (*function)(cubeb_stream*)) {
        if (!context->IsHere()) return DSERR_BUFFERLOST;
        const slib::Lock lock(mutex);
        return ToResult(function(stream));
    }

    // Both on a thread of the library; the first one allocates nothing, locks nothing and never waits.
    static long OnData(cubeb_stream* stream, void* self, const void*, void* output, long frames) {
        auto& own = *static_cast<CubebStream*>(self);
        std::uint32_t delay = 0;
        if (Library().streamLatency(stream, &delay) == CUBEB_OK) own.lastDelay = delay;
        own.outlet.Fill(static_cast<float*>(output), static_cast<std::uint32_t>(frames), own.lastDelay);
        return frames;
    }

    static void OnState(cubeb_stream*, void* self, cubeb_state state) {
        if (state == CUBEB_STATE_ERROR) static_cast<CubebStream*>(self)->outlet.NoteLoss();
    }

    StreamOutlet& outlet;
    const std::shared_ptr<Context> context;
    slib::Mutex mutex;  // guards the calls on the stream
    cubeb_stream* stream = nullptr;
    std::uint32_t lastDelay = 0;  // frames; the data thread's
};

class Connection : public ServerConnection {
public:
    explicit Connection(std::shared_ptr<Context> context) : context(std::move(context)) {}

    std::vector<ServerOutput> Outputs() override;
    std::string Module() override { return OrEmpty(Library().backendId(context->handle)); }

    std::uint32_t ShortestBuffer(const RingShape& shape) override {
        constexpr std::uint32_t longest = 96000;  // the library's limit
        cubeb_stream_params parameters = StreamParameters(shape);
        std::uint32_t safe = 0;
        if (Library().minimumLatency(context->handle, &parameters, &safe) != CUBEB_OK) return 0;
        return std::min(safe, longest);
    }

    Result OpenStream(const OutputWatch& watch, const RingShape& shape, std::uint32_t capacity,
                      StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) override {
        auto opened = std::make_unique<CubebStream>(outlet, context);
        const Result result = opened->Open(HandleOf(watch.identifier), shape, capacity);
        stream = std::move(opened);
        return result;
    }

private:
    // Null, the user's default, for an empty identifier.
    cubeb_devid HandleOf(const std::string& identifier) {
        const slib::Lock lock(mutex);
        const auto found = handles.find(identifier);
        return found == handles.end() ? nullptr : found->second;
    }

    const std::shared_ptr<Context> context;
    slib::Mutex mutex;
    std::map<std::string, cubeb_devid> handles SLIB_GUARDED_BY(mutex);  // of the last listing
};

std::vector<ServerOutput> Connection::Outputs() {
    cubeb_device_collection collection{};
    if (!IsHere() ||
        Library().enumerateDevices(context->handle, CUBEB_DEVICE_TYPE_OUTPUT, &collection) != CUBEB_OK)
        return {};
    const slib::Lock lock(mutex);
    handles.clear();
    std::vector<ServerOutput> outputs;
    for (std::size_t i = 0; i < collection.count; ++i) {
        const cubeb_device_info& info = collection.device[i];
        if (info.state != CUBEB_DEVICE_STATE_ENABLED) continue;
        outputs.push_back({.identifier = OrEmpty(info.device_id),
                           .description = OrEmpty(info.friendly_name),
                           .channels = info.max_channels,
                           .rate = info.default_rate,
                           .isDefault = info.preferred != CUBEB_DEVICE_PREF_NONE});
        handles[outputs.back().identifier] = info.devid;
    }
    Library().destroyCollection(context->handle, &collection);
    return outputs;
}

// Where one system is wanted, the library may have turned to another one.
bool IsBackend(cubeb* handle, const char* backend) {
    return backend == nullptr || std::string_view(OrEmpty(Library().backendId(handle))).starts_with(backend);
}

}  // namespace

std::string CubebProblem() {
    return Library().library.problem;
}

ServerConnectionPtr ConnectCubeb(const char* backend) {
    if (!CubebProblem().empty()) return nullptr;
    cubeb* handle = nullptr;
    // Under this name the user finds the game in the server's mixer.
    if (Library().init(&handle, program_invocation_short_name, backend) != CUBEB_OK) return nullptr;
    const std::shared_ptr<Context> context = MakeContext(handle);
    if (!IsBackend(handle, backend)) return nullptr;
    return std::make_shared<Connection>(context);
}

}  // namespace platform
