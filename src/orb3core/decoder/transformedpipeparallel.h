#pragma once

// The decoder with a thread of its own, so that the caller renders a block while the one before is decoded
// and written. Blocks pass through two slots, each with two semaphores, which are all that passes them:
//
//     caller: fills a slot, posts its readySemaphore, waits for the freeSemaphore of the other slot
//     thread: waits for readySemaphore, decodes, posts freeSemaphore, writes to the pipe
//
// What ends the thread, such as a failure of the pipe, also ends the waiting of the caller: this writeBus or
// the next, and every one after, throws audiopipe::PipeException with the same text.

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "numeric/floattuplevector.h"
#include "orb3core/decoder/delayline.h"
#include "orb3core/decoder/transformedpipe.h"
#include "slib/mutex.h"
#include "slib/realtime.h"
#include "slib/thread.h"

namespace orb3 {

/// The feeds of one output channel in one slot.
struct SlotFeed {
    hcml::FloatTupleVector samples;  ///< of the block, with the gain applied
    float gain = 1;     ///< that of the first of the blocks in a row in which the channel has a feed here
    bool used = false;  ///< it had a feed in this block
};

/// A block on its way: the caller's until it posts `readySemaphore`, then the thread's until that posts
/// `freeSemaphore`.
struct BlockSlot {
    slib::Semaphore freeSemaphore;
    slib::Semaphore readySemaphore;
    hcml::GenericMatrix<float, 1> input;  ///< blockFrames by input channels
    std::vector<SlotFeed> feeds;          ///< by output channel
};

class TransformedPipeUPT_Parallel final : public TransformedPipeUPT, private slib::Thread {
public:
    /// As createTransformedPipe. Starts the pipe and the thread.
    TransformedPipeUPT_Parallel(const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log,
                                audiopipe::PipePtr pipe, Limiting limiting,
                                const std::vector<std::uint32_t>& feedDelays);
    /// Waits for the block that is being decoded and written; one that still waits is dropped.
    ~TransformedPipeUPT_Parallel() override;

    void writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) SLIB_NONBLOCKING override;
    void writeInterleaved(const hcml::GenericMatrix<float, 1>& block,
                          std::span<const DirectFeed> feeds) SLIB_NONBLOCKING override;
    void SetUrgent(bool isUrgent) SLIB_NONBLOCKING override {
        this->isUrgent.store(isUrgent, std::memory_order_relaxed);
    }

private:
    // The caller's side.
    BlockSlot& OpenSlot(std::uint32_t frames, std::uint32_t channels, std::span<const DirectFeed> feeds);
    void FillFeeds(BlockSlot& slot, std::span<const DirectFeed> feeds) const;
    void HandOver(BlockSlot& slot, std::span<const DirectFeed> feeds);
    void ThrowIfFailed() const;

    // The thread's side.
    void Run() override;
    void DecodeBlocks();
    void MixFeeds(const BlockSlot& slot);
    void Fail(const char* reason) noexcept;

    std::array<BlockSlot, 2> slots;
    std::uint32_t currentSlot = 0;  // the one that the caller fills

    DelayLines delayLines;                 // the thread's
    hcml::GenericMatrix<float, 1> output;  // the thread's, blockFrames by output channels

    std::array<char, 512> failure{};     // why the thread ended; written before hasFailed
    std::atomic<bool> hasFailed{false};  // set before the caller is released
    std::atomic<bool> isUrgent{true};
};

}  // namespace orb3
