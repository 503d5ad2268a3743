#include "numeric/floattuplevector.h"

#include <algorithm>
#include <utility>

namespace hcml {

FloatTupleVector::FloatTupleVector(std::uint32_t size)
    : size(size), tuples(static_cast<std::uint32_t>((std::uint64_t{size} + 3) / 4)) {
    block = AllocateAlignedFloats(std::uint64_t{tuples} * 4);
    data = block.get();
}

FloatTupleVector::FloatTupleVector(const FloatTupleVector& other) : FloatTupleVector(other.size) {
    std::copy_n(other.data, std::size_t{tuples} * 4, data);
}

FloatTupleVector::FloatTupleVector(FloatTupleVector&& other) noexcept {
    Swap(other);
}

FloatTupleVector& FloatTupleVector::operator=(const FloatTupleVector& other) {
    if (this == &other) return *this;
    resize(other.size);
    std::copy_n(other.data, std::size_t{tuples} * 4, data);
    return *this;
}

FloatTupleVector& FloatTupleVector::operator=(FloatTupleVector&& other) noexcept {
    FloatTupleVector taken(std::move(other));
    Swap(taken);
    return *this;
}

void FloatTupleVector::resize(std::uint32_t newSize) {
    if (newSize == size) return;
    FloatTupleVector fresh(newSize);
    Swap(fresh);
}

void FloatTupleVector::clear() {
    std::fill_n(data, std::size_t{tuples} * 4, 0.0f);
}

void FloatTupleVector::Swap(FloatTupleVector& other) noexcept {
    std::swap(size, other.size);
    std::swap(tuples, other.tuples);
    std::swap(data, other.data);
    std::swap(block, other.block);
}

}  // namespace hcml
