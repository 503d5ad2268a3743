#pragma once

// The growing array of the whole program: a GenericMatrix of one column, with the same rules of ownership,
// failure and Plain. The growth rule is a promise to the caller: powers of two, as append says.

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>

#include "numeric/genericmatrix.h"

namespace hcml {

/// `columns` is 1 from construction on, and `rows` is `size`.
template <typename T, int Plain>
class GenericVector : public GenericMatrix<T, Plain> {
    using Base = GenericMatrix<T, Plain>;

public:
    using Base::capacity;
    using Base::data;
    using Base::size;

    GenericVector() { Base::columns = 1; }

    /// `count` new elements. Written with round brackets; braces list elements.
    explicit GenericVector(std::uint32_t count) : Base(count, 1) {}

    GenericVector(std::initializer_list<T> values) : Base(Base::Count(values.size(), 1), 1) {
        Base::CopyElements(values.begin(), values.size(), data);
    }

    /// Discards: when the count changes all elements are new and `capacity` is the count; `data` is null for
    /// 0. The same count keeps everything, allocates nothing and never throws.
    void resize(std::uint32_t count) { Base::resize(count, 1); }

    /// Keeps the first elements; those beyond the old count become `fill`, which may be an element of this
    /// vector. A new count sets a `capacity` of just that count.
    void resizePreserving(std::uint32_t count, const T& fill) { Base::resizePreserving(count, 1, fill); }

    /// Adds one element, which may be one of this vector. A full vector grows to the smallest power of two
    /// above `size`: 0 to 1, 1 to 2, 2 and 3 to 4, 4 to 8.
    void append(const T& value) { AppendValue(value); }
    void append(T&& value) { AppendValue(std::move(value)); }

    /// Adds the elements of `other`, which may be this vector. With s the new size: a `capacity` of s or less
    /// becomes the smallest power of two that holds s. Two empty vectors stay without memory.
    void appendAll(const GenericVector& other) {
        const std::uint32_t added = other.size;
        const std::uint32_t total = Base::Count(std::uint64_t{size} + added, 1);
        if (total == 0) return;
        const std::uint32_t grown = capacity <= total ? PowerOfTwoAtLeast(total) : capacity;
        if (grown == capacity) {
            Base::CopyElements(other.data, added, data + size);
            return SetSize(total);
        }
        std::unique_ptr<T[]> block = Base::Allocate(grown);
        Base::CopyElements(other.data, added, block.get() + size);
        Base::MoveElements(data, size, block.get());
        Base::Adopt(std::move(block), total, 1, grown);
    }

private:
    static std::uint32_t PowerOfTwoAtLeast(std::uint64_t count) {
        return Base::Count(std::bit_ceil(count), 1);
    }

    void SetSize(std::uint32_t count) {
        size = count;
        Base::rows = count;
    }

    template <typename Value>
    void AppendValue(Value&& value) {
        const std::uint32_t total = Base::Count(std::uint64_t{size} + 1, 1);
        if (size < capacity) {
            data[size] = std::forward<Value>(value);
            return SetSize(total);
        }
        const std::uint32_t grown = PowerOfTwoAtLeast(total);
        std::unique_ptr<T[]> block = Base::Allocate(grown);
        block[size] = std::forward<Value>(value);  // first, for it may be one of the elements that move now
        Base::MoveElements(data, size, block.get());
        Base::Adopt(std::move(block), total, 1, grown);
    }
};

}  // namespace hcml
