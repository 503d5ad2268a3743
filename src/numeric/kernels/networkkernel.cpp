#include "numeric/kernels/networkkernel.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/networkkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/lanerows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

constexpr std::uint32_t framesPerStep = 4;

template <class V>
HWY_INLINE V WithoutDenormal(V value) {
    const V offset = hn::Set(hn::DFromV<V>(), 5e-8F);
    return hn::Sub(hn::Add(value, offset), offset);
}

// The shelves of as many lines as `V` has lanes.
template <class V>
struct ShelfVectors {
    V n0, n1, n2, d1, d2, a1, a2, a3, bandGain, lowGain;

    template <class D>
    HWY_INLINE void Load(D d, const NetworkShelves& from, std::size_t lane) {
        n0 = hn::LoadU(d, from.n0 + lane);
        n1 = hn::LoadU(d, from.n1 + lane);
        n2 = hn::LoadU(d, from.n2 + lane);
        d1 = hn::LoadU(d, from.d1 + lane);
        d2 = hn::LoadU(d, from.d2 + lane);
        a1 = hn::LoadU(d, from.a1 + lane);
        a2 = hn::LoadU(d, from.a2 + lane);
        a3 = hn::LoadU(d, from.a3 + lane);
        bandGain = hn::LoadU(d, from.bandGain + lane);
        lowGain = hn::LoadU(d, from.lowGain + lane);
    }

    HWY_INLINE void Move(const ShelfVectors& steps) {
        n0 = hn::Add(n0, steps.n0);
        n1 = hn::Add(n1, steps.n1);
        n2 = hn::Add(n2, steps.n2);
        d1 = hn::Add(d1, steps.d1);
        d2 = hn::Add(d2, steps.d2);
        a1 = hn::Add(a1, steps.a1);
        a2 = hn::Add(a2, steps.a2);
        a3 = hn::Add(a3, steps.a3);
        bandGain = hn::Add(bandGain, steps.bandGain);
        lowGain = hn::Add(lowGain, steps.lowGain);
    }
};

template <class V>
struct MemoryVectors {
    V z1, z2, i1, i2;

    template <class D>
    HWY_INLINE void Load(D d, const NetworkMemory& from, std::size_t lane) {
        z1 = hn::LoadU(d, from.z1 + lane);
        z2 = hn::LoadU(d, from.z2 + lane);
        i1 = hn::LoadU(d, from.i1 + lane);
        i2 = hn::LoadU(d, from.i2 + lane);
    }

    template <class D>
    HWY_INLINE void Store(D d, NetworkMemory& to, std::size_t lane) const {
        hn::StoreU(z1, d, to.z1 + lane);
        hn::StoreU(z2, d, to.z2 + lane);
        hn::StoreU(i1, d, to.i1 + lane);
        hn::StoreU(i2, d, to.i2 + lane);
    }

    // One frame.
    template <bool hasLow>
    HWY_INLINE V Run(const ShelfVectors<V>& by, V x) {
        const V y = hn::Add(hn::Mul(by.n0, x), z1);
        z1 = hn::Sub(hn::Add(hn::Mul(by.n1, x), z2), hn::Mul(by.d1, y));
        z2 = hn::Sub(hn::Mul(by.n2, x), hn::Mul(by.d2, y));
        if constexpr (!hasLow) return WithoutDenormal(y);
        const V e = hn::Sub(y, i2);
        const V band = hn::Add(hn::Mul(by.a1, i1), hn::Mul(by.a2, e));
        const V low = hn::Add(i2, hn::Add(hn::Mul(by.a2, i1), hn::Mul(by.a3, e)));
        i1 = hn::Sub(hn::Add(band, band), i1);
        i2 = hn::Sub(hn::Add(low, low), i2);
        return WithoutDenormal(hn::Add(y, hn::Add(hn::Mul(by.bandGain, band), hn::Mul(by.lowGain, low))));
    }
};

// Frames from `first` to `end` of one line alone, with coefficients that are `first` steps on.
template <bool moving, bool hasLow>
void AbsorbLine(const NetworkAbsorption& run, std::uint32_t line, std::uint32_t first,
                const NetworkShelves& shelves, const NetworkShelves& steps, NetworkMemory& memory) {
    const hn::CappedTag<float, 1> d;
    using V = hn::Vec<decltype(d)>;
    ShelfVectors<V> now, step;
    MemoryVectors<V> remembered;
    now.Load(d, shelves, line);
    if (moving) step.Load(d, steps, line);
    remembered.Load(d, memory, line);
    for (std::uint32_t i = 0; moving && i < first; ++i)
        now.Move(step);
    for (std::uint32_t i = first; i < run.frames; ++i) {
        hn::StoreU(remembered.template Run<hasLow>(now, hn::LoadU(d, run.past[line] + i)), d,
                   run.ahead[line] + i);
        if (moving) now.Move(step);
    }
    remembered.Store(d, memory, line);
}

