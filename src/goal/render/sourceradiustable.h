#pragma once

// What the size of a source does to its sound field. A source of some radius reaches the listener from a
// range of directions, more so the nearer it is, and the higher orders of the field cancel out. The renderer
// builds the table once, for its order, and reads it on the audio thread.

#include <vector>

#include "slib/realtime.h"

namespace goal {

/// The gain of each order of the field by x = distance / radius. Row r is for ln x = (r - 161.5) / 32, so
/// that x runs from 0.0064 to 150.7. Column c holds order c: column 0 is 1 throughout, the others go from 0
/// in the first row to 1 in the last, and those from 3 on dip slightly below 0 for a listener inside the
/// source.
///
/// The values come from a few known rows. Between them column c is a function of s = x² / (x² + b) with
/// b = 0.45 c (c + 1) / 2, which is proportional to x² near the source, while 1 - s = b / x² far away, as the
/// gains themselves are. A cubic in s goes through (0, 0), the known rows and (1, 1). Its slope at a knot
/// follows from gain / s, which changes slowly, by a weighted harmonic mean over ln x (Fritsch and Butland,
/// 1984), and is held to what keeps the cubic monotone (Fritsch and Carlson, 1980); from the last known row
/// on it is 1. So a column has a continuous slope, turns nowhere but at a known row, and falls off as 1 - b /
/// x².
struct SourceRadiusTable {
    static constexpr unsigned rowCount = 323;

    unsigned columnCount;      ///< the order of the field plus 1
    std::vector<float> gains;  ///< rowCount × columnCount linear gains, row after row

    /// For orders 0 to 5; throws slib::IntegrityFailureException on a higher one.
    explicit SourceRadiusTable(unsigned order);

    /// Writes the gains at x to `columnCount` floats at `out`: two rows blended by ln x, or the first or last
    /// row beyond the ends; NaN counts as the former. Allocates nothing.
    void lookupRadiusGains(float x, float* out) const SLIB_NONBLOCKING;
};

}  // namespace goal
