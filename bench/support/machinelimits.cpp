#include "bench/support/machinelimits.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bench/support/machinelimits.cpp"
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

// Runs one chain, each link of which waits for the one before. Returns how many links.
double RunOneChain(std::size_t rounds, float* results) {
    const hn::ScalableTag<float> d;
    const auto factor = hn::Set(d, 0.5f), term = hn::Set(d, 0.25f);
    auto value = hn::Zero(d);
    for (std::size_t r = 0; r < rounds; ++r)
        value = hn::Add(hn::Mul(value, factor), term);
    hn::StoreU(value, d, results);
    return static_cast<double>(rounds);
}

// Loads pairs of vectors, one from each half of `count` floats. Returns how many vectors.
double RunLoads(std::size_t rounds, const float* floats, std::size_t count, float* results) {
    const hn::CappedTag<float, 8> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    constexpr std::size_t pairs = 8, span = pairs * 8;
    const std::size_t half = count / 2;
    hn::Vec<decltype(du)> seen[pairs];
    for (auto& bits : seen)
        bits = hn::Zero(du);
    for (std::size_t r = 0; r < rounds; ++r) {
        for (std::size_t first = 0; first + span < half; first += span) {
            // Exclusive or, of which a processor does more than it loads.
            for (std::size_t p = 0; p < pairs; ++p) {
                const float* aligned = floats + first + 8 * p;
                const float* anywhere = aligned + half + p;
                seen[p] = hn::Xor(seen[p], hn::Xor(hn::BitCast(du, hn::LoadU(d, aligned)),
                                                   hn::BitCast(du, hn::LoadU(d, anywhere))));
            }
        }
    }
    for (std::size_t p = 1; p < pairs; ++p)
        seen[0] = hn::Xor(seen[0], seen[p]);
    hn::StoreU(hn::BitCast(d, seen[0]), d, results);
    return static_cast<double>(rounds * (half / span - 1) * pairs * 2);
}

// Loads the widest vectors, one after the other. Returns how many bytes.
double RunReads(std::size_t rounds, const float* floats, std::size_t count, float* results) {
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    constexpr std::size_t vectors = 8;
    const std::size_t span = vectors * hn::Lanes(d);
    hn::Vec<decltype(du)> seen[vectors];
    for (auto& bits : seen)
        bits = hn::Zero(du);
    for (std::size_t r = 0; r < rounds; ++r)
        for (std::size_t first = 0; first + span <= count; first += span)
            for (std::size_t v = 0; v < vectors; ++v)
                seen[v] = hn::Xor(seen[v], hn::BitCast(du, hn::LoadU(d, floats + first + v * hn::Lanes(d))));
    for (std::size_t v = 1; v < vectors; ++v)
        seen[0] = hn::Xor(seen[0], seen[v]);
    hn::StoreU(hn::BitCast(d, seen[0]), d, results);
    return static_cast<double>(rounds * (count / span) * span * sizeof(float));
}

}  // namespace machinelimits::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace machinelimits {

HWY_EXPORT(RunChains);
HWY_EXPORT(RunOneChain);
HWY_EXPORT(RunLoads);
HWY_EXPORT(RunReads);

// The best of several rates, of which others on the machine can only take away.
class BestRate {
public:
    /// `run` returns what it did.
    explicit BestRate(double (*run)()) : run(run) {}

    double Get() {
        if (best == 0) Measure();
        return best;
    }

    void Measure() {
        for (int i = 0; i < 30; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            const double done = run();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
            best = std::max(best, done / taken.count());
        }
    }

private:
    double (*const run)();
    double best = 0;
};

float results[64 * 14];

double CopyOften() {
    alignas(128) static char source[16384], target[16384];
    constexpr int copies = 1000;
    for (int i = 0; i < copies; ++i) {
        std::memcpy(target, source, sizeof source);
        asm volatile("" ::"r"(target) : "memory");  // the copy has a reader
    }
    return double{sizeof source} * copies;
}

alignas(128) float floats[2048];

double LoadOften() {
    return HWY_DYNAMIC_DISPATCH(RunLoads)(1000, floats, 2048, results);
}

double ReadOften() {
    return HWY_DYNAMIC_DISPATCH(RunReads)(1000, floats, 2048, results);
}

BestRate multiplyAdds([] { return HWY_DYNAMIC_DISPATCH(RunChains)(100000, results); });
BestRate links([] { return HWY_DYNAMIC_DISPATCH(RunOneChain)(200000, results); });
BestRate loads(LoadOften);
BestRate reads(ReadOften);
BestRate copies(CopyOften);

}  // namespace machinelimits

using namespace machinelimits;

void MeasureLimitsAgain() {
    for (BestRate* rate : {&multiplyAdds, &links, &loads, &reads, &copies})
        rate->Measure();
}

double PeakMultiplyAddRate() {
    return multiplyAdds.Get();
}

double MultiplyAddLatency() {
    return 1 / links.Get();
}

double LoadRate() {
    return loads.Get();
}

double ReadBandwidth() {
    return reads.Get();
}

double CopyBandwidth() {
    return copies.Get();
}
#endif
