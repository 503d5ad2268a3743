#pragma once

// What this machine can do at best on one core, so that a benchmark can say how near it comes. Each is
// measured when first asked for, in some hundredths of a second. For the benchmark programs only, from one
// thread.

/// Measures all of them once more; of each the best counts. For a program that measures its loops over many
/// seconds, in which the others on the machine come and go.
void MeasureLimitsAgain();

/// Floating-point operations a second of single-precision products and sums that stay separate, one of each
/// in turn, at the widest vectors that there are and without touching memory.
double PeakMultiplyAddRate();

/// Bytes a second that a copy between two blocks of 16 KiB moves, both in the first-level cache. A byte that
/// is read and written counts once.
double CopyBandwidth();

/// Bytes a second that aligned loads of the widest vectors bring from the first-level cache.
double ReadBandwidth();

/// Seconds that a single-precision product and a sum take when each waits for the one before: what a plain
/// recursion of the first order takes for a sample.
double MultiplyAddLatency();

/// Vectors of eight floats a second that loads bring from the first-level cache, in pairs: one of them at a
/// multiple of its size and one at the address of any float, as an interpolating filter reads taps and
/// window.
double LoadRate();
