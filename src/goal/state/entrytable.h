#pragma once

// A table of a game's objects. A name is the place plus 1, so places stay: a deleted entry keeps its own and
// waits for the next new object, which takes the lowest one that is free.

#include <cstdint>
#include <optional>
#include <utility>

#include "numeric/indexset.h"
#include "numeric/segmentedvector.h"

namespace goal {

/// T has a flag `deleted`. Entries are added by append and Take and deleted by Delete, nothing else.
template <typename T>
class EntryTable : public hcml::SegmentedVector<T> {
    using Base = hcml::SegmentedVector<T>;

public:
    using Base::size;

    /// The place of the next new object.
    std::uint32_t NextPlace() { return free.First().value_or(size); }

    /// Puts `fresh` into the next place, and returns that. Throws slib::OutOfMemoryException and then changes
    /// nothing.
    std::uint32_t Take(T fresh) {
        const std::uint32_t place = NextPlace();
        if (place == size) {
            append(std::move(fresh));
        } else {
            (*this)[place] = std::move(fresh);
            free.Erase(place);
        }
        return place;
    }

    /// Adds an entry at the end. Throws slib::OutOfMemoryException and then changes nothing.
    void append(T value) {
        free.Reserve(size + 1);
        Base::append(std::move(value));
    }

    void Delete(std::uint32_t place) {
        (*this)[place].deleted = true;
        free.Insert(place);
    }

    /// Takes over which places are free from the same table of another record.
    void FollowDeleted(const EntryTable& other) { free = other.free; }

private:
    hcml::IndexSet free;  // the deleted ones
};

}  // namespace goal
