#pragma once

// From a gain to the coefficients of the shelving filters, by table, so that a gain that moves costs a square
// root and an index per step. The renderer has one set of tables, built with it and never changed; each
// reverb has one of its own, whose reference frequencies its effect sets. Owned and used by one thread;
// nothing here allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/gainramp.h"

namespace goal {

/// The one-pole low-pass y = a*x + b*y1. The low section subtracts it from its input.
struct FirstOrderRow {
    float a = 0;
    float b = 0;
};

/// The second-order Butterworth filter with w = x - b1*y1 - b2*y2 and the output a*(w + 2*y1 + y2) in the
/// high section, a*(w - 2*y1 + y2) in the low one. It is held as the delta operator needs it (Middleton and
/// Goodwin, 1986): far below the sample rate 1 + b1 + b2 is all that determines the cut-off, and the rounding
/// of b1 and b2 to floats would drown it. A refined stage runs the same filter by `k`, as two integrators,
/// whose state is of the signal and not of the row.
struct SecondOrderRow {
    float a = 0;
    float sum = 0;    ///< 1 + b1 + b2
    float slope = 0;  ///< -1 - b1
    float k = 0;      ///< the tangent of half the angle of the cut-off
};

/// Tables over the square root of the gain in 1024 steps: row i is for the gain ((i + 0.5) / 1024)² at the
/// reference frequency. Row 0 lets nothing through; row 1024 is for gain 1.
struct FilterGainTables : GainSlew {
    static constexpr std::uint32_t openRow = 1024;
    template <typename Row>
    using Table = std::array<Row, openRow + 1>;

    /// What a filter stage with these tables does beyond the formulas: a path that wakes starts with its
    /// shelves at their targets, a section that begins to close knows what came before, one that opens dies
    /// away, and the second order has its cut-off exactly where it is to be.
    bool isRefined = true;
    double hfReference = 5000;  ///< Hz
    double lfReference = 250;   ///< Hz
    Table<FirstOrderRow> hfFirstOrder;
    Table<FirstOrderRow> lfFirstOrder;
    Table<SecondOrderRow> hfSecondOrder;
    Table<SecondOrderRow> lfSecondOrder;
};

/// The angle per sample of a reference in Hz; one beyond 0.49 of the rate works as that one.
double ReferenceAngle(double frequency, double sampleRate);

/// The row for a linear gain: 1024 from 1 on, 0 for what is negative or not a number.
std::uint32_t FilterRowIndex(float gain);

/// Fills everything, with references of 5000 Hz and 250 Hz. With `firstOrderOnly` the second-order tables
/// keep what they hold. `sampleRate` in Hz, above 0.
void buildFilterTables(FilterGainTables& tables, double sampleRate, bool firstOrderOnly,
                       bool isRefined = true);

/// Rebuilds the high tables for a reference frequency in Hz, above 0. A reference beyond 0.49 of the rate
/// works as that one.
void setHFReference(FilterGainTables& tables, double frequency, bool firstOrderOnly, double sampleRate);

/// Rebuilds the low tables, by the same rules.
void setLFReference(FilterGainTables& tables, double frequency, bool firstOrderOnly, double sampleRate);

}  // namespace goal
