#include "numeric/matrixoperations.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "numeric/matrixexceptions.h"

namespace hcml {
namespace {

using Matrix = GenericMatrix<double, 1>;

// row `target` += factor * row `source`, from column `first` on.
void AddRow(Matrix& matrix, std::uint32_t target, std::uint32_t source, double factor, std::uint32_t first) {
    for (std::uint32_t c = first; c < matrix.columns; ++c)
        matrix(target, c) += factor * matrix(source, c);
}

void SwapRows(Matrix& matrix, std::uint32_t a, std::uint32_t b) {
    if (a == b) return;
    double* rowA = matrix.data + std::size_t{a} * matrix.columns;
    std::swap_ranges(rowA, rowA + matrix.columns, matrix.data + std::size_t{b} * matrix.columns);
}

std::uint32_t FindPivot(const Matrix& a, std::uint32_t column, double tolerance) {
    for (std::uint32_t row = column; row < a.rows; ++row) {
        if (std::abs(a(row, column)) > tolerance) return row;
    }
    throw ZeroDeterminantException("Matrix has no inverse.");
}

// Brings A to upper triangular form with a usable diagonal.
void EliminateForward(Matrix& a, Matrix& b, double tolerance) {
    for (std::uint32_t p = 0; p < a.columns; ++p) {
        const std::uint32_t pivot = FindPivot(a, p, tolerance);
        SwapRows(a, pivot, p);
        SwapRows(b, pivot, p);
        for (std::uint32_t q = p + 1; q < a.rows; ++q) {
            if (!(std::abs(a(q, p)) > tolerance)) continue;
            const double factor = -a(q, p) / a(p, p);
            a(q, p) = 0;
            AddRow(a, q, p, factor, p + 1);
            AddRow(b, q, p, factor, 0);
        }
    }
}

// Brings the diagonal of A to 1.
void Normalise(Matrix& a, Matrix& b) {
    for (std::uint32_t d = 0; d < a.rows; ++d) {
        const double diagonal = a(d, d);
        if (diagonal == 1) continue;
        for (std::uint32_t c = d + 1; c < a.columns; ++c)
            a(d, c) /= diagonal;
        for (std::uint32_t c = 0; c < b.columns; ++c)
            b(d, c) /= diagonal;
        a(d, d) = 1;
    }
}

// Clears all above the diagonal of A, from the last column on.
void SubstituteBack(Matrix& a, Matrix& b, double tolerance) {
    for (std::uint32_t c = a.columns; c-- > 1;) {
        for (std::uint32_t r = 0; r < c; ++r) {
            if (!(std::abs(a(r, c)) > tolerance)) continue;
            const double factor = -a(r, c);
            AddRow(a, r, c, factor, 0);
            AddRow(b, r, c, factor, 0);
            a(r, c) = 0;
        }
    }
}

}  // namespace

void identity(GenericMatrix<double, 1>& matrix) {
    matrix.fill(0.0);
    const std::uint32_t length = std::min(matrix.rows, matrix.columns);
    for (std::uint32_t d = 0; d < length; ++d)
        matrix(d, d) = 1;
}

GenericMatrix<double, 1> transpose(const GenericMatrix<double, 1>& matrix) {
    Matrix result(matrix.columns, matrix.rows);
    for (std::uint32_t r = 0; r < matrix.rows; ++r) {
        for (std::uint32_t c = 0; c < matrix.columns; ++c)
            result(c, r) = matrix(r, c);
    }
    return result;
}

GenericMatrix<double, 1> inverse(const GenericMatrix<double, 1>& matrix, double tolerance) {
    if (matrix.rows != matrix.columns) {
        throw MatrixException("Only a square matrix can have an inverse, and this one has " +
                              std::to_string(matrix.rows) + " rows and " + std::to_string(matrix.columns) +
                              " columns.");
    }
    Matrix a(matrix);
    Matrix b(matrix.rows, matrix.columns);
    identity(b);
    EliminateForward(a, b, tolerance);
    Normalise(a, b);
    SubstituteBack(a, b, tolerance);
    return b;
}

void scale(GenericMatrix<double, 1>& matrix, double factor) {
    for (double& element : matrix)
        element *= factor;
}

void subtract(GenericVector<std::complex<double>, 1>& vector,
              const GenericVector<std::complex<double>, 1>& other) {
    if (vector.size != other.size) {
        throw slib::BadParameterException("A vector of " + std::to_string(other.size) +
                                          " elements can't be subtracted from one of " +
                                          std::to_string(vector.size) + ".");
    }
    for (std::size_t i = 0; i < vector.size; ++i)
        vector[i] -= other[i];
}

void scale(GenericVector<std::complex<double>, 1>& vector, double factor) {
    for (std::complex<double>& element : vector)
        element *= factor;
}

}  // namespace hcml
