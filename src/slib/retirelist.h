#pragma once

// The way back of what the audio thread has done with: it must not free memory, so it leaves objects here,
// and a thread of the game frees them at its next call.

#include <atomic>
#include <memory>
#include <utility>

namespace slib {

/// Base of what goes on a RetireList.
class Retired {
public:
    virtual ~Retired() = default;
    Retired(const Retired&) = delete;
    Retired& operator=(const Retired&) = delete;

protected:
    Retired() = default;

private:
    friend class RetireList;
    Retired* next = nullptr;
};

/// Any threads; waits for nothing.
class RetireList {
public:
    RetireList() = default;
    RetireList(const RetireList&) = delete;
    RetireList& operator=(const RetireList&) = delete;
    ~RetireList() { Empty(); }

    /// Takes `object`, which may be null. Allocates and frees nothing.
    void Push(std::unique_ptr<Retired> object) noexcept {
        Retired* const added = object.release();
        if (added == nullptr) return;
        added->next = newest.load(std::memory_order_relaxed);
        while (!newest.compare_exchange_weak(added->next, added, std::memory_order_release,
                                             std::memory_order_relaxed)) {
        }
    }

    /// Frees what was pushed so far. Not for the audio thread.
    void Empty() noexcept {
        if (newest.load(std::memory_order_relaxed) == nullptr) return;
        Retired* left = newest.exchange(nullptr, std::memory_order_acquire);
        while (left != nullptr)
            delete std::exchange(left, left->next);
    }

private:
    std::atomic<Retired*> newest{nullptr};
};

}  // namespace slib
