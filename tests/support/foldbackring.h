#pragma once

// The ring that foldback writes, and a check of the order of its events. The memory is there from a request
// until the last event, so that a tool for memory finds what is written later. One thread makes the requests.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "AL/tessarune.h"
#include "tests/support/dice.h"
#include "tests/support/tasks.h"

namespace testing_support {

/// One in the process, since the callback is given nothing of ours.
class FoldbackRing {
public:
    /// `fault` is called for an event that was not to come.
    explicit FoldbackRing(std::function<void()> fault) : fault(std::move(fault)) { only = this; }
    ~FoldbackRing() { only = nullptr; }
    FoldbackRing(const FoldbackRing&) = delete;
    FoldbackRing& operator=(const FoldbackRing&) = delete;

    /// Requests foldback into a ring of any shape. Nothing while it runs; a request that was refused, of
    /// which no event tells, is made again.
    void Start(Dice& dice) {
        WaitForTasks();
        const std::lock_guard lock(mutex);
        if (isRunning) return;
        if (samples.empty()) {
            blocks = static_cast<ALsizei>(2 + dice.Below(6));
            frames = static_cast<ALsizei>(1 + dice.Below(4096));
            mode = AL_FOLDBACK_MODE_MONO + static_cast<ALenum>(dice.Below(2));
            const ALsizei channels = mode == AL_FOLDBACK_MODE_MONO ? 1 : 2;
            samples.resize(static_cast<std::size_t>(blocks) * static_cast<std::size_t>(frames) *
                           static_cast<std::size_t>(channels));
        }
        alRequestFoldbackStart(mode, blocks, frames, samples.data(), Hear);
    }

    /// The start was told, and the end wasn't.
    bool IsRunning() {
        const std::lock_guard lock(mutex);
        return isRunning;
    }

private:
    static void AL_APIENTRY Hear(ALenum event, ALsizei block) { only->Take(event, block); }

    void Take(ALenum event, ALsizei block) {
        const std::lock_guard lock(mutex);
        const bool isStart = event == AL_FOLDBACK_EVENT_START;
        const bool isBlock = event == AL_FOLDBACK_EVENT_BLOCK;
        if (isRunning == isStart || block != (isBlock ? next : 0)) fault();
        next = isBlock ? (block + 1) % blocks : 0;
        isRunning = event != AL_FOLDBACK_EVENT_STOP;
        if (!isRunning) std::vector<ALfloat>().swap(samples);
    }

    static inline FoldbackRing* only = nullptr;
    const std::function<void()> fault;
    std::mutex mutex;
    std::vector<ALfloat> samples;
    ALenum mode = AL_FOLDBACK_MODE_MONO;
    ALsizei blocks = 0, frames = 0, next = 0;
    bool isRunning = false;
};

}  // namespace testing_support
