#pragma once

// Gives the mix back to the game: while it runs, each rendered block is folded down to one or two channels
// and written into a ring of blocks in the game's memory, and the game's callback gets an event for each
// block that is full.
//
//     spatial bus ──> W, or W + 0.049 X ± 0.756 Y ──> ring of the game: | 0 | 1 | ... | blockCount - 1 |
//                                        events ──> task queue ──> callback
//
// Nothing waits for the game: a block that it hasn't read is written over a whole ring later.

#include <cstdint>

#include "goal/render/renderoutput.h"
#include "slib/mutex.h"

namespace goal {

/// What a game asked for, and where it goes. The memory and the callback must stay valid until the stop
/// event.
struct FoldbackRequest {
    /// Called on the thread of the task queue, one event after the other; it may be slow.
    using Callback = void (*)(std::int32_t event, std::int32_t blockIndex);

    std::int32_t mode = 0;         ///< AL_FOLDBACK_MODE_MONO or AL_FOLDBACK_MODE_STEREO
    std::uint32_t blockCount = 0;  ///< of the ring, above 0
    std::uint32_t blockFrames =
        0;                    ///< of each block of the ring, above 0; has nothing to do with the server's
    float* buffer = nullptr;  ///< blockCount blocks of interleaved frames, left before right
    Callback callback = nullptr;
};

/// One for each context. Start and Stop are for the game's threads, ProcessBlock for the server's. It keeps
/// running through a restart of the server.
class FoldbackManager {
public:
    FoldbackManager() = default;
    /// The server has stopped. Sends the stop event if the game hasn't got it yet.
    ~FoldbackManager();
    FoldbackManager(const FoldbackManager&) = delete;
    FoldbackManager& operator=(const FoldbackManager&) = delete;

    /// Clears the ring and begins with the server's next block. Throws slib::BadStateException "Foldback is
    /// already running." when it does, or is still to stop, and then changes nothing.
    void Start(const FoldbackRequest& request);

    /// Ends with the server's next block, by the stop event. Does nothing when it doesn't run.
    void Stop();

    /// Once for each block, after the decoder has it: adds the dialogue, if the block has some, to channels 0
    /// and 1 of the bus, and writes the block into the ring. Throws std::bad_alloc when there is no memory
    /// for an event.
    void ProcessBlock(RenderOutput& output);

private:
    bool ChangeState() SLIB_REQUIRES(mutex);
    void CopyBlock(const hcml::ac::Bus& bus) SLIB_REQUIRES(mutex);
    void CopyFrames(const hcml::ac::Bus& bus, std::uint32_t frame, std::uint32_t count) const
        SLIB_REQUIRES(mutex);
    void EndRingBlock() SLIB_REQUIRES(mutex);
    void Queue(std::int32_t event, std::uint32_t index) const SLIB_REQUIRES(mutex);
    std::uint32_t Channels() const SLIB_REQUIRES(mutex);

    slib::Mutex mutex;
    bool isRunning SLIB_GUARDED_BY(mutex) = false;    // the start event has been sent
    bool isRequested SLIB_GUARDED_BY(mutex) = false;  // the game wants it
    FoldbackRequest request SLIB_GUARDED_BY(mutex);
    std::uint32_t blockIndex SLIB_GUARDED_BY(mutex) = 0;  // of the ring's block that is being filled
    std::uint32_t frameIndex SLIB_GUARDED_BY(mutex) = 0;  // the next frame of it
};

}  // namespace goal
