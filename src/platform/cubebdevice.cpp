#include "platform/cubebdevice.h"

#include <cubeb/cubeb.h>
#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <iterator>

#include "platform/boundedcall.h"
#include "platform/dynamiclibrary.h"
#include "platform/fedbuffer.h"
#include "platform/outputdevice.h"
#include "platform/threadpriority.h"
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

// Frames between the callback and the speakers: what the system behind calls safe, not below what a callback
// on a busy machine is late by, and more with a longer ring, since that is what a user asks for whose sound
// falters.
std::uint32_t Latency(const Context& context, const RingShape& shape) {
    constexpr std::uint32_t longest = 96000;  // the library's limit
    cubeb_stream_params parameters = StreamParameters(shape);
    std::uint32_t safe = 0;
    if (Library().minimumLatency(context.handle, &parameters, &safe) != CUBEB_OK) safe = 0;
    return std::min(std::max({safe, shape.rate / 25, shape.frames / 3}), longest);
}

// All calls that may wait for the server are bounded, and where one was given up the next ones queue behind
// it.
class CubebBuffer : public FedBuffer {
public:
    CubebBuffer(const RingShape& shape, std::shared_ptr<Context> context, std::uint32_t latency)
        : FedBuffer(shape, latency), context(std::move(context)), latency(latency) {}

    Result Open(cubeb_devid device) {
        cubeb_stream_params parameters = StreamParameters(shape);
        const int code =
            Library().initStream(context->handle, &stream, "Output", nullptr, nullptr, device, &parameters,
                                 latency, &CubebBuffer::OnData, &CubebBuffer::OnState, this);
        if (code != CUBEB_OK) stream = nullptr;
        return ToResult(code);
    }

    void Release() override {
        if (!context->IsHere()) return;  // the library's threads, and all they know of, are in the parent
        CallBounded([this] { delete this; });
    }

protected:
    ~CubebBuffer() override {
        const slib::Lock lock(streamMutex);
        if (stream == nullptr) return;
        Library().stopStream(stream);
        Library().destroyStream(stream);
    }

    Result StartTaking() override { return CallOnStream(Library().startStream); }
    Result StopTaking() override { return CallOnStream(Library().stopStream); }

private:
    Result CallOnStream(int (*function)(cubeb_stream*)) {
        if (!context->IsHere()) return DSERR_BUFFERLOST;
        const auto code = std::make_shared<int>(CUBEB_ERROR);
        const bool isOver = CallBounded([this, code, function] {
            const slib::Lock lock(streamMutex);
            *code = function(stream);
        });
        if (!isOver) Fail(DSERR_BUFFERLOST);
        return isOver ? ToResult(*code) : DSERR_BUFFERLOST;
    }

    // Both on a thread of the library; the first one allocates nothing, locks nothing and never waits.
    static long OnData(cubeb_stream*, void* self, const void*, void* output, long frames) {
        static_cast<CubebBuffer*>(self)->Fill(static_cast<float*>(output), frames);
        return frames;
    }

    static void OnState(cubeb_stream*, void* self, cubeb_state state) {
        if (state == CUBEB_STATE_ERROR) static_cast<CubebBuffer*>(self)->Fail(DSERR_BUFFERLOST);
    }

    void Fill(float* output, long frames) {
        if (!hasRaisedThread) RaiseSoundThread();
        hasRaisedThread = true;
        Take(static_cast<std::uint32_t>(frames), [&](const std::int32_t* taken, std::uint32_t count) {
            const std::size_t samples = std::size_t{count} * shape.channels;
            constexpr float scale = 1.0F / 2147483648.0F;
            if (taken == nullptr)
                std::fill_n(output, samples, 0.0F);
            else
                std::transform(taken, taken + samples, output,
                               [](std::int32_t v) { return static_cast<float>(v) * scale; });
            output += samples;
        });
    }

    const std::shared_ptr<Context> context;
    const std::uint32_t latency;  // frames
    slib::Mutex streamMutex;      // guards the calls on the stream
    cubeb_stream* stream = nullptr;
    bool hasRaisedThread = false;  // the library's thread's
};

class CubebDevice : public OutputDevice {
public:
    CubebDevice(std::uint32_t speakerSetting, std::shared_ptr<Context> context, cubeb_devid device)
        : OutputDevice(speakerSetting), context(std::move(context)), device(device) {}

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        if (!context->IsHere()) return DSERR_NODRIVER;
        struct Made {
            SoundBufferPtr buffer;
            Result result = DSERR_OUTOFMEMORY;
        };
        const auto made = std::make_shared<Made>();
        const bool isOver = CallBounded([made, shape, context = context, device = device] {
            auto* const opened = new CubebBuffer(shape, context, Latency(*context, shape));
            made->buffer.reset(opened);
            made->result = opened->Open(device);
        });
        if (!isOver) return DSERR_NODRIVER;
        if (made->result == DS_OK) buffer = std::move(made->buffer);
        return made->result;
    }

private:
    const std::shared_ptr<Context> context;
    const cubeb_devid device;  // null for the user's default; the context's
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

    SoundDevicePtr Open(const Device* device, std::uint32_t speakerSetting) override {
        return SoundDevicePtr(
            new CubebDevice(speakerSetting, context, device == nullptr ? nullptr : device->handle));
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
    const bool isOver = CallBounded([context] {
        cubeb* handle = nullptr;
        // Under this name the user finds the game in the server's mixer.
        if (Library().init(&handle, program_invocation_short_name, nullptr) == CUBEB_OK)
            *context = MakeContext(handle);
    });
    if (!isOver || !*context) return nullptr;
    return std::make_shared<Connection>(*context);
}

}  // namespace platform
