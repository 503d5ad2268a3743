#pragma once

// A watch over threads that must not stand still: each notes what it is about to do, and one that looks ends
// the process with a word on all of them when one has noted nothing for a minute.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <span>
#include <utility>

namespace testing_support {

/// Where a thread stands.
struct Progress {
    const char* name;
    std::atomic<const char*> at{"nothing yet"};
    std::atomic<std::uint64_t> steps{0};
    std::uint64_t seenSteps = 0;  ///< the watch's own, as is the next
    std::chrono::steady_clock::time_point lastChange = std::chrono::steady_clock::now();

    /// `what` is kept: a literal.
    void Note(const char* what) {
        at.store(what, std::memory_order_relaxed);
        steps.fetch_add(1, std::memory_order_relaxed);
    }
};

/// To be called again and again, by one thread.
inline void LookForDeadlock(std::span<Progress> threads) {
    const auto now = std::chrono::steady_clock::now();
    for (Progress& thread : threads) {
        if (std::exchange(thread.seenSteps, thread.steps) != thread.steps) thread.lastChange = now;
        if (now - thread.lastChange < std::chrono::minutes(1)) continue;
        std::cerr << "Nothing of '" << thread.name << "' for a minute.\n";
        for (const Progress& other : threads)
            std::cerr << "  " << other.name << ": " << other.at << "\n";
        std::abort();
    }
}

}  // namespace testing_support
