#include "orb3core/decoder/transformedpipeparallel.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "pipe/pipeexception.h"
#include "platform/urgentthread.h"
#include "slib/priority.h"

namespace orb3 {
namespace {

// A few frames at a time, so that the part of `matrix` that is written stays in the nearest cache.
void Interleave(const hcml::ac::Bus& bus, hcml::GenericMatrix<float, 1>& matrix) {
    constexpr std::uint32_t tileFrames = 16;
    for (std::uint32_t first = 0; first < bus.frames; first += tileFrames) {
        const std::uint32_t end = std::min(first + tileFrames, bus.frames);
        for (std::uint32_t channel = 0; channel < bus.channelCount; ++channel) {
            const float* const source = bus.channels[channel];
            float* target = matrix.data + std::size_t{first} * matrix.columns + channel;
            for (std::uint32_t frame = first; frame < end; ++frame, target += matrix.columns)
                *target = source[frame];
        }
    }
}

}  // namespace

TransformedPipeUPT_Parallel::TransformedPipeUPT_Parallel(
    const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log, audiopipe::PipePtr pipe,
    Limiting limiting, const std::vector<std::uint32_t>& feedDelays)
    : TransformedPipeUPT(transform, log, std::move(pipe), true, limiting),
      Thread("Decoder", Priority::Normal),
      delayLines(MakeDelayLines(transformer.outputCount, transformer.startLatency, feedDelays)),
      output(blockFrames, transformer.outputCount) {
    for (BlockSlot& slot : slots) {
        slot.feeds.resize(transformer.outputCount);
        for (SlotFeed& feed : slot.feeds)
            feed.samples.resize(blockFrames);
        slot.input.resize(blockFrames, transformer.inputCount);
        slot.input.fill(0);
    }
    slots[1].freeSemaphore.Post();
    this->pipe->Start();
    try {
        Thread::Start();
    } catch (...) {
        StopPipe();
        throw;
    }
}

// The thread may still be at work on the slot that isn't the caller's, so both stay as they are until it has
// ended.
TransformedPipeUPT_Parallel::~TransformedPipeUPT_Parallel() {
    const bool isRunning = RequestStop();
    for (BlockSlot& slot : slots)
        slot.readySemaphore.Post();
    if (isRunning) AwaitEnd();
    StopPipe();
}

void TransformedPipeUPT_Parallel::writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) {
    BlockSlot& slot = OpenSlot(bus.frames, bus.channelCount, feeds);
    Interleave(bus, slot.input);
    HandOver(slot, feeds);
}

void TransformedPipeUPT_Parallel::writeInterleaved(const hcml::GenericMatrix<float, 1>& block,
                                                   std::span<const DirectFeed> feeds) {
    BlockSlot& slot = OpenSlot(block.rows, block.columns, feeds);
    slot.input = block;  // of the same shape, so nothing is allocated
    HandOver(slot, feeds);
}

BlockSlot& TransformedPipeUPT_Parallel::OpenSlot(std::uint32_t frames, std::uint32_t channels,
                                                 std::span<const DirectFeed> feeds) {
    CheckBlock(frames, channels, feeds);
    ThrowIfFailed();
    return slots[currentSlot];
}

// A channel keeps the gain of its first block in this slot, unless several feeds share it now: then each has
// its own.
void TransformedPipeUPT_Parallel::FillFeeds(BlockSlot& slot, std::span<const DirectFeed> feeds) const {
    for (std::uint32_t channel = 0; channel < slot.feeds.size(); ++channel) {
        SlotFeed& own = slot.feeds[channel];
        const bool isGoingOn = std::exchange(own.used, false);
        for (const DirectFeed& feed : feeds) {
            if (feed.channel != channel) continue;
            if (!std::exchange(own.used, true)) {
                own.samples.clear();
                if (!isGoingOn) own.gain = feed.gain;
            }
            const bool isAlone = CountFeeds(feeds, channel) == 1;
            AddFeed(feed, isAlone ? own.gain : feed.gain, own.samples.data, blockFrames);
        }
    }
}

void TransformedPipeUPT_Parallel::HandOver(BlockSlot& slot, std::span<const DirectFeed> feeds) {
    FillFeeds(slot, feeds);
    slot.readySemaphore.Post();
    currentSlot ^= 1;
    slots[currentSlot].freeSemaphore.Wait();
    ThrowIfFailed();
}

void TransformedPipeUPT_Parallel::ThrowIfFailed() const {
    if (hasFailed.load(std::memory_order_acquire)) throw audiopipe::PipeException(failure.data());
}

void TransformedPipeUPT_Parallel::Run() {
    try {
        DecodeBlocks();
    } catch (const std::exception& exception) {
        Fail(exception.what());
        throw;
    } catch (...) {
        Fail("The decoder ended for an unknown reason.");
        throw;
    }
}

void TransformedPipeUPT_Parallel::DecodeBlocks() {
    platform::UrgentThread urgency(slib::rendererLevel);
    for (std::size_t i = 0; !IsStopRequested(); i ^= 1) {
        BlockSlot& slot = slots[i];
        slot.readySemaphore.Wait();
        if (IsStopRequested()) return;
        urgency.SetUrgent(isUrgent.load(std::memory_order_relaxed));
        transformer.process(slot.input, output);
        MixFeeds(slot);
        slot.freeSemaphore.Post();
        LimitAndWrite(output);
    }
}

void TransformedPipeUPT_Parallel::MixFeeds(const BlockSlot& slot) {
    ClearUsed(delayLines);
    for (std::uint32_t channel = 0; channel < slot.feeds.size(); ++channel)
        if (slot.feeds[channel].used) MixFeed(delayLines, channel, slot.feeds[channel].samples.data, output);
    DrainUnused(delayLines, output);
}

// Nobody frees a slot any more: the caller is released from its wait at either, to find the failure.
void TransformedPipeUPT_Parallel::Fail(const char* reason) noexcept {
    std::strncpy(failure.data(), reason, failure.size() - 1);
    hasFailed.store(true, std::memory_order_release);
    for (BlockSlot& slot : slots)
        slot.freeSemaphore.Post();
}

}  // namespace orb3
