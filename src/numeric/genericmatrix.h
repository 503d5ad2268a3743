#pragma once

// The two-dimensional container of the whole program, and the base of GenericVector. It has no lock: one
// thread owns it, or it is filled before it is shared and then only read.
//
// Plain says how elements are copied: 1 for plain data, by memcpy; 0 for any type, by assignment. Elements
// need a default constructor. New elements are default-initialized, so numbers hold anything until written,
// while types that zero themselves (std::complex) are zero.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "slib/exception.h"

namespace hcml {

/// Elements are stored row after row: element (r, c) at r * columns + c.
///
/// The fields are public to be read. Only the elements at `data` may be written from outside; the shape
/// changes through the operations. Every operation that allocates throws slib::OutOfMemoryException when
/// memory runs out or a count passes 32 bits, lets pass what an element throws, and then leaves the container
/// as it was.
template <typename T, int Plain>
class GenericMatrix {
    static_assert(Plain == 0 || Plain == 1, "Plain is 0 or 1");

public:
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
    std::uint32_t size = 0;      ///< elements in use
    std::uint32_t capacity = 0;  ///< elements allocated
    T* data = nullptr;           ///< owned; null when nothing is allocated

    GenericMatrix() = default;

    /// `rows` by `columns` new elements.
    GenericMatrix(std::uint32_t rows, std::uint32_t columns) {
        const std::uint32_t count = Count(rows, columns);
        Adopt(Allocate(count), rows, columns, count);
    }

    /// A copy, with room for just the elements in use.
    GenericMatrix(const GenericMatrix& other) {
        std::unique_ptr<T[]> block = Allocate(other.size);
        CopyElements(other.data, other.size, block.get());
        Adopt(std::move(block), other.rows, other.columns, other.size);
    }

    /// Takes the block; `other` is left without elements and with its column count.
    GenericMatrix(GenericMatrix&& other) noexcept : columns(other.columns) { Swap(other); }

    /// Elements are assigned in place when the count is the same, so that equal shapes cost no allocation;
    /// what an element throws half-way then leaves those before it assigned.
    GenericMatrix& operator=(const GenericMatrix& other) {
        if (this == &other) return *this;
        if (size != other.size) {
            GenericMatrix copy(other);
            Swap(copy);
            return *this;
        }
        CopyElements(other.data, size, data);
        rows = other.rows;
        columns = other.columns;
        return *this;
    }

    GenericMatrix& operator=(GenericMatrix&& other) noexcept {
        GenericMatrix taken(std::move(other));
        Swap(taken);
        return *this;
    }

    virtual ~GenericMatrix() { delete[] data; }

    /// Discards: when the element count changes all elements are new and `capacity` is the count. The same
    /// count in another shape keeps the block and its contents, allocates nothing and never throws.
    void resize(std::uint32_t newRows, std::uint32_t newColumns) {
        const std::uint32_t count = Count(newRows, newColumns);
        if (count != size) return Adopt(Allocate(count), newRows, newColumns, count);
        rows = newRows;
        columns = newColumns;
    }

    /// Keeps the elements that both shapes have at their (r, c) places; the others become `fill`, which may
    /// be an element of this matrix. The same shape does nothing.
    void resizePreserving(std::uint32_t newRows, std::uint32_t newColumns, const T& fill) {
        if (newRows == rows && newColumns == columns) return;
        const std::uint32_t count = Count(newRows, newColumns);
        std::unique_ptr<T[]> block = Allocate(count);
        const bool sameColumns = newColumns == columns;  // then both are one long row
        Rearrange(fill, block.get(), sameColumns ? Shape{1, size} : Shape{rows, columns},
                  sameColumns ? Shape{1, count} : Shape{newRows, newColumns});
        Adopt(std::move(block), newRows, newColumns, count);
    }

    /// Frees the block. `columns` stays.
    void clear() { Adopt(nullptr, 0, columns, 0); }

    /// Assigns `value`, which may be an element, to every element in use.
    void fill(const T& value) { std::fill(begin(), end(), T(value)); }

