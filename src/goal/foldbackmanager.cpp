#include "goal/foldbackmanager.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "AL/tessarune.h"
#include "numeric/kernels/gainkernel.h"
#include "slib/exception.h"
#include "slib/task.h"

namespace goal {
namespace {

class FoldbackEvent : public slib::Task {
public:
    FoldbackEvent(FoldbackRequest::Callback callback, std::int32_t event, std::int32_t blockIndex)
        : callback(callback), event(event), blockIndex(blockIndex) {}
    void Run() override { callback(event, blockIndex); }

private:
    const FoldbackRequest::Callback callback;
    const std::int32_t event;
    const std::int32_t blockIndex;
};

// A pair of virtual microphones to the sides: how much of X and Y they take besides W.
constexpr float front = 0.04914F;
constexpr float side = 0.756398F;

void FoldToStereo(const float* w, const float* x, const float* y, std::size_t frames, float* to) {
    for (std::size_t i = 0; i < frames; ++i) {
        const float middle = w[i] + front * x[i];
        to[2 * i] = middle + side * y[i];
        to[2 * i + 1] = middle - side * y[i];
    }
}

}  // namespace

FoldbackManager::~FoldbackManager() {
    const slib::Lock lock(mutex);
    try {
        if (isRunning) Queue(AL_FOLDBACK_EVENT_STOP, 0);
    } catch (const std::bad_alloc&) {  // a destructor can't do more for it
    }
}

void FoldbackManager::Start(const FoldbackRequest& newRequest) {
    const slib::Lock lock(mutex);
    if (isRunning || isRequested) throw slib::BadStateException("Foldback is already running.");
    request = newRequest;
    blockIndex = frameIndex = 0;
    isRequested = true;
    std::fill_n(request.buffer, std::size_t{request.blockCount} * request.blockFrames * Channels(), 0.0F);
}

void FoldbackManager::Stop() {
    const slib::Lock lock(mutex);
    isRequested = false;
}

void FoldbackManager::ProcessBlock(RenderOutput& output) {
    const slib::Lock lock(mutex);
    if (!ChangeState()) return;
    if (output.dialogueWritten)
        for (const std::uint32_t channel : {0U, 1U})
            hcml::MultiplyAddRow(output.spatial.channels[channel], output.dialogue.data, 1,
                                 output.spatial.vectors);
    CopyBlock(output.spatial);
}

// Applies what the game has asked for since the last block; true when this one is wanted.
bool FoldbackManager::ChangeState() {
    if (isRunning != isRequested) Queue(isRequested ? AL_FOLDBACK_EVENT_START : AL_FOLDBACK_EVENT_STOP, 0);
    isRunning = isRequested;
    return isRunning;
}

// In runs that end with the server's block or the ring's.
void FoldbackManager::CopyBlock(const hcml::ac::Bus& bus) {
    for (std::uint32_t frame = 0; frame < bus.frames;) {
        const std::uint32_t count = std::min(bus.frames - frame, request.blockFrames - frameIndex);
        CopyFrames(bus, frame, count);
        frame += count;
        frameIndex += count;
        if (frameIndex == request.blockFrames) EndRingBlock();
    }
}

void FoldbackManager::CopyFrames(const hcml::ac::Bus& bus, std::uint32_t frame, std::uint32_t count) const {
    const std::size_t place = std::size_t{blockIndex} * request.blockFrames + frameIndex;
    float* const to = request.buffer + place * Channels();
    const float* const w = bus.channels[0] + frame;
    if (request.mode == AL_FOLDBACK_MODE_MONO)
        std::copy_n(w, count, to);
    else
        FoldToStereo(w, bus.channels[1] + frame, bus.channels[2] + frame, count, to);
}

void FoldbackManager::EndRingBlock() {
    const std::uint32_t ended = blockIndex;
    blockIndex = (blockIndex + 1) % request.blockCount;
    frameIndex = 0;
    Queue(AL_FOLDBACK_EVENT_BLOCK, ended);  // last, for it may fail
}

void FoldbackManager::Queue(std::int32_t event, std::uint32_t index) const {
    slib::TaskQueue::Add(
        std::make_unique<FoldbackEvent>(request.callback, event, static_cast<std::int32_t>(index)));
}

std::uint32_t FoldbackManager::Channels() const {
    return request.mode == AL_FOLDBACK_MODE_MONO ? 1 : 2;
}

}  // namespace goal
