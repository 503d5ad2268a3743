#include "platform/cubebdevice.h"

#include <cubeb/cubeb.h>
#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <iterator>

#include "platform/boundedcall.h"
#include "platform/dynamiclibrary.h"
#include "platform/outputdevice.h"
#include "platform/returningbuffer.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace platform {
namespace {

struct CubebLibrary {
    CubebLibrary() : library("libcubeb.so.0") {
        library.Find("cubeb_init", init);
        library.Find("cubeb_destroy", destroy);
        library.Find("cubeb_get_backend_id", backendId);
        library.Find("cubeb_get_min_latency", minimumLatency);
        library.Find("cubeb_enumerate_devices", enumerateDevices);
        library.Find("cubeb_device_collection_destroy", destroyCollection);
        library.Find("cubeb_stream_init", initStream);
        library.Find("cubeb_stream_destroy", destroyStream);
        library.Find("cubeb_stream_start", startStream);
        library.Find("cubeb_stream_stop", stopStream);
        library.Find("cubeb_stream_get_latency", streamLatency);
    }

    DynamicLibrary library;
    decltype(cubeb_init)* init = nullptr;
    decltype(cubeb_destroy)* destroy = nullptr;
    decltype(cubeb_get_backend_id)* backendId = nullptr;
    decltype(cubeb_get_min_latency)* minimumLatency = nullptr;
    decltype(cubeb_enumerate_devices)* enumerateDevices = nullptr;
    decltype(cubeb_device_collection_destroy)* destroyCollection = nullptr;
    decltype(cubeb_stream_init)* initStream = nullptr;
    decltype(cubeb_stream_destroy)* destroyStream = nullptr;
    decltype(cubeb_stream_start)* startStream = nullptr;
    decltype(cubeb_stream_stop)* stopStream = nullptr;
    decltype(cubeb_stream_get_latency)* streamLatency = nullptr;
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

// Frames that a callback on a busy machine may be late by, and more with a longer ring, since that is what a
// user asks for whose sound falters. They lie inside what the ring is written ahead, which is its length but
// for 100 ms, and leave a part of that to the renderer.
std::uint32_t ShortestLatency(const RingShape& shape) {
    const std::uint32_t ahead = shape.frames - std::min(shape.frames, shape.rate / 10);
    return std::max(shape.rate / 100, ahead / 4 * 3);
}

// Frames between the callback and the speakers: what the system calls safe, but not less than that.
std::uint32_t Latency(const Context& context, const RingShape& shape) {
    constexpr std::uint32_t longest = 96000;  // the library's limit
    cubeb_stream_params parameters = StreamParameters(shape);
    std::uint32_t safe = 0;
    if (Library().minimumLatency(context.handle, &parameters, &safe) != CUBEB_OK) safe = 0;
    return std::min(std::max(safe, ShortestLatency(shape)), longest);
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

using Devices = std::vector<CubebConnection::Device>;

Devices ListDevices(const Context& context) {
    cubeb_device_collection collection{};
    if (Library().enumerateDevices(context.handle, CUBEB_DEVICE_TYPE_OUTPUT, &collection) != CUBEB_OK)
        return {};
    Devices devices;
    for (std::size_t i = 0; i < collection.count; ++i) {
        const cubeb_device_info& info = collection.device[i];
        if (info.state == CUBEB_DEVICE_STATE_ENABLED)
            devices.push_back({.handle = info.devid,
                               .identifier = OrEmpty(info.device_id),
                               .description = OrEmpty(info.friendly_name),
                               .channels = info.max_channels,
                               .isDefault = info.preferred != CUBEB_DEVICE_PREF_NONE});
    }
    Library().destroyCollection(context.handle, &collection);
    return devices;
}

// Null when nothing answers.
std::shared_ptr<Context> MakeContextNow() {
    cubeb* handle = nullptr;
    // Under this name the user finds the game in the server's mixer.
    if (Library().init(&handle, program_invocation_short_name, nullptr) != CUBEB_OK) return nullptr;
    return MakeContext(handle);
}

// A stream on a connection of its own, to the output that has this identifier, empty for the default one.
std::unique_ptr<OutputStream> OpenAnew(const std::string& identifier, const RingShape& shape,
                                       StreamOutlet& outlet, std::uint32_t latency) {
    const std::shared_ptr<Context> context = MakeContextNow();
    if (!context) return nullptr;
    const Devices devices = ListDevices(*context);
    const auto device = std::find_if(devices.begin(), devices.end(), [&](const auto& candidate) {
        return identifier.empty() || candidate.identifier == identifier;
    });
    if (device == devices.end()) return nullptr;
    auto stream = std::make_unique<CubebStream>(outlet, context);
    if (stream->Open(identifier.empty() ? nullptr : device->handle, shape, latency) != DS_OK) return nullptr;
    return stream;
}

class CubebDevice : public OutputDevice {
public:
    // Without a context there is no output yet.
    CubebDevice(std::uint32_t speakerSetting, std::shared_ptr<Context> context, cubeb_devid device,
                std::string identifier, slib::Log* log)
        : OutputDevice(speakerSetting),
          context(std::move(context)),
          device(device),
          identifier(std::move(identifier)),
          log(log) {}

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        if (context && !context->IsHere()) return DSERR_NODRIVER;
        struct Made {
            SoundBufferPtr buffer;
            Result result = DSERR_OUTOFMEMORY;
        };
        const auto made = std::make_shared<Made>();
        const bool isOver = CallBounded(
            [made, shape, context = context, device = device, identifier = identifier, log = log] {
                const std::uint32_t latency = context ? Latency(*context, shape) : ShortestLatency(shape);
                auto* const opened = new ReturningBuffer(
                    shape, latency,
                    [identifier, shape](StreamOutlet& outlet, std::uint32_t wanted) {
                        return OpenAnew(identifier, shape, outlet, wanted);
                    },
                    log);
                made->buffer.reset(opened);
                made->result = context ? OpenFirst(*opened, context, device, shape, latency) : DS_OK;
            });
        if (!isOver) return DSERR_NODRIVER;
        if (made->result == DS_OK) buffer = std::move(made->buffer);
        return made->result;
    }

private:
    static Result OpenFirst(ReturningBuffer& buffer, const std::shared_ptr<Context>& context,
                            cubeb_devid device, const RingShape& shape, std::uint32_t latency) {
        return buffer.Open([&](StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) {
            auto opened = std::make_unique<CubebStream>(outlet, context);
            const Result result = opened->Open(device, shape, latency);
            stream = std::move(opened);
            return result;
        });
    }

    const std::shared_ptr<Context> context;
    const cubeb_devid device;      // null for the user's default; the context's
    const std::string identifier;  // of the device, empty for the user's default
    slib::Log* const log;
};

class Connection : public CubebConnection {
public:
    explicit Connection(std::shared_ptr<Context> context) : context(std::move(context)) {}

