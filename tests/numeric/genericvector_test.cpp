#include "numeric/genericvector.h"

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "numeric/genericmatrix.h"

namespace hcml {
namespace {

/// Counts its living objects; refuses construction or copying once the budget of that is used up.
struct Counted {
    static inline int alive = 0, constructions = 1000, copies = 1000;

    int value = 0;

    Counted() {
        if (constructions-- == 0) throw std::runtime_error("No more constructions.");
        ++alive;
    }
    Counted(const Counted& other) : value(other.value) { ++alive; }
    Counted& operator=(const Counted& other) {
        if (copies-- == 0) throw std::runtime_error("No more copies.");
        value = other.value;
        return *this;
    }
    ~Counted() { --alive; }

    static void Allow(int newConstructions, int newCopies) {
        constructions = newConstructions;
        copies = newCopies;
    }
};

Counted Of(int value) {
    Counted counted;
    counted.value = value;
    return counted;
}

/// One type for each way in which elements are brought over: memcpy, assignment, move.
template <typename V>
class Containers : public testing::Test {
protected:
    using T = std::remove_pointer_t<decltype(V::data)>;

    static T Make(int value) {
        if constexpr (std::is_same_v<T, std::string>) {
            return "an element too long to stand in the string itself: " + std::to_string(value);
        } else {
            return T(value);
        }
    }

    static V Counting(std::uint32_t count) {
        V vector(count);
        for (std::uint32_t i = 0; i < count; ++i)
            vector[i] = Make(static_cast<int>(i));
        return vector;
    }

    static void ExpectElements(const V& vector, const std::vector<int>& expected) {
        ASSERT_EQ(vector.size, expected.size());
        EXPECT_EQ(vector.rows, vector.size);
        EXPECT_EQ(vector.columns, 1u);
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(vector[i], Make(expected[i])) << i;
    }
};

using ContainerTypes = testing::Types<GenericVector<int, 0>, GenericVector<int, 1>,
                                      GenericVector<std::string, 0>, GenericVector<std::complex<double>, 1>>;
TYPED_TEST_SUITE(Containers, ContainerTypes);

TYPED_TEST(Containers, Append_GrowsToThePowerOfTwoAboveTheSize) {
    TypeParam vector;
    std::vector<std::uint32_t> capacities;
    for (int i = 0; i < 9; ++i) {
        vector.append(this->Make(i));
        capacities.push_back(vector.capacity);
    }
    EXPECT_EQ(capacities, (std::vector<std::uint32_t>{1, 2, 4, 4, 8, 8, 8, 8, 16}));
    this->ExpectElements(vector, {0, 1, 2, 3, 4, 5, 6, 7, 8});

    TypeParam sized = this->Counting(3);
    EXPECT_EQ(sized.capacity, 3u);
    sized.append(this->Make(9));
    EXPECT_EQ(sized.capacity, 4u);
    this->ExpectElements(sized, {0, 1, 2, 9});
}

TYPED_TEST(Containers, Append_OfAnOwnElement_AddsItsValue) {
    TypeParam vector = this->Counting(4);
    vector.append(vector[1]);
    vector.append(vector[2]);
    this->ExpectElements(vector, {0, 1, 2, 3, 1, 2});
}

TYPED_TEST(Containers, AppendAll_GrowsToThePowerOfTwoThatHoldsTheSum) {
    struct Case {
        std::uint32_t first, second, capacity;
    };
    for (const Case& c :
         {Case{0, 0, 0}, Case{0, 1, 1}, Case{3, 0, 4}, Case{3, 1, 4}, Case{3, 2, 8}, Case{5, 11, 16}}) {
        TypeParam vector = this->Counting(c.first);
        vector.appendAll(this->Counting(c.second));
        EXPECT_EQ(vector.capacity, c.capacity) << c.first << " and " << c.second;
        std::vector<int> expected(c.first + c.second);
        std::iota(expected.begin(), expected.begin() + c.first, 0);
        std::iota(expected.begin() + c.first, expected.end(), 0);
        this->ExpectElements(vector, expected);
    }
    TypeParam itself = this->Counting(2);
    itself.appendAll(itself);
    itself.append(this->Make(7));
    itself.appendAll(TypeParam());
    this->ExpectElements(itself, {0, 1, 0, 1, 7});
}

TYPED_TEST(Containers, Resize_DiscardsUnlessTheCountStays) {
    TypeParam vector = this->Counting(3);
    const auto* block = vector.data;
    vector.resize(3);
    EXPECT_EQ(vector.data, block);
    this->ExpectElements(vector, {0, 1, 2});
    vector.append(this->Make(3));
    vector.append(this->Make(4));
    vector.resize(7);
    EXPECT_EQ(vector.size, 7u);
    EXPECT_EQ(vector.rows, 7u);
    EXPECT_EQ(vector.capacity, 7u);
    vector.resize(0);
    EXPECT_EQ(vector.data, nullptr);
    EXPECT_EQ(vector.capacity, 0u);
}

TYPED_TEST(Containers, ResizePreserving_KeepsTheFirstAndFillsTheRest) {
    TypeParam vector = this->Counting(3);
    vector.resizePreserving(5, vector[1]);
    EXPECT_EQ(vector.capacity, 5u);
    this->ExpectElements(vector, {0, 1, 2, 1, 1});
    vector.resizePreserving(2, this->Make(9));
    EXPECT_EQ(vector.capacity, 2u);
    this->ExpectElements(vector, {0, 1});
}

TYPED_TEST(Containers, CopyAndMove_LeaveTwoOwners) {
    TypeParam vector = this->Counting(3);
    vector.append(this->Make(3));
    vector.append(this->Make(4));
    TypeParam copy(vector);
    EXPECT_EQ(copy.capacity, 5u);
    EXPECT_EQ(copy, vector);
    copy[0] = this->Make(8);
    this->ExpectElements(vector, {0, 1, 2, 3, 4});

    const auto* block = vector.data;
    TypeParam moved(std::move(vector));
    EXPECT_EQ(moved.data, block);
    this->ExpectElements(moved, {0, 1, 2, 3, 4});
    this->ExpectElements(vector, {});  // NOLINT(bugprone-use-after-move): a moved-from vector is an empty one
    vector = this->Counting(2);
    vector = moved;
    vector = *&vector;
    this->ExpectElements(vector, {0, 1, 2, 3, 4});
    vector.clear();
    this->ExpectElements(vector, {});
}

class Failures : public testing::Test {
protected:
    Failures() { Counted::Allow(1000, 1000); }
    ~Failures() override { EXPECT_EQ(Counted::alive, 0); }

