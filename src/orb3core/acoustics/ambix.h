#pragma once

// From the renderer's spatial bus to AmbiX, the form in which other programs exchange sound fields (Nachbar,
// Zotter, Deleflie and Sontacchi 2011): channels in the order of ACN, harmonics of SN3D.

#include "numeric/genericmatrix.h"

namespace orb3 {

/// The matrix that makes the (order + 1)² channels of AmbiX, one a row, of as many channels of the bus, one a
/// column. `order` is from 1 to 4. Throws slib::OutOfMemoryException.
hcml::GenericMatrix<float, 1> AmbixMatrix(unsigned order);

}  // namespace orb3
