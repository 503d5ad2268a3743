#pragma once

// From the spherical harmonics of the format library to the plain polynomials that the renderer's spatial bus
// carries. Called by the server once per transform, before the decoder is built; never on the audio thread.

#include "numeric/genericmatrix.h"
#include "orb3core/transform/timedomaintransform.h"

namespace orb3 {

/// The matrix M, 25 by 25, that writes the bus polynomials of hcml::directionPolynomials as sums of the
/// harmonics of FSAScheme: p[b] = the sum over c of M(b, c) Y[c]. No polynomial uses harmonics above its own
/// degree, so the matrix of a lower order is the top left corner.
hcml::GenericMatrix<double, 1> BusBasisMatrix();

/// Makes a transform whose inputs are the first channels of an FSAScheme one whose inputs are the first
/// channels of the bus, with the same outputs for the same sound field. Rate and window stay. Throws
/// slib::BadDataException when the transform isn't valid or has more than 25 inputs; it then stays as it was,
/// as it does with slib::OutOfMemoryException.
void convertTransformToBusBasis(strans::TimeDomainTransform<float, 1>& transform);

}  // namespace orb3
