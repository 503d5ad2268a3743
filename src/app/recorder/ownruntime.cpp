// What the recorder does otherwise than the C++ runtime that is linked into it, so that it may be loaded and
// unloaded as often as a game likes.

#include <cxxabi.h>
#include <array>

#include "app/recorder/recorder.h"
#include "slib/exceptionpool.h"

namespace {

// The runtime's pool of memory for exceptions. The lowest priority that isn't the compiler's own runs last.
[[gnu::destructor(101)]] void GiveBackThePool() {
    if (!recorder::HasExitBegun()) __gnu_cxx::__freeres();
}

// A thread's exceptions under way. The runtime keeps them in memory that the loader has little of, and loses
// when it unloads the library in the middle of unloading the recorder.
thread_local std::array<void*, 4> exceptions{};

}  // namespace

namespace __cxxabiv1 {

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(exceptions.data());
}

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

}  // namespace __cxxabiv1
