#include "machinelimits.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "machinelimits.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace machinelimits::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t chains = 14;  // with the two factors they just fit into 16 registers

// Runs chains of products and sums, enough of them to hide how long each takes. Returns how many operations.
double RunChains(std::size_t rounds, float* results) {
    const hn::ScalableTag<float> d;
    const auto factor = hn::Set(d, 0.5f), term = hn::Set(d, 0.25f);
    hn::Vec<hn::ScalableTag<float>> values[chains];
    for (std::size_t c = 0; c < chains; ++c)
        values[c] = hn::Set(d, static_cast<float>(c));
    for (std::size_t r = 0; r < rounds; ++r)
        for (std::size_t c = 0; c < chains; ++c)
            values[c] = hn::Add(hn::Mul(values[c], factor), term);
    for (std::size_t c = 0; c < chains; ++c)
        hn::StoreU(values[c], d, results + c * hn::Lanes(d));
    return static_cast<double>(rounds * chains * 2 * hn::Lanes(d));
}

}  // namespace machinelimits::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace machinelimits {

HWY_EXPORT(RunChains);

// The best of several rates, of which others on the machine can only take away. `run` returns what it did.
template <class Run>
double BestRate(Run run) {
    double best = 0;
    for (int i = 0; i < 30; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        const double done = run();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        best = std::max(best, done / taken.count());
    }
    return best;
}

double CopyOften(char* target, const char* source, std::size_t bytes) {
    constexpr int copies = 1000;
    for (int i = 0; i < copies; ++i) {
        std::memcpy(target, source, bytes);
        asm volatile("" ::"r"(target) : "memory");  // the copy has a reader
    }
    return static_cast<double>(bytes) * copies;
}

}  // namespace machinelimits

double PeakMultiplyAddRate() {
    static float results[64 * 14];
    static const double rate = machinelimits::BestRate(
        [] { return HWY_DYNAMIC_DISPATCH(machinelimits::RunChains)(100000, results); });
    return rate;
}

double CopyBandwidth() {
    alignas(128) static char source[16384], target[16384];
    static const double rate =
        machinelimits::BestRate([] { return machinelimits::CopyOften(target, source, sizeof source); });
    return rate;
}
#endif
