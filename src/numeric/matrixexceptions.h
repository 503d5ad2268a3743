#pragma once

// The failures of the matrix operations. Thrown by numeric/matrixoperations.h to the set-up of a decoder, on
// the caller's thread.

#include "slib/exception.h"

namespace hcml {

/// A matrix does not fit the operation that was asked of it.
class MatrixException : public slib::MathematicalException {
public:
    using MathematicalException::MathematicalException;
};

/// A matrix is singular, or so near to it that no element above the tolerance was left to pivot on.
class ZeroDeterminantException : public MatrixException {
public:
    using MatrixException::MatrixException;
};

}  // namespace hcml