#if HWY_TARGET == HWY_SCALAR

template <bool moving, bool hasLow>
void Absorb(const NetworkAbsorption& run, std::uint32_t lineCount, const NetworkShelves& shelves,
            const NetworkShelves& steps, NetworkMemory& memory) {
    for (std::uint32_t line = 0; line < lineCount; ++line)
        AbsorbLine<moving, hasLow>(run, line, 0, shelves, steps, memory);
}

#else

// Whole steps of frames of the lines from `lane` on, two vectors of them at a time: then they wait for one
// another less.
template <bool moving, bool hasLow, std::size_t groups, class D>
HWY_INLINE void AbsorbVectors(D d, const NetworkAbsorption& run, std::size_t lane, std::uint32_t frames,
                              const NetworkShelves& shelves, const NetworkShelves& steps,
                              NetworkMemory& memory) {
    constexpr std::size_t count = hn::MaxLanes(D());
    ShelfVectors<hn::Vec<D>> now[groups], step[groups];
    MemoryVectors<hn::Vec<D>> remembered[groups];
    for (std::size_t g = 0; g < groups; ++g) {
        now[g].Load(d, shelves, lane + g * count);
        if (moving) step[g].Load(d, steps, lane + g * count);
        remembered[g].Load(d, memory, lane + g * count);
    }
    for (std::uint32_t i = 0; i < frames; i += framesPerStep) {
        for (std::size_t g = 0; g < groups; ++g) {
            const float* const* past = run.past + lane + g * count;
            hn::Vec<D> v[framesPerStep] = {LoadRows(d, past, i), LoadRows(d, past + 1, i),
                                           LoadRows(d, past + 2, i), LoadRows(d, past + 3, i)};
            Transpose(d, v[0], v[1], v[2], v[3]);
            for (std::size_t k = 0; k < framesPerStep; ++k) {
                v[k] = remembered[g].template Run<hasLow>(now[g], v[k]);
                if (moving) now[g].Move(step[g]);
            }
            Transpose(d, v[0], v[1], v[2], v[3]);
            float* const* ahead = run.ahead + lane + g * count;
            for (std::size_t k = 0; k < framesPerStep; ++k)
                StoreRows(d, v[k], ahead + k, i);
        }
    }
    for (std::size_t g = 0; g < groups; ++g)
        remembered[g].Store(d, memory, lane + g * count);
}

template <bool moving, bool hasLow>
void Absorb(const NetworkAbsorption& run, std::uint32_t lineCount, const NetworkShelves& shelves,
            const NetworkShelves& steps, NetworkMemory& memory) {
    const std::uint32_t whole = run.frames - run.frames % framesPerStep;
    const hn::CappedTag<float, 8> wide;
    constexpr std::size_t lanes = hn::MaxLanes(wide);
    for (std::size_t lane = 0; lane < lineCount; lane += 2 * lanes)
        AbsorbVectors<moving, hasLow, 2>(wide, run, lane, whole, shelves, steps, memory);
    if (whole == run.frames) return;
    for (std::uint32_t line = 0; line < lineCount; ++line)
        AbsorbLine<moving, hasLow>(run, line, whole, shelves, steps, memory);
}

#endif

void AbsorbStill(const NetworkAbsorption& run, std::uint32_t lineCount, const NetworkShelves& shelves,
                 bool hasLow, NetworkMemory& memory) {
    (hasLow ? Absorb<false, true> : Absorb<false, false>)(run, lineCount, shelves, shelves, memory);
}

void AbsorbMoving(const NetworkAbsorption& run, std::uint32_t lineCount, const NetworkShelves& shelves,
                  const NetworkShelves& steps, bool hasLow, NetworkMemory& memory) {
    (hasLow ? Absorb<true, true> : Absorb<true, false>)(run, lineCount, shelves, steps, memory);
}

template <class D>
HWY_INLINE void SumTapsAt(D d, const float* const* taps, const float* gains, float* row, std::size_t i) {
    auto sum = hn::Mul(hn::LoadU(d, taps[0] + i), hn::Set(d, gains[0]));
    for (std::uint32_t t = 1; t < networkTaps; ++t)
        sum = hn::Add(sum, hn::Mul(hn::LoadU(d, taps[t] + i), hn::Set(d, gains[t])));
    hn::StoreU(sum, d, row + i);
}

void SumTaps(const NetworkInput& input, float* const* rows, std::uint32_t lineCount, std::uint32_t frames) {
    const hn::ScalableTag<float> wide;
    const hn::CappedTag<float, 1> single;
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        std::size_t i = 0;
        for (; i + hn::Lanes(wide) <= frames; i += hn::Lanes(wide))
            SumTapsAt(wide, input.taps[k], input.gains[k], rows[k], i);
        for (; i < frames; ++i)
            SumTapsAt(single, input.taps[k], input.gains[k], rows[k], i);
    }
}

