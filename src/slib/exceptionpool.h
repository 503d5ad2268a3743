#pragma once

// The C++ runtime's pool of memory for exceptions, as a shared library that the runtime is linked into gives
// it back at its own end. Any thread.

namespace __gnu_cxx {  // NOLINT(bugprone-reserved-identifier): the runtime's own name

void __freeres();  // NOLINT(bugprone-reserved-identifier)

}  // namespace __gnu_cxx
