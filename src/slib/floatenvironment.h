#pragma once

// The floating-point environment that our code runs in, whatever a game has made of its own: rounding to
// nearest, no trap, no flush to zero.

#include <cfenv>
#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace slib {

/// Holds the default environment for a scope, on the calling thread. In the usual case, where it is in force
/// already, this reads one register and changes nothing.
class DefaultFloatEnvironment {
public:
    DefaultFloatEnvironment() {
        if (!IsInForce()) Change();
    }
    ~DefaultFloatEnvironment() {
        if (isChanged) Restore();
    }
    DefaultFloatEnvironment(const DefaultFloatEnvironment&) = delete;
    DefaultFloatEnvironment& operator=(const DefaultFloatEnvironment&) = delete;

private:
    static bool IsInForce() {
#if defined(__SSE__)
        constexpr unsigned controls = 0xFFC0;  // all but the flags of what happened
        constexpr unsigned defaults = 0x1F80;
        const bool isDefault = (_mm_getcsr() & controls) == defaults;
#if defined(__i386__)
        unsigned short control = 0;  // of the unit that returns numbers from functions
        __asm__ volatile("fnstcw %0" : "=m"(control));
        return isDefault && (control & 0x0F3FU) == 0x033FU;
#else
        return isDefault;
#endif
#elif defined(__aarch64__)
        std::uint64_t control = 0;
        __asm__ volatile("mrs %0, fpcr" : "=r"(control));
        return control == 0;
#else
        return false;
#endif
    }

    // Calls, so that the compiler moves no arithmetic of the scope across them.
    void Change();
    void Restore() const;

    bool isChanged = false;
    std::fenv_t before;
};

}  // namespace slib
