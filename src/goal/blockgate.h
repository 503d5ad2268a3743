#pragma once

// Lets a program that plays a recording back have blocks rendered one by one, each at a place in its calls
// that it chooses: what is rendered then depends on the calls alone, and not on how fast either side is. Open
// for games, where it costs a read of a flag a block.
//
//     program's thread:  Close, calls, LetOneThrough, calls, LetOneThrough ...
//     server's thread:           Enter, a block, Leave; Enter ...

#include <atomic>
#include <cstdint>

#include "slib/mutex.h"
#include "slib/realtime.h"

namespace goal {

class BlockGate {
public:
    /// One block that was rendered.
    struct Block {
        std::uint32_t frames = 0;
        double sampleRate = 0;  ///< Hz
    };

    /// From now on each block is rendered when the program says so. For good; before the start.
    void Close() { isClosed.store(true, std::memory_order_relaxed); }
    bool IsClosed() const { return isClosed.load(std::memory_order_relaxed); }

    /// Lets one block through, and waits until it is rendered and given to the output. No frames where none
    /// comes within `milliseconds`, as when there is no context. By one thread at a time, without a lock.
    Block LetOneThrough(std::uint32_t milliseconds) {
        while (gone.WaitFor(0)) {  // of a block that came too late
        }
        asked.Post();
        if (gone.WaitFor(milliseconds)) return last;
        static_cast<void>(asked.WaitFor(0));
        return {};
    }

    /// Server's thread, before each block: false while none is wanted, after a wait of some milliseconds.
    bool Enter() SLIB_NONBLOCKING { return !IsClosed() || asked.WaitFor(patience); }
    /// After each block.
    void Leave(const Block& block) SLIB_NONBLOCKING {
        if (!IsClosed()) return;
        last = block;
        gone.Post();
    }

private:
    static constexpr std::uint32_t patience = 10;  // ms

    std::atomic<bool> isClosed{false};
    slib::Semaphore asked;
    slib::Semaphore gone;
    Block last;  // passed by `gone`
};

}  // namespace goal