    std::vector<Device> Devices() override {
        if (!context->IsHere()) return {};
        const auto devices = std::make_shared<std::vector<Device>>();
        const bool isOver = CallBounded([devices, context = context] { *devices = ListDevices(*context); });
        return isOver ? *devices : std::vector<Device>();
    }

    std::string Module() override { return OrEmpty(Library().backendId(context->handle)); }

    SoundDevicePtr Open(const Device* device, std::uint32_t speakerSetting, slib::Log* log) override {
        const bool isDefault = device == nullptr;
        return SoundDevicePtr(new CubebDevice(speakerSetting, context, isDefault ? nullptr : device->handle,
                                              isDefault ? "" : device->identifier, log));
    }

private:
    const std::shared_ptr<Context> context;
};

}  // namespace

std::shared_ptr<CubebConnection> ConnectCubeb(slib::Log* log) {
    if (const std::string& problem = Library().library.problem; !problem.empty()) {
        log->Write("The sound library can't be loaded: " + problem, true);
        return nullptr;
    }
    const auto context = std::make_shared<std::shared_ptr<Context>>();
    const bool isOver = CallBounded([context] { *context = MakeContextNow(); });
    if (!isOver || !*context) return nullptr;
    return std::make_shared<Connection>(*context);
}

SoundDevicePtr AwaitCubebDevice(std::uint32_t speakerSetting, slib::Log* log) {
    if (!Library().library.problem.empty()) return nullptr;
    return SoundDevicePtr(new CubebDevice(speakerSetting, nullptr, nullptr, "", log));
}

}  // namespace platform