    T& operator[](std::size_t index) {
        assert(index < size);
        return data[index];
    }
    const T& operator[](std::size_t index) const {
        assert(index < size);
        return data[index];
    }

    T& operator()(std::size_t row, std::size_t column) {
        assert(row < rows && column < columns);
        return data[row * columns + column];
    }
    const T& operator()(std::size_t row, std::size_t column) const {
        assert(row < rows && column < columns);
        return data[row * columns + column];
    }

    T* begin() { return data; }
    T* end() { return data + size; }
    const T* begin() const { return data; }
    const T* end() const { return data + size; }

    /// Same shape and equal elements.
    bool operator==(const GenericMatrix& other) const {
        return rows == other.rows && columns == other.columns && std::equal(begin(), end(), other.begin());
    }

protected:
    /// The product, or slib::OutOfMemoryException when it passes 32 bits.
    static std::uint32_t Count(std::uint64_t rows, std::uint64_t columns) {
        const std::uint64_t count = rows * columns;
        if (count > std::numeric_limits<std::uint32_t>::max()) throw slib::OutOfMemoryException();
        return static_cast<std::uint32_t>(count);
    }

    /// `count` default-initialized elements; null for 0. Those built before one throws are destroyed.
    static std::unique_ptr<T[]> Allocate(std::uint32_t count) {
        static_assert(Plain == 0 || std::is_trivially_copyable_v<T>, "Plain 1 holds plain data only");
        if (count == 0) return nullptr;
        try {
            return std::unique_ptr<T[]>(new T[count]);
        } catch (const std::bad_alloc&) {
            throw slib::OutOfMemoryException();
        }
    }

    static void CopyElements(const T* from, std::size_t count, T* to) {
        if constexpr (Plain == 1) {
            // NOLINTNEXTLINE(bugprone-sizeof-expression): a T may be a pointer
            if (count != 0) std::memmove(static_cast<void*>(to), from, count * sizeof(T));
        } else {
            std::copy_n(from, count, to);
        }
    }

    /// Brings the elements of the old block over. Copies where a move could throw half-way, for the old block
    /// must then still be whole.
    static void MoveElements(T* from, std::size_t count, T* to) {
        if constexpr (Plain == 1) {
            CopyElements(from, count, to);
        } else if constexpr (std::is_nothrow_move_assignable_v<T> || !std::is_copy_assignable_v<T>) {
            std::move(from, from + count, to);
        } else {
            std::copy_n(from, count, to);
        }
    }

    struct Shape {
        std::size_t rows, columns;
    };

    /// Fills `block`, of shape `to`, from `data`, read as of shape `from`, and from `fill`. Elements move
    /// last, for `fill` may be one of them.
    void Rearrange(const T& fill, T* block, Shape from, Shape to) {
        const std::size_t keptRows = std::min(from.rows, to.rows);
        const std::size_t keptColumns = std::min(from.columns, to.columns);
        for (std::size_t row = 0; row < to.rows; ++row) {
            T* line = block + row * to.columns;
            std::fill(line + (row < keptRows ? keptColumns : 0), line + to.columns, fill);
        }
        for (std::size_t row = 0; row < keptRows; ++row) {
            MoveElements(data + row * from.columns, keptColumns, block + row * to.columns);
        }
    }

    /// Frees the current block and takes `block`, of `newCapacity` elements.
    void Adopt(std::unique_ptr<T[]> block, std::uint32_t newRows, std::uint32_t newColumns,
               std::uint32_t newCapacity) {
        const std::unique_ptr<T[]> old(std::exchange(data, block.release()));
        rows = newRows;
        columns = newColumns;
        size = newRows * newColumns;
        capacity = newCapacity;
    }

    void Swap(GenericMatrix& other) noexcept {
        std::swap(rows, other.rows);
        std::swap(columns, other.columns);
        std::swap(size, other.size);
        std::swap(capacity, other.capacity);
        std::swap(data, other.data);
    }
};

}  // namespace hcml
