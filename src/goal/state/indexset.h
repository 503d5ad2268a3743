#pragma once

// A set of table indices that is quick to walk when few of many are in it: one bit an index. Grows on
// insertion; walking and clearing allocate nothing. Owned by one thread at a time.

#include <bit>
#include <cstdint>

#include "numeric/genericvector.h"

namespace goal {

class IndexSet {
public:
    /// Throws slib::OutOfMemoryException, and then the set is as it was.
    void Insert(std::uint32_t index) {
        if (index / 64 >= words.size) words.resizePreserving(2 * (index / 64) + 1, 0);
        words[index / 64] |= Bit(index);
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

    hcml::GenericVector<std::uint64_t, 1> words;
};

}  // namespace goal
