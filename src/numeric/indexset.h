#pragma once

// A set of table indices that is quick to walk when few of many are in it: one bit an index. Walking, erasing
// and clearing allocate nothing, nor does an insertion for which room was made. One thread owns a set;
// another one may make room meanwhile, as with a SegmentedVector.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>

#include "numeric/segmentedvector.h"

namespace hcml {

class IndexSet {
public:
    /// Makes room for the indices below `count`. Throws slib::OutOfMemoryException and then changes nothing.
    void Reserve(std::uint32_t count) { words.Reserve(count / 64 + 1); }

    /// Throws slib::OutOfMemoryException, and then the set is as it was.
    void Insert(std::uint32_t index) {
        words.Reserve(index / 64 + 1);
        words.size = std::max(words.size, index / 64 + 1);
        words[index / 64] |= Bit(index);
        lowest = std::min(lowest, index / 64);
    }

    void Erase(std::uint32_t index) {
        if (index / 64 < words.size) words[index / 64] &= ~Bit(index);
    }

    [[nodiscard]] bool Contains(std::uint32_t index) const {
        return index / 64 < words.size && (words[index / 64] & Bit(index)) != 0;
    }

    void Clear() {
        for (std::uint64_t& word : words)
            word = 0;
        lowest = 0;
    }

    /// The lowest index; none in an empty set.
    [[nodiscard]] std::optional<std::uint32_t> First() {
        while (lowest < words.size && words[lowest] == 0)
            ++lowest;
        if (lowest >= words.size) return std::nullopt;
        return lowest * 64 + static_cast<std::uint32_t>(std::countr_zero(words[lowest]));
    }

    /// Calls `visit` with each index in rising order. `visit` may erase the index it is given.
    template <typename Visitor>
    void ForEach(const Visitor& visit) const {
        for (std::uint32_t w = 0; w < words.size; ++w)
            for (std::uint64_t left = words[w]; left != 0; left &= left - 1)
                visit(w * 64 + static_cast<std::uint32_t>(std::countr_zero(left)));
    }

private:
    static std::uint64_t Bit(std::uint32_t index) { return std::uint64_t{1} << (index % 64); }

    SegmentedVector<std::uint64_t> words;
    std::uint32_t lowest = 0;  // no word below it has a bit
};

}  // namespace hcml
