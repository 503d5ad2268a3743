#pragma once

// Storage for objects of the process that are never destroyed. A game's threads may still be inside a call
// while another one ends the process: what they use has to stay usable until the last instruction.

#include <utility>

namespace slib {

/// Holds a T whose destructor never runs. What the T owns on the heap is its user's to give back.
template <typename T>
class NoDestroy {
public:
    template <typename... Arguments>
    explicit NoDestroy(Arguments&&... arguments) : object(std::forward<Arguments>(arguments)...) {}
    NoDestroy(const NoDestroy&) = delete;
    NoDestroy& operator=(const NoDestroy&) = delete;
    ~NoDestroy() {}  // NOLINT(modernize-use-equals-default): a defaulted one would be deleted

    T& operator*() { return object; }

private:
    union {
        T object;
    };
};

}  // namespace slib
