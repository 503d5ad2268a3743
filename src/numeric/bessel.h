#pragma once

// Bessel functions of real order, their spherical kin, and the two series that they are often built from.
// Called when an acoustic model is evaluated, never on the audio thread. No state; usable from any thread.
// chebev and beschb are for whoever computes functions of other orders; bessjy has the standard library's.

#include <cstdint>

#include "slib/exception.h"

namespace hcml {

/// A Bessel function was asked for outside the range of the methods here.
class BesselJYFailedToConverge : public slib::MathematicalException {
public:
    using MathematicalException::MathematicalException;
};

}  // namespace hcml

namespace nrc {

/// The Chebyshev sum c[0] / 2 + c[1] T1(u) + ... + c[m - 1] T(m - 1)(u), with u the place of x in [a, b],
/// mapped to [-1, 1]. Summed by the recurrence of Clenshaw (1955). `coefficients` has `m` values, at least
/// one. Throws slib::BadParameterException when x is not in [a, b].
double chebev(double a, double b, const double* coefficients, std::uint32_t m, double x);

/// The gamma functions of the series of Temme (1975), for |x| up to 1/2, to the precision of double:
///
///     gampl = 1 / Gamma(1 + x)     gam1 = (gammi - gampl) / 2x, which at 0 is minus Euler's constant
///     gammi = 1 / Gamma(1 - x)     gam2 = (gammi + gampl) / 2
///
/// Throws slib::BadParameterException for any other x.
void beschb(double x, double& gam1, double& gam2, double& gampl, double& gammi);

/// The Bessel functions J and Y of order `xnu` at `x`, and their derivatives by x. What is too small for a
/// double is 0; where Y falls below every double, `ry` is minus and `ryp` plus infinity. Relative to the
/// amplitude of the oscillation the error stays below 1e-10 up to an x of 10,000 and grows with x from there.
///
/// Throws slib::BadParameterException unless x > 0 and xnu >= 0, and hcml::BesselJYFailedToConverge for an
/// infinite x, above an x of 1000 for an order over sqrt(20 x), and for orders so high, at the most 10,000,
/// that the intermediate values overflow.
void bessjy(double x, double xnu, double& rj, double& ry, double& rjp, double& ryp);

/// The spherical Bessel functions j and y of degree `n` at `x`, and their derivatives by x. All four carry
/// the factor 1.2533141 for sqrt(pi / 2), which is 3e-8 short. Throws what bessjy throws.
void sphericalBessel(std::uint32_t n, double x, double& sj, double& sy, double& sjp, double& syp);

}  // namespace nrc
