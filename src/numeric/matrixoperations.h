#pragma once

// The linear algebra that the decoder's set-up needs, on the one numeric matrix, GenericMatrix<double, 1>.
// Called on the server's thread before the first block; nothing here is for use inside a block.

#include <complex>

#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"

namespace hcml {

/// Fills the matrix with 0 and puts 1 on its diagonal, of length min(rows, columns).
void identity(GenericMatrix<double, 1>& matrix);

/// A new matrix of `columns` by `rows`. Throws slib::OutOfMemoryException.
GenericMatrix<double, 1> transpose(const GenericMatrix<double, 1>& matrix);

/// The inverse, by Gauss-Jordan elimination. The pivot of a column is the first element at or below the
/// diagonal whose magnitude exceeds `tolerance`, not the greatest one; elements at or below the tolerance
/// count as zero. Throws ZeroDeterminantException when a column has no pivot, MatrixException when the matrix
/// is not square, and slib::OutOfMemoryException.
GenericMatrix<double, 1> inverse(const GenericMatrix<double, 1>& matrix, double tolerance);

/// Multiplies every element by `factor`.
void scale(GenericMatrix<double, 1>& matrix, double factor);

/// Subtracts `other` from `vector`, element by element. Throws slib::BadParameterException when the sizes
/// differ.
void subtract(GenericVector<std::complex<double>, 1>& vector,
              const GenericVector<std::complex<double>, 1>& other);

/// Multiplies every element by the real `factor`.
void scale(GenericVector<std::complex<double>, 1>& vector, double factor);

}  // namespace hcml
