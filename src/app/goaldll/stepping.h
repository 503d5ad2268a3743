#pragma once

// Two calls for programs that play a recording of calls back, so that the sound is the same each time. No
// extension and no header names them; alcGetProcAddress gives them for names that no game asks for. Any
// thread, one at a time, and without a lock while they wait.
//
//     void hold()                           before the first context: blocks are rendered only when asked for
//     ALCsizei render(ALCint* frequency)    has a block of each context rendered and given to its output;
//                                           the frames and the rate in Hz of the first, or 0 without one

#include <string_view>

namespace goal {

inline constexpr std::string_view holdName = "tessarune/hold-1";
inline constexpr std::string_view renderName = "tessarune/render-1";

/// Null for other names.
void* SteppingEntry(std::string_view name);

}  // namespace goal
