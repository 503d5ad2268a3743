#include "numeric/matrixoperations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "numeric/matrixexceptions.h"
#include "tests/support/failure.h"

namespace hcml {
namespace {

using Matrix = GenericMatrix<double, 1>;

Matrix Of(std::uint32_t rows, std::uint32_t columns, const std::vector<double>& values) {
    Matrix matrix(rows, columns);
    std::copy(values.begin(), values.end(), matrix.begin());
    return matrix;
}

// What it is otherwise is tested with the basis of the bus.
TEST(Inverse, OfAPermutation_IsItsTranspose) {
    const Matrix permutation = Of(4, 4, {0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0});
    EXPECT_EQ(inverse(permutation, 1e-10), transpose(permutation));
}

TEST(Inverse, OfASingularMatrixOrOneThatIsNotSquare_IsRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Matrix& singular :
         {Of(1, 1, {nan}), Of(2, 2, {1e-7, 1, -1e-6, 2}), Of(3, 3, {1, 2, 3, 4, 5, 9, 7, 8, 15})})
        EXPECT_THROW(inverse(singular, 1e-6), ZeroDeterminantException);
    EXPECT_EQ(testing_support::Failure<slib::MathematicalException>([] { inverse(Matrix(2, 3), 1e-10); }),
              "Only a square matrix can have an inverse, and this one has 2 rows and 3 columns.");
}

TEST(Subtract, OfUnequalSizes_IsRefused) {
    GenericVector<std::complex<double>, 1> vector{{1, 2}, {3, 4}};
    EXPECT_THROW(subtract(vector, {{1, 1}}), slib::BadParameterException);
}

}  // namespace
}  // namespace hcml
