#include "platform/serverdevice.h"

#include <algorithm>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/outputdevice.h"
#include "platform/speakersetting.h"

namespace platform {
namespace {

// Frames that a request on a busy machine may be late by, and more with a longer ring, since that is what a
// user asks for whose sound falters. They lie inside what the ring is written ahead, which is its length but
// for 100 ms, and leave a part of that to the renderer.
std::uint32_t ShortestLatency(const RingShape& shape) {
    const std::uint32_t ahead = shape.frames - std::min(shape.frames, shape.rate / 10);
    return std::max(shape.rate / 100, ahead / 4 * 3);
}

// On a connection of its own, to the output of that name.
std::unique_ptr<OutputStream> OpenAnew(const ServerConnector& connect, const OutputWatch& watch,
                                       const RingShape& shape, StreamOutlet& outlet, std::uint32_t capacity) {
    const ServerConnectionPtr connection = connect();
    if (!connection) return nullptr;
    const std::vector<ServerOutput> outputs = connection->Outputs();
    const bool isThere = std::any_of(outputs.begin(), outputs.end(), [&](const ServerOutput& output) {
        return watch.identifier.empty() || output.identifier == watch.identifier;
    });
    if (!isThere) return nullptr;
    std::unique_ptr<OutputStream> stream;
    if (connection->OpenStream(watch, shape, capacity, outlet, stream) != DS_OK) return nullptr;
    return stream;
}

class ServerDevice : public OutputDevice {
public:
    ServerDevice(std::uint32_t speakerSetting, ServerConnectionPtr connection, OutputWatch watch,
                 ServerConnector reconnect, slib::Log* log)
        : OutputDevice(speakerSetting),
          connection(std::move(connection)),
          watch(std::move(watch)),
          reconnect(std::move(reconnect)),
          log(log) {}

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        if (connection && !connection->IsHere()) return DSERR_NODRIVER;
        struct Made {
            SoundBufferPtr buffer;
            Result result = DSERR_OUTOFMEMORY;
        };
        const auto made = std::make_shared<Made>();
        const bool isOver = CallBounded(
            [made, shape, connection = connection, watch = watch, reconnect = reconnect, log = log] {
                std::uint32_t capacity = ShortestLatency(shape);
                if (connection) capacity = std::max(capacity, connection->ShortestBuffer(shape));
                auto* const opened = new ReturningBuffer(
                    shape, capacity,
                    [reconnect, watch, shape](StreamOutlet& outlet, std::uint32_t wanted) {
                        return OpenAnew(reconnect, watch, shape, outlet, wanted);
                    },
                    watch.news, log);
                made->buffer.reset(opened);
                made->result = DS_OK;
                if (!connection) return;
                made->result = opened->Open([&](StreamOutlet& outlet, std::unique_ptr<OutputStream>& stream) {
                    return connection->OpenStream(watch, shape, capacity, outlet, stream);
                });
                // A server that has ended meanwhile is one that went away: the buffer looks for it.
                if (made->result != DS_OK && connection->Outputs().empty()) made->result = DS_OK;
            });
        if (!isOver) return DSERR_NODRIVER;
        if (made->result == DS_OK) buffer = std::move(made->buffer);
        return made->result;
    }

private:
    const ServerConnectionPtr connection;
    const OutputWatch watch;
    const ServerConnector reconnect;
    slib::Log* const log;
};

}  // namespace

std::uint32_t ServerOutput::Speakers() const {
    return channels == 2 && isHeadphones ? DSSPEAKER_HEADPHONE : GuessSpeakerSetting(channels, description);
}

SoundDevicePtr MakeServerDevice(std::uint32_t speakerSetting, ServerConnectionPtr connection,
                                OutputWatch watch, ServerConnector reconnect, slib::Log* log) {
    return SoundDevicePtr(
        new ServerDevice(speakerSetting, std::move(connection), std::move(watch), std::move(reconnect), log));
}

}  // namespace platform
