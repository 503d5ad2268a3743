#pragma once

// Chance, for tests that try many things: the same for the same seed. One thread.

#include <cstddef>
#include <iterator>
#include <random>

namespace testing_support {

class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}

    /// 0 to count - 1.
    unsigned Below(std::size_t count) { return static_cast<unsigned>(engine() % count); }
    bool OneIn(unsigned count) { return Below(count) == 0; }
    float Between(float low, float high) {
        return low + (high - low) * static_cast<float>(engine()) / static_cast<float>(Engine::max());
    }
    /// An entry of the table.
    template <typename Table>
    auto Of(const Table& table) {
        return table[Below(std::size(table))];
    }

private:
    using Engine = std::mt19937;
    Engine engine;
};

}  // namespace testing_support
