#pragma once

// Owns a descriptor of the system: a socket, a file. For one thread at a time.

#include <unistd.h>

#include <utility>

namespace page {

/// Closes it at the end. Below 0 is none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) : value(value) {}
    Descriptor(Descriptor&& other) noexcept : value(std::exchange(other.value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value, other.value);
        return *this;
    }
    ~Descriptor() {
        if (value >= 0) close(value);
    }

    [[nodiscard]] bool IsOpen() const { return value >= 0; }

    int value = -1;
};

}  // namespace page