    static GenericVector<Counted, 0> Two() {
        GenericVector<Counted, 0> vector(2);
        vector[0].value = 10;
        vector[1].value = 11;
        return vector;
    }

    /// Runs `change` on a vector of 10, 11 with so many operations of elements left; it must throw and change
    /// nothing.
    template <typename Change>
    static void ExpectThrowThatChangesNothing(int constructions, int copies, Change change) {
        GenericVector<Counted, 0> vector = Two();
        Counted extra = Of(12);
        Counted::Allow(constructions, copies);
        EXPECT_THROW(change(vector, extra), std::runtime_error);
        Counted::Allow(1000, 1000);
        ASSERT_EQ(vector.size, 2u);
        EXPECT_EQ(vector.rows, 2u);
        EXPECT_EQ(vector.capacity, 2u);
        EXPECT_EQ(vector[0].value, 10);
        EXPECT_EQ(vector[1].value, 11);
        EXPECT_EQ(Counted::alive, 3);
    }
};

TEST_F(Failures, Construction_ThatAnElementRefuses_DestroysThoseBuilt) {
    Counted::Allow(5, 0);
    EXPECT_THROW((GenericVector<Counted, 0>(6)), std::runtime_error);
    Counted::Allow(5, 0);
    EXPECT_THROW((GenericMatrix<Counted, 0>(2, 3)), std::runtime_error);
}

TEST_F(Failures, Growth_ThatAnElementRefuses_ChangesNothing) {
    using Vector = GenericVector<Counted, 0>;
    for (const auto& [constructions, copies] : {std::pair{1, 9}, {9, 0}, {9, 1}, {9, 2}}) {
        ExpectThrowThatChangesNothing(constructions, copies,
                                      [](Vector& v, const Counted& x) { v.append(x); });
        ExpectThrowThatChangesNothing(constructions, copies,
                                      [](Vector& v, const Counted&) { v.appendAll(v); });
        ExpectThrowThatChangesNothing(constructions, copies,
                                      [](Vector& v, const Counted& x) { v.resizePreserving(3, x); });
    }
    ExpectThrowThatChangesNothing(2, 0, [](Vector& v, const Counted&) { v.resize(3); });
    ExpectThrowThatChangesNothing(9, 2, [](Vector& v, const Counted&) {
        Vector three(3);
        v = three;
    });
}

TEST_F(Failures, CountBeyond32Bits_IsOutOfMemoryAndChangesNothing) {
    GenericMatrix<char, 1> matrix(2, 2);
    matrix.fill('x');
    EXPECT_THROW((GenericMatrix<char, 1>(0x10000, 0x10000)), slib::OutOfMemoryException);
    EXPECT_THROW(matrix.resize(0x80000001, 2), slib::OutOfMemoryException);
    EXPECT_THROW(matrix.resizePreserving(0xFFFFFFFF, 0xFFFFFFFF, 'y'), slib::OutOfMemoryException);
    EXPECT_EQ(std::string(matrix.begin(), matrix.end()), "xxxx");
}

TEST_F(Failures, MoreBytesThanThereCanBe_IsOutOfMemoryAndChangesNothing) {
    struct Large {
        char bytes[std::size_t{1} << 32];
    };
    GenericVector<Large, 1> plain;
    GenericVector<Large, 0> constructed;
    EXPECT_THROW(plain.resize(0xFFFFFFFF), slib::OutOfMemoryException);
    EXPECT_THROW(constructed.resize(0xFFFFFFFF), slib::OutOfMemoryException);
    EXPECT_THROW((GenericMatrix<Large, 1>(0x8000, 0x10000)), slib::OutOfMemoryException);
    EXPECT_EQ(plain.size, 0u);
    EXPECT_EQ(constructed.data, nullptr);
}

TEST(GenericVector, OfTypesThatOnlyMove_Grows) {
    GenericVector<std::unique_ptr<int>, 0> vector;
    for (int i = 0; i < 5; ++i)
        vector.append(std::make_unique<int>(i));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(*vector[static_cast<std::size_t>(i)], i);
}

TEST(GenericVector, OfVectors_CopiesDeeply) {
    GenericVector<GenericVector<double, 1>, 0> rows{{1, 2}, {3}};
    auto copy = rows;
    rows[0][1] = 7;
    EXPECT_EQ(copy[0], (GenericVector<double, 1>{1, 2}));
    EXPECT_FALSE(copy == rows);
}

struct Reshape {
    std::uint32_t rows, columns;
    std::vector<int> expected;
};

class MatrixResizePreserving : public testing::TestWithParam<Reshape> {};

TEST_P(MatrixResizePreserving, KeepsTheOverlapInItsPlaces) {
    GenericMatrix<int, 1> plain(2, 3);
    std::iota(plain.begin(), plain.end(), 1);
    GenericMatrix<int, 0> constructed(2, 3);
    std::iota(constructed.begin(), constructed.end(), 1);
    plain.resizePreserving(GetParam().rows, GetParam().columns, 0);
    constructed.resizePreserving(GetParam().rows, GetParam().columns, 0);
    EXPECT_EQ(std::vector<int>(plain.begin(), plain.end()), GetParam().expected);
    EXPECT_EQ(std::vector<int>(constructed.begin(), constructed.end()), GetParam().expected);
    EXPECT_EQ(plain.rows, GetParam().rows);
    EXPECT_EQ(plain.columns, GetParam().columns);
    EXPECT_EQ(plain.size, GetParam().expected.size());
}

INSTANTIATE_TEST_SUITE_P(Shapes, MatrixResizePreserving,
                         testing::Values(Reshape{2, 3, {1, 2, 3, 4, 5, 6}}, Reshape{1, 3, {1, 2, 3}},
                                         Reshape{3, 3, {1, 2, 3, 4, 5, 6, 0, 0, 0}},
                                         Reshape{2, 2, {1, 2, 4, 5}}, Reshape{2, 4, {1, 2, 3, 0, 4, 5, 6, 0}},
                                         Reshape{3, 2, {1, 2, 4, 5, 0, 0}}, Reshape{1, 4, {1, 2, 3, 0}},
                                         Reshape{0, 3, {}}));

TEST(GenericMatrix, Resize_ToTheSameCount_KeepsTheDataInANewShape) {
    GenericMatrix<float, 1> matrix(2, 6);
    std::iota(matrix.begin(), matrix.end(), 0.0f);
    const float* block = matrix.data;
    matrix.resize(3, 4);
    EXPECT_EQ(matrix.data, block);
    EXPECT_EQ(matrix(2, 3), 11.0f);
    EXPECT_EQ(matrix(1, 0), 4.0f);
}

TEST(GenericMatrix, Clear_FreesAndKeepsTheColumns) {
    GenericMatrix<float, 1> matrix(2, 6);
    matrix.clear();
    EXPECT_EQ(matrix.data, nullptr);
    EXPECT_EQ(matrix.rows + matrix.size + matrix.capacity, 0u);
    EXPECT_EQ(matrix.columns, 6u);
}

}  // namespace
}  // namespace hcml
