#pragma once

// Places in the listening room, and how documents hold them. Used when documents are read and written.

#include "numeric/vect3d.h"
#include "slib/sxml.h"

namespace orb3 {

/// A place in metres, or a direction: x is ahead of the listener, y to the left, z up.
using Location = hcml::Vect3D;

/// Reads the attributes "X", "Y" and "Z" of `node`. The coordinates are always finite. Throws
/// slib::BadXMLException when one is missing.
Location ReadLocation(const slib::SXMLNode& node);

/// Sets the attributes "X", "Y" and "Z" of `node`, with ten significant digits.
void WriteLocation(const Location& location, slib::SXMLNode& node);

}  // namespace orb3
