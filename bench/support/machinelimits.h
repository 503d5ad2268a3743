#pragma once

// What this machine can do at best on one core, so that a benchmark can say how near it comes. Each is
// measured when first asked for, in some hundredths of a second. For the benchmark programs only, from one
// thread.

/// Floating-point operations a second of single-precision products and sums that stay separate, one of each
/// in turn, at the widest vectors that there are and without touching memory.
double PeakMultiplyAddRate();

/// Bytes a second that a copy between two blocks of 16 KiB moves, both in the first-level cache. A byte that
/// is read and written counts once.
double CopyBandwidth();
