#pragma once

// The mark of the functions that the audio thread runs inside a block, from `Renderer::renderBlock` and the
// decoder's `writeBus` down to the kernels. In such a function, and in whatever it calls,
//
//     - nothing is allocated or freed. The threads that ask for more sources, effects or queues build what
//     the
//       renderer needs for them, the copy takes pointers, and what the renderer has done with is freed by the
//       game (`slib::RetireList`). The one exception is an effect whose memory was spoilt by samples that
//       aren't finite, which is renewed;
//     - no lock is taken but those that docs/architecture.md names for the copy, the merge, foldback, the
//       levels and the status page, each held for a moment by everybody;
//     - no system call is made but the pipe's wait for room in the ring, its reading of the clock, and the
//       hand-over to the decoder's own thread;
//     - nothing is logged, no file is touched, no name is looked up, no thread is started;
//     - an exception is a failure that costs the block, never a way to answer.
//
// Tests count the allocations of these functions; tests/support/allocationcounter.h lists which test goes
// through which.

#ifdef __has_cpp_attribute
#if __has_cpp_attribute(clang::nonblocking)
#define SLIB_NONBLOCKING [[clang::nonblocking]]
#endif
#endif
#ifndef SLIB_NONBLOCKING
/// Behind the parameters and `const`, before anything else.
#define SLIB_NONBLOCKING
#endif
