#pragma once

// A reference-counted pointer with a choice of counter: Counter for objects that stay on one thread,
// ThreadsafeCounter for objects that threads share. Two words: the object, and its count on the heap.

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace slib {

/// A plain count, for objects of one thread.
class Counter {
public:
    void Raise() { ++count; }
    /// Lowers the count; true when that brought it to zero.
    [[nodiscard]] bool Lower() { return --count == 0; }

private:
    std::uint32_t count = 1;
};

/// An atomic count, for objects that threads share.
class ThreadsafeCounter {
public:
    void Raise() { count.fetch_add(1, std::memory_order_relaxed); }
    /// Lowers the count; true when that brought it to zero. The last owner sees what the others wrote.
    [[nodiscard]] bool Lower() { return count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    std::atomic<std::uint32_t> count{1};
};

/// Shares ownership of a T. The one who brings the count to zero deletes the object, through its virtual
/// destructor where it has one, and then the count. Distinct SmartPtrs to one object may be used from
/// distinct threads when CounterType is ThreadsafeCounter; one SmartPtr is for one thread at a time.
template <typename T, typename CounterType>
class SmartPtr {
public:
    SmartPtr() = default;

    /// Takes ownership of `object`, which may be null. If the count can't be allocated the object is deleted
    /// and std::bad_alloc leaves.
    explicit SmartPtr(T* object) {
        std::unique_ptr<T> guard(object);
        if (object != nullptr) count = new CounterType;
        this->object = guard.release();
    }

    SmartPtr(const SmartPtr& other) : object(other.object), count(other.count) {
        if (count != nullptr) count->Raise();
    }

    SmartPtr(SmartPtr&& other) noexcept
        : object(std::exchange(other.object, nullptr)), count(std::exchange(other.count, nullptr)) {}

    SmartPtr& operator=(SmartPtr other) noexcept {
        std::swap(object, other.object);
        std::swap(count, other.count);
        return *this;
    }

    ~SmartPtr() {
        if (count == nullptr || !count->Lower()) return;
        delete object;
        delete count;
    }

    T* Get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }

private:
    T* object = nullptr;
    CounterType* count = nullptr;
};

}  // namespace slib