// All turns of the second form of rows that are `distance` apart.
template <std::size_t distance, class V, std::size_t... pair>
HWY_INLINE void TurnPairs(V* v, V tangent, std::index_sequence<pair...>) {
    const auto turn = [tangent](V& a, V& b) HWY_ATTR {
        const V before = a;
        a = hn::Add(a, hn::Mul(tangent, b));
        b = hn::Sub(b, hn::Mul(tangent, before));
    };
    (turn(v[pair / distance * 2 * distance + pair % distance],
          v[pair / distance * 2 * distance + pair % distance + distance]),
     ...);
}

// The frames from i on, as many as `D` has lanes.
template <class D, std::size_t... pair>
HWY_INLINE void MixAt(D d, const NetworkMix& mix, std::uint32_t i, std::index_sequence<pair...> pairs) {
    using V = hn::Vec<D>;
    constexpr std::size_t lines = 2 * sizeof...(pair);
    V v[lines];
    const V frame = hn::Add(hn::Iota(d, 0.0F), hn::Set(d, static_cast<float>(static_cast<std::int32_t>(i))));
    const auto at = [d, frame](float value, float step)
                        HWY_ATTR { return hn::Add(hn::Set(d, value), hn::Mul(frame, hn::Set(d, step))); };
    const auto turn = [&](std::size_t p) HWY_ATTR {
        const V a = hn::LoadU(d, mix.past[2 * p] + i), b = hn::LoadU(d, mix.past[2 * p + 1] + i);
        const V c = at(mix.cosines[p], mix.cosineSteps[p]), s = at(mix.sines[p], mix.sineSteps[p]);
        v[2 * p] = hn::Add(hn::Mul(c, a), hn::Mul(s, b));
        v[2 * p + 1] = hn::Sub(hn::Mul(c, b), hn::Mul(s, a));
    };
    (turn(pair), ...);
    const V tangent = at(mix.tangent, mix.tangentStep);
    TurnPairs<2>(v, tangent, pairs);
    TurnPairs<4>(v, tangent, pairs);
    if constexpr (lines > 8) TurnPairs<8>(v, tangent, pairs);
    const V g = at(mix.diffusion, mix.diffusionStep);
    const auto finish = [&](std::size_t k) HWY_ATTR {
        const V sum = hn::Add(v[k], hn::LoadU(d, mix.input[k] + i));
        const V left = at(mix.left[k], mix.leftSteps[k]);
        const V diffused = hn::Mul(left, hn::LoadU(d, mix.diffused[k] + i));
        const V diffusing = WithoutDenormal(hn::Add(sum, hn::Mul(g, diffused)));
        hn::StoreU(sum, d, mix.outputs[k] + i);
        hn::StoreU(diffusing, d, mix.diffusing[k] + i);
        hn::StoreU(hn::Sub(diffused, hn::Mul(g, diffusing)), d, mix.ahead[k] + i);
    };
    ((finish(2 * pair), finish(2 * pair + 1)), ...);
}

template <std::uint32_t lines>
void MixLines(const NetworkMix& mix) {
    const hn::ScalableTag<float> wide;
    const hn::CappedTag<float, 1> single;
    const auto lanes = static_cast<std::uint32_t>(hn::Lanes(wide));
    std::uint32_t i = 0;
    for (; i + lanes <= mix.frames; i += lanes)
        MixAt(wide, mix, i, std::make_index_sequence<lines / 2>());
    for (; i < mix.frames; ++i)
        MixAt(single, mix, i, std::make_index_sequence<lines / 2>());
}

void MixNetwork(const NetworkMix& mix, std::uint32_t lineCount) {
    (lineCount == 8 ? MixLines<8> : MixLines<16>)(mix);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(SumTaps);
HWY_EXPORT(AbsorbStill);
HWY_EXPORT(AbsorbMoving);
HWY_EXPORT(MixNetwork);

void SumNetworkTaps(const NetworkInput& input, float* const* rows, std::uint32_t lineCount,
                    std::uint32_t frames) {
    HWY_DYNAMIC_DISPATCH(SumTaps)(input, rows, lineCount, frames);
}

void RunNetworkAbsorption(const NetworkAbsorption& run, std::uint32_t lineCount,
                          const NetworkShelves& shelves, bool hasLow, NetworkMemory& memory) {
    HWY_DYNAMIC_DISPATCH(AbsorbStill)(run, lineCount, shelves, hasLow, memory);
}

void RunMovingNetworkAbsorption(const NetworkAbsorption& run, std::uint32_t lineCount,
                                const NetworkShelves& shelves, const NetworkShelves& steps, bool hasLow,
                                NetworkMemory& memory) {
    HWY_DYNAMIC_DISPATCH(AbsorbMoving)(run, lineCount, shelves, steps, hasLow, memory);
}

void RunNetworkMix(const NetworkMix& mix, std::uint32_t lineCount) {
    HWY_DYNAMIC_DISPATCH(MixNetwork)(mix, lineCount);
}

}  // namespace hcml
#endif
