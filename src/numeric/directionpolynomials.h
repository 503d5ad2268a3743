#pragma once

// The weights with which a plane wave from one direction enters the channels of the spatial bus. Called by
// the renderer on the audio thread, once per source and block, and at set-up for channel arrays. Allocates
// nothing.

namespace hcml {

/// Writes the polynomials of the unit direction (X, Y, Z) up to `order`, 0 to 4, into the (order + 1)² values
/// at `e`. X is forward, Y left, Z up. They are plain products without normalisation, and a lower order is
/// the head of a higher one. With A = X² - Y²:
///
///     order 0    0       1
///     order 1    1-3     X, Y, Z
///     order 2    4-8     XY, A, XZ, YZ, Z²
///     order 3    9-15    X³ - 3XY², 3X²Y - Y³, XYZ, AZ, XZ², YZ², Z³
///     order 4    16-24   XYA, A² - 4X²Y², e[9]Z, e[10]Z, XYZ², AZ², XZ³, YZ³, Z⁴
///
/// The arithmetic is done in the precision of the arguments.
void directionPolynomials(float X, float Y, float Z, unsigned order, float* e);
void directionPolynomials(double X, double Y, double Z, unsigned order, float* e);
void directionPolynomials(double X, double Y, double Z, unsigned order, double* e);

}  // namespace hcml
