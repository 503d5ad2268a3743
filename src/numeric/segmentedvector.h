#pragma once

// A growing array whose elements stay where they are: it grows by segments, each as long as all before it,
// and moves nothing. So one thread may make room for more elements while another one works on those that it
// knows; what tells the other thread of the new ones (a lock, in this program) has to order the two.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "slib/exception.h"

namespace hcml {

template <typename T>
class SegmentedVector {
public:
    std::uint32_t size = 0;  ///< elements in use; there may be room for more

    SegmentedVector() = default;
    SegmentedVector(const SegmentedVector& other) { *this = other; }
    SegmentedVector& operator=(const SegmentedVector& other) {
        Reserve(other.size);
        for (std::uint32_t i = 0; i < other.size; ++i)
            (*this)[i] = other[i];
        size = other.size;
        return *this;
    }
    SegmentedVector(SegmentedVector&& other) noexcept
        : size(std::exchange(other.size, 0)), segments(std::move(other.segments)) {}
    SegmentedVector& operator=(SegmentedVector&& other) noexcept {
        size = std::exchange(other.size, 0);
        segments = std::move(other.segments);
        return *this;
    }
    ~SegmentedVector() = default;

    /// Makes room for `count` elements, which are as T() makes them; `size` stays. Throws
    /// slib::OutOfMemoryException and then leaves what there was.
    void Reserve(std::uint32_t count) {
        if (count == 0) return;
        std::size_t made = SegmentOf(count - 1) + 1;
        while (made > 0 && segments[made - 1] == nullptr)
            --made;
        for (; made <= SegmentOf(count - 1); ++made)
            segments[made] = Allocate(LengthOf(made));
    }

    /// Adds one element. Throws slib::OutOfMemoryException and then leaves what there was.
    void append(T value) {
        Reserve(size + 1);
        (*this)[size] = std::move(value);
        ++size;
    }

    /// An element that there is room for.
    T& operator[](std::uint32_t index) { return *Place(index); }
    const T& operator[](std::uint32_t index) const { return *Place(index); }

    /// Through the elements in use.
    template <typename Vector, typename Element>
    struct Walk {
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Element*;
        using reference = Element&;

        Vector* vector = nullptr;
        std::uint32_t index = 0;

        Element& operator*() const { return (*vector)[index]; }
        Walk& operator++() {
            ++index;
            return *this;
        }
        Walk operator++(int) { return {vector, index++}; }
        bool operator==(const Walk& other) const { return index == other.index; }
    };
    auto begin() { return Walk<SegmentedVector, T>{this, 0}; }
    auto end() { return Walk<SegmentedVector, T>{this, size}; }
    auto begin() const { return Walk<const SegmentedVector, const T>{this, 0}; }
    auto end() const { return Walk<const SegmentedVector, const T>{this, size}; }

private:
    static constexpr std::uint32_t first = 32;  // elements of the first segment, and of the second

    // 0 for the first `first` elements, then 1 for as many, 2 for twice as many, and so on.
    static std::size_t SegmentOf(std::uint32_t index) { return std::bit_width(index / first); }
    static std::uint32_t StartOf(std::size_t segment) { return segment == 0 ? 0 : first << (segment - 1); }
    static std::uint32_t LengthOf(std::size_t segment) { return std::max(StartOf(segment), first); }

    static std::unique_ptr<T[]> Allocate(std::uint32_t length) {
        try {
            return std::make_unique<T[]>(length);
        } catch (const std::bad_alloc&) {
            throw slib::OutOfMemoryException();
        }
    }

    T* Place(std::uint32_t index) const {
        const std::size_t segment = SegmentOf(index);
        return segments[segment].get() + (index - StartOf(segment));
    }

    std::array<std::unique_ptr<T[]>, 33 - std::bit_width(first) + 1> segments;
};

}  // namespace hcml
