#pragma once

// A value that a game changes at once and that is to arrive without a kink: three one-poles in series, so
// that not even its slope jumps. Whatever is asked of it on the way, it goes on smoothly from where it is.
// Owned by one effect, on the server's thread; nothing is allocated.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "slib/realtime.h"

namespace goal {

class SmoothValue {
public:
    /// Rests at `value`. `seconds` is the time constant of each pole: after 4 of them the value is half of
    /// the way there or more, after 8.4 within a hundredth.
    SmoothValue(double value, double seconds, double sampleRate)
        : share(1 - std::exp(-1 / (seconds * sampleRate))),
          target(value),
          first(value),
          second(value),
          current(value) {}

    void Aim(double value) { target = value; }
    /// Adds to where it is and to where it goes.
    void Shift(double difference) {
        for (double* value : {&target, &first, &second, &current})
            *value += difference;
    }
    bool IsMoving() const { return current != target || second != target || first != target; }
    double Current() const { return current; }

    /// The next frame's value. A target that is nearly reached is reached.
    double Step() {
        first += (target - first) * share;
        second += (first - second) * share;
        current += (second - current) * share;
        const double left =
            std::max({std::abs(target - first), std::abs(target - second), std::abs(target - current)});
        if (left <= 1e-6 * std::abs(target) + 1e-9) first = second = current = target;
        return current;
    }

    /// The values of the next `count` frames.
    template <typename Number>
    void Fill(Number* values, std::uint32_t count) SLIB_NONBLOCKING {
        std::uint32_t i = 0;
        for (; i < count && IsMoving(); ++i)
            values[i] = static_cast<Number>(Step());
        std::fill(values + i, values + count, static_cast<Number>(current));
    }

private:
    double share;  // of the way, what a pole goes in a frame
    double target;
    double first, second, current;  // of the poles in order
};

}  // namespace goal
