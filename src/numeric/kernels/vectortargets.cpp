// Which vector targets the processor has. Highway's headers declare these few functions and leave them to a
// library of its own, which a player's machine need not have; so they are here, and its headers are all that
// is needed of it. Each target wants the instructions that the headers compile it with, and, beyond SSE, an
// operating system that keeps the wider registers.

#include "hwy/targets.h"

#include <array>
#include <atomic>
#include <cstdint>

#if HWY_ARCH_X86
#include <cpuid.h>
#endif

namespace hwy {
namespace {

#if HWY_ARCH_X86

struct Registers {
    std::uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// All zero for a leaf that the processor doesn't have.
Registers Leaf(std::uint32_t leaf) {
    Registers r;
    __get_cpuid_count(leaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx);
    return r;
}

constexpr std::uint32_t Bits(std::initializer_list<unsigned> bits) {
    std::uint32_t mask = 0;
    for (const unsigned bit : bits)
        mask |= 1U << bit;
    return mask;
}

constexpr bool HasAll(std::uint32_t value, std::uint32_t mask) {
    return (value & mask) == mask;
}

// The register sets that the operating system keeps (XCR0).
std::uint32_t KeptRegisters(const Registers& basic) {
    if (!HasAll(basic.ecx, Bits({27}))) return 0;  // OSXSAVE
    std::uint32_t low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

std::int64_t Detect() {
    const Registers basic = Leaf(1), extended = Leaf(7), more = Leaf(0x80000001U);
    const std::uint32_t kept = KeptRegisters(basic);
    std::int64_t targets = 0;
    if (!HasAll(basic.ecx, Bits({0, 9}))) return targets;  // SSE3, SSSE3
    targets |= HWY_SSSE3;
    if (!HasAll(basic.ecx, Bits({1, 19, 20, 25}))) return targets;  // PCLMUL, SSE4.1, SSE4.2, AES
    targets |= HWY_SSE4;
    const bool hasAVX2 = HasAll(basic.ecx, Bits({12, 28, 29})) &&                    // FMA, AVX, F16C
                         HasAll(extended.ebx, Bits({3, 5, 8})) &&                    // BMI1, AVX2, BMI2
                         HasAll(more.ecx, Bits({5})) && HasAll(kept, Bits({1, 2}));  // LZCNT
    if (!hasAVX2) return targets;
    targets |= HWY_AVX2;
    const bool hasAVX3 = HasAll(extended.ebx, Bits({16, 17, 28, 30, 31})) &&  // F, DQ, CD, BW, VL
                         HasAll(kept, Bits({5, 6, 7}));
    if (!hasAVX3) return targets;
    targets |= HWY_AVX3;
    // VBMI, VBMI2, VAES, VPCLMUL, VNNI, BITALG, VPOPCNTDQ
    if (HasAll(extended.ecx, Bits({1, 6, 9, 10, 11, 12, 14}))) targets |= HWY_AVX3_DL;
    return targets;
}

#else

std::int64_t Detect() {
    return 0;
}

#endif

std::atomic<std::int64_t> targetsForTest{0};

}  // namespace

std::int64_t SupportedTargets() {
    static const std::int64_t detected = Detect() | HWY_STATIC_TARGET;
    const std::int64_t forTest = targetsForTest.load(std::memory_order_relaxed);
    return forTest != 0 ? forTest : detected;
}

void SetSupportedTargetsForTest(std::int64_t targets) {
    targetsForTest = targets;
}

ChosenTarget& GetChosenTarget() {
    static ChosenTarget chosen;
    return chosen;
}

}  // namespace hwy
