#pragma once

// Counts the allocations of a thread, for a program that links allocationcounter.cpp: it replaces operator
// new. The tests that use it go through all functions that are marked SLIB_NONBLOCKING (slib/realtime.h):
//
//     goal/render  Renderer.ASteadyScene_AllocatesNothing           copy, renderBlock, merge: every effect
//     and kind of
//                                                                   source, each converter, and the kernels
//                                                                   of them
//     goal/fx      AllEffects.AtEveryCorner_..., Reverb             every effect's process while its
//     parameters move orb3core/    PartitionedTransformer.BlocksThatDoNotFit_...    process, the transforms
//     and spectrum kernels
//       decoder    BothForms.SteadyBlocks_AllocateNothing           writeBus with feeds, delay lines, limiter
//     pipe         AdaptivePipe.Write_WaitsForWhatABlockLacks_...   Write, the adaptive buffering

#include <cstddef>

namespace testing_support {

std::size_t AllocationsOfThisThread();

}  // namespace testing_support
