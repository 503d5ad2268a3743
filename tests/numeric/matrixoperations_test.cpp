#include "numeric/matrixoperations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "numeric/matrixexceptions.h"

namespace hcml {
namespace {

using Matrix = GenericMatrix<double, 1>;

Matrix Of(std::uint32_t rows, std::uint32_t columns, std::initializer_list<double> values) {
    Matrix matrix(rows, columns);
    std::copy(values.begin(), values.end(), matrix.begin());
    return matrix;
}

/// The greatest deviation of a * b from the identity.
double DistanceFromIdentity(const Matrix& a, const Matrix& b) {
    double worst = 0;
    for (std::uint32_t r = 0; r < a.rows; ++r) {
        for (std::uint32_t c = 0; c < b.columns; ++c) {
            double sum = r == c ? -1 : 0;
            for (std::uint32_t k = 0; k < a.columns; ++k)
                sum += a(r, k) * b(k, c);
            worst = std::max(worst, std::abs(sum));
        }
    }
    return worst;
}

/// Uniform noise in -1 to 1 with a dominant diagonal, rows then shuffled when asked.
Matrix WellConditioned(std::uint32_t size, bool shuffled, std::mt19937& random) {
    std::uniform_real_distribution<double> uniform(-1, 1);
    std::vector<std::uint32_t> order(size);
    for (std::uint32_t i = 0; i < size; ++i)
        order[i] = i;
    if (shuffled) std::shuffle(order.begin(), order.end(), random);
    Matrix matrix(size, size);
    for (std::uint32_t r = 0; r < size; ++r) {
        for (std::uint32_t c = 0; c < size; ++c) {
            matrix(order[r], c) = r == c ? 2.0 * size : uniform(random);
        }
    }
    return matrix;
}

class Inverse : public testing::TestWithParam<std::uint32_t> {};

TEST_P(Inverse, TimesTheMatrix_IsTheIdentity) {
    std::mt19937 random(GetParam());
    for (const bool shuffled : {false, true}) {
        const Matrix matrix = WellConditioned(GetParam(), shuffled, random);
        const Matrix result = inverse(matrix, 1e-12);
        // The first usable pivot may be as small as noise gets, which costs some digits on shuffled matrices.
        EXPECT_LT(DistanceFromIdentity(matrix, result), shuffled ? 1e-9 : 1e-13);
        EXPECT_LT(DistanceFromIdentity(result, matrix), shuffled ? 1e-9 : 1e-13);
    }
}

TEST_P(Inverse, OfAPermutation_IsItsTransposeExactly) {
    std::mt19937 random(GetParam());
    Matrix permutation(GetParam(), GetParam());
    permutation.fill(0);
    std::vector<std::uint32_t> order(GetParam());
    for (std::uint32_t i = 0; i < GetParam(); ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), random);
    for (std::uint32_t i = 0; i < GetParam(); ++i)
        permutation(i, order[i]) = 1;
    EXPECT_EQ(inverse(permutation, 1e-10), transpose(permutation));
}

INSTANTIATE_TEST_SUITE_P(Sizes, Inverse, testing::Values(1, 2, 3, 4, 9, 16, 25, 40));

struct Singular {
    const char* name;
    std::uint32_t size;
    std::vector<double> values;
};

class SingularMatrix : public testing::TestWithParam<Singular> {};

TEST_P(SingularMatrix, HasNoInverse) {
    Matrix matrix(GetParam().size, GetParam().size);
    std::copy(GetParam().values.begin(), GetParam().values.end(), matrix.begin());
    try {
        inverse(matrix, 1e-6);
        FAIL();
    } catch (const ZeroDeterminantException& e) {
        EXPECT_STREQ(e.what(), "Matrix has no inverse.");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SingularMatrix,
    testing::Values(Singular{"Zero", 1, {0}}, Singular{"ZeroFirstColumn", 2, {0, 1, 0, 2}},
                    Singular{"FirstColumnBelowTolerance", 2, {1e-7, 1, -1e-6, 2}},
                    Singular{"EqualRows", 3, {1, 2, 3, 4, 5, 6, 1, 2, 3}},
                    Singular{"DependentColumns", 3, {1, 2, 3, 4, 5, 9, 7, 8, 15}},
                    Singular{"NotANumber", 1, {std::numeric_limits<double>::quiet_NaN()}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(MatrixOperations, Inverse_OfFour_IsAQuarter) {
    EXPECT_EQ(inverse(Of(1, 1, {4}), 1e-10), Of(1, 1, {0.25}));
    EXPECT_EQ(inverse(Matrix(), 1e-10).size, 0u);
}

TEST(MatrixOperations, Inverse_OfAMatrixThatIsNotSquare_NamesItsShape) {
    try {
        inverse(Matrix(2, 3), 1e-10);
        FAIL();
    } catch (const slib::MathematicalException& e) {
        EXPECT_STREQ(e.what(),
                     "Only a square matrix can have an inverse, and this one has 2 rows and 3 columns.");
    }
}

TEST(MatrixOperations, ShapesThatAreNotSquare_TransposeAndTakeAnIdentity) {
    Matrix matrix = Of(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(transpose(matrix), Of(3, 2, {1, 4, 2, 5, 3, 6}));
    scale(matrix, -2);
    EXPECT_EQ(matrix, Of(2, 3, {-2, -4, -6, -8, -10, -12}));
    identity(matrix);
    EXPECT_EQ(matrix, Of(2, 3, {1, 0, 0, 0, 1, 0}));
}

TEST(MatrixOperations, ComplexVectors_SubtractAndScale) {
    GenericVector<std::complex<double>, 1> vector{{1, 2}, {3, 4}};
    subtract(vector, {{0.5, 1}, {-1, 0}});
    scale(vector, 2.0);
    EXPECT_EQ(vector, (GenericVector<std::complex<double>, 1>{{1, 2}, {8, 8}}));
    EXPECT_THROW(subtract(vector, {{1, 1}}), slib::BadParameterException);
}

}  // namespace
}  // namespace hcml
