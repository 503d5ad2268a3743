#pragma once

// A list of objects that it owns, linked by a `next` of their own: nothing is allocated, whatever its length.
// One thread.

#include <memory>
#include <utility>

namespace slib {

/// T has a member `std::unique_ptr<T> next`, which is the list's while the object is in it.
template <typename T>
class Chain {
public:
    Chain() = default;
    Chain(Chain&&) noexcept = default;
    Chain& operator=(Chain&& other) noexcept {
        Clear();
        first = std::move(other.first);
        return *this;
    }
    ~Chain() { Clear(); }

    void Push(std::unique_ptr<T> object) noexcept {
        object->next = std::move(first);
        first = std::move(object);
    }

    /// One by one: the objects would destroy each other on the stack.
    void Clear() noexcept {
        while (first != nullptr)
            first = std::move(first->next);
    }

    template <typename Visit>
    void ForEach(Visit visit) const {
        for (T* object = first.get(); object != nullptr; object = object->next.get())
            visit(*object);
    }

    /// Gives those that `isDue` says to `take`.
    template <typename IsDue, typename Take>
    void TakeIf(IsDue isDue, Take take) {
        for (std::unique_ptr<T>* link = &first; *link != nullptr;) {
            if (!isDue(**link)) {
                link = &(*link)->next;
                continue;
            }
            std::unique_ptr<T> due = std::move(*link);
            *link = std::move(due->next);
            take(std::move(due));
        }
    }

private:
    std::unique_ptr<T> first;
};

}  // namespace slib
