#pragma once

// Counts the allocations of a thread, for a program that links allocationcounter.cpp: it replaces operator
// new. Which test goes through which of the functions that are marked SLIB_NONBLOCKING (slib/realtime.h):
//
//     Renderer.ASteadyScene_...          CopyToSnapshot, renderBlock with every effect, kind of source and
//                                        converter, MergeProgress, and the kernels below these
//     HeadTurnOfOrder.At300Degrees...    Turn
//     AllEffects.AtAllLimits_...         each effect's process while its parameters move
//     PartitionedTransformer.Blocks...   process, the Fourier and spectrum kernels
//     BothForms.SteadyBlocks_...         writeBus with feeds, the delay lines, the limiter
//     AdaptivePipe.Write_...             Write, the adaptive buffering
//
// writeInterleaved, the form of writeBus that the renderer doesn't use, has none.

#include <cstddef>

namespace testing_support {

std::size_t AllocationsOfThisThread();

}  // namespace testing_support
