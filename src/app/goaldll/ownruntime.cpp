// For the shared library that the C++ runtime is linked into. That runtime keeps a pool, from which
// exceptions come when there is no memory left, and gives it back only when it is asked to: each unload would
// lose 72 kB.

#include "app/goaldll/process.h"
#include "slib/exceptionpool.h"

namespace {

// The lowest priority that isn't the compiler's own runs last, when nothing of the library can throw any
// more.
[[gnu::destructor(101)]] void GiveBackThePool() {
    if (!goal::HasExitBegun()) __gnu_cxx::__freeres();
}

}  // namespace
