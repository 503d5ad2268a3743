#include "numeric/genericvector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace hcml {
namespace {

using Ints = std::vector<int>;

/// An element that shows when it was moved away.
struct Boxed {
    std::shared_ptr<int> number;
    Boxed(int number = 0) : number(std::make_shared<int>(number)) {}
    operator int() const { return number ? *number : -1; }
};

template <typename V>
void Expect(const V& vector, std::uint32_t capacity, const Ints& elements) {
    EXPECT_EQ(Ints(vector.begin(), vector.end()), elements);
    EXPECT_EQ(vector.rows, vector.size);
    EXPECT_EQ(vector.columns, 1u);
    EXPECT_EQ(vector.capacity, capacity);
}

/// Elements that are brought over by memcpy, and elements that are moved. Counted, below, is copied.
template <typename V>
class Containers : public testing::Test {};
using ContainerTypes = testing::Types<GenericVector<int, 1>, GenericVector<Boxed, 0>>;
TYPED_TEST_SUITE(Containers, ContainerTypes);

TYPED_TEST(Containers, Append_GrowsToThePowerOfTwoThatHoldsAll) {
    TypeParam vector;
    vector.appendAll(vector);
    Expect(vector, 0, {});
    vector.appendAll({0, 1, 2});
    Expect(vector, 4, {0, 1, 2});
    vector.append(7);
    vector.append(vector[1]);  // an element of its own, while it grows
    Expect(vector, 8, {0, 1, 2, 7, 1});
    vector.appendAll(vector);
    Expect(vector, 16, {0, 1, 2, 7, 1, 0, 1, 2, 7, 1});
}

TYPED_TEST(Containers, Resize_KeepsForTheSameCountDiscardsForAnotherAndPreservesWhenAsked) {
    TypeParam vector{0, 1, 2};
    vector.resize(3);
    vector.resizePreserving(5, vector[1]);
    Expect(vector, 5, {0, 1, 2, 1, 1});
    vector.resizePreserving(2, 9);
    Expect(vector, 2, {0, 1});
    vector.resize(7);
    EXPECT_EQ(vector.rows + vector.capacity, 14u);
    vector.resize(0);
    EXPECT_EQ(vector.data, nullptr);
}

TYPED_TEST(Containers, CopyAndMove_LeaveTwoOwners) {
    TypeParam vector{0, 1};
    vector.append(2);
    TypeParam copy(vector);
    EXPECT_EQ(copy, vector);
    copy[0] = 8;
    EXPECT_FALSE(copy == vector);
    TypeParam moved(std::move(vector));
    Expect(vector, 0, {});  // NOLINT(bugprone-use-after-move): a moved-from vector is an empty one
    vector = moved;
    vector = *&vector;
    Expect(vector, 3, {0, 1, 2});
    Expect(moved, 4, {0, 1, 2});
}

/// Can't be assigned once the budget is used up.
struct Refusing {
    static inline int budget = 0;
    int value = 0;

    Refusing() = default;
    Refusing(const Refusing&) = default;
    Refusing& operator=(const Refusing& other) {
        if (budget-- == 0) throw std::runtime_error("Used up.");
        value = other.value;
        return *this;
    }
};

TEST(GenericVector, WhereverAnElementRefuses_NothingChanges) {
    using Vector = GenericVector<Refusing, 0>;
    void (*const changes[])(Vector&, const Vector&) = {
        [](Vector& two, const Vector& three) { two.append(three[0]); },
        [](Vector& two, const Vector&) { two.appendAll(two); },
        [](Vector& two, const Vector& three) { two.resizePreserving(3, three[0]); },
        [](Vector& two, const Vector& three) { two = three; }};
    for (const auto change : changes)
        for (int budget = 0; budget < 3; ++budget) {
            Vector two(2);
            const Vector three(3);
            two[1].value = 11;
            Refusing::budget = budget;
            try {
                change(two, three);
                EXPECT_GT(budget, 0);
            } catch (const std::runtime_error&) {
                EXPECT_EQ(two.rows + two.capacity, 4u);
                EXPECT_EQ(two.data[1].value, 11);
            }
        }
}

TEST(GenericMatrix, MoreThanThereCanBe_IsOutOfMemoryAndChangesNothing) {
    GenericMatrix<char, 1> matrix(1, 1);
    matrix.fill('x');
    EXPECT_THROW(matrix.resizePreserving(0x10000, 0x10000, 'y'), slib::OutOfMemoryException);
    EXPECT_EQ(std::string(matrix.begin(), matrix.end()), "x");
}

TEST(GenericMatrix, ResizePreserving_KeepsTheOverlapInItsPlacesWhereResizeKeepsTheOrder) {
    GenericMatrix<int, 0> original(2, 3), matrix = original;
    std::iota(original.begin(), original.end(), 1);
    const auto resized = [&](std::uint32_t rows, std::uint32_t columns) {
        matrix = original;
        matrix.resizePreserving(rows, columns, 0);
        return Ints(matrix.begin(), matrix.end());
    };
    EXPECT_EQ(resized(3, 3), (Ints{1, 2, 3, 4, 5, 6, 0, 0, 0}));
    EXPECT_EQ(resized(2, 4), (Ints{1, 2, 3, 0, 4, 5, 6, 0}));
    EXPECT_EQ(resized(3, 2), (Ints{1, 2, 4, 5, 0, 0}));
    original.resize(3, 2);
    EXPECT_EQ(original(1, 1), 4);
    original.clear();
    EXPECT_EQ(original.rows + original.size + original.capacity, 0u);
    EXPECT_EQ(original.columns, 2u);
}

}  // namespace
}  // namespace hcml
