#include "numeric/kernels/comblinekernel.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/comblinekernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/lanerows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

constexpr std::uint32_t framesPerStep = 4;

// The coefficients of as many lines as `V` has lanes, and what the lines remember.
template <class V>
struct CombVectors {
    V feed, input, hfA, hfB, direct, smooth, lfA, lfB, low;

    template <class D>
    HWY_INLINE void Load(D d, const CombCoefficients& from, std::size_t lane) {
        feed = hn::LoadU(d, from.feed + lane);
        input = hn::LoadU(d, from.input + lane);
        hfA = hn::LoadU(d, from.hfA + lane);
        hfB = hn::LoadU(d, from.hfB + lane);
        direct = hn::LoadU(d, from.direct + lane);
        smooth = hn::LoadU(d, from.smooth + lane);
        lfA = hn::LoadU(d, from.lfA + lane);
        lfB = hn::LoadU(d, from.lfB + lane);
        low = hn::LoadU(d, from.low + lane);
    }

    template <class D>
    HWY_INLINE void Store(D d, CombCoefficients& to, std::size_t lane) const {
        hn::StoreU(feed, d, to.feed + lane);
        hn::StoreU(input, d, to.input + lane);
        hn::StoreU(hfA, d, to.hfA + lane);
        hn::StoreU(hfB, d, to.hfB + lane);
        hn::StoreU(direct, d, to.direct + lane);
        hn::StoreU(smooth, d, to.smooth + lane);
        hn::StoreU(lfA, d, to.lfA + lane);
        hn::StoreU(lfB, d, to.lfB + lane);
        hn::StoreU(low, d, to.low + lane);
    }

    HWY_INLINE void Move(const CombVectors& steps) {
        feed = hn::Add(feed, steps.feed);
        input = hn::Add(input, steps.input);
        hfA = hn::Add(hfA, steps.hfA);
        hfB = hn::Add(hfB, steps.hfB);
        direct = hn::Add(direct, steps.direct);
        smooth = hn::Add(smooth, steps.smooth);
        lfA = hn::Add(lfA, steps.lfA);
        lfB = hn::Add(lfB, steps.lfB);
        low = hn::Add(low, steps.low);
    }

    static HWY_INLINE V WithoutDenormal(V w) {
        const V offset = hn::Set(hn::DFromV<V>(), 5e-8F);
        return hn::Sub(hn::Add(w, offset), offset);
    }

    // One frame: what enters the delay lines where `past` leaves them.
    HWY_INLINE V Frame(V past, V x, V& y1, V& y2) const {
        const V s = hn::Add(hn::Mul(feed, past), hn::Mul(input, x));
        y1 = hn::Add(hn::Mul(hfA, s), hn::Mul(hfB, y1));
        const V t = hn::Add(hn::Mul(direct, s), hn::Mul(smooth, y1));
        y2 = hn::Add(hn::Mul(lfA, t), hn::Mul(lfB, y2));
        return WithoutDenormal(hn::Add(t, hn::Mul(low, y2)));
    }
};

// Frames from `first` to `end` of one line alone.
template <bool moving>
void RunLine(const CombRun& run, std::uint32_t line, std::uint32_t first, std::uint32_t end,
             CombCoefficients& coefficients, const CombCoefficients& steps, CombMemory& memory) {
    using D = hn::CappedTag<float, 1>;
    const D d;
    CombVectors<hn::Vec<D>> now, step;
    now.Load(d, coefficients, line);
    if (moving) step.Load(d, steps, line);
    auto y1 = hn::LoadU(d, memory.y1 + line), y2 = hn::LoadU(d, memory.y2 + line);
    for (std::uint32_t i = first; i < end; ++i) {
        const auto x = hn::LoadU(d, run.input + i);
        hn::StoreU(now.Frame(hn::LoadU(d, run.past[line] + i), x, y1, y2), d, run.ahead[line] + i);
        if (moving) now.Move(step);
    }
    hn::StoreU(y1, d, memory.y1 + line);
    hn::StoreU(y2, d, memory.y2 + line);
    if (moving) now.Store(d, coefficients, line);
}

#if HWY_TARGET == HWY_SCALAR

template <bool moving>
void RunAll(const CombRun& run, std::uint32_t lineCount, CombCoefficients& coefficients,
            const CombCoefficients& steps, CombMemory& memory) {
    for (std::uint32_t line = 0; line < lineCount; ++line)
        RunLine<moving>(run, line, 0, run.frames, coefficients, steps, memory);
}

#else

// Whole steps of frames of the lines from `lane` on, `groups` vectors of them at a time: then they wait for
// one another less.
template <bool moving, std::size_t groups, class D>
HWY_INLINE void RunVectors(D d, const CombRun& run, std::size_t lane, std::uint32_t frames,
                           CombCoefficients& coefficients, const CombCoefficients& steps,
                           CombMemory& memory) {
    constexpr std::size_t count = hn::MaxLanes(D());
    CombVectors<hn::Vec<D>> now[groups], step[groups];
    hn::Vec<D> y1[groups], y2[groups];
    for (std::size_t g = 0; g < groups; ++g) {
        const std::size_t first = lane + g * count;
        now[g].Load(d, coefficients, first);
        if (moving) step[g].Load(d, steps, first);
        y1[g] = hn::LoadU(d, memory.y1 + first);
        y2[g] = hn::LoadU(d, memory.y2 + first);
    }
    for (std::uint32_t i = 0; i < frames; i += framesPerStep) {
        for (std::size_t g = 0; g < groups; ++g) {
            const float* const* past = run.past + lane + g * count;
            hn::Vec<D> v[framesPerStep] = {LoadRows(d, past, i), LoadRows(d, past + 1, i),
                                           LoadRows(d, past + 2, i), LoadRows(d, past + 3, i)};
            Transpose(d, v[0], v[1], v[2], v[3]);
            for (std::size_t k = 0; k < framesPerStep; ++k) {
                v[k] = now[g].Frame(v[k], hn::Set(d, run.input[i + k]), y1[g], y2[g]);
                if (moving) now[g].Move(step[g]);
            }
            Transpose(d, v[0], v[1], v[2], v[3]);
            float* const* ahead = run.ahead + lane + g * count;
            for (std::size_t k = 0; k < framesPerStep; ++k)
                StoreRows(d, v[k], ahead + k, i);
        }
    }
    for (std::size_t g = 0; g < groups; ++g) {
        const std::size_t first = lane + g * count;
        hn::StoreU(y1[g], d, memory.y1 + first);
        hn::StoreU(y2[g], d, memory.y2 + first);
        if (moving) now[g].Store(d, coefficients, first);
    }
}

// Wide vectors take all lines at once. With narrow ones the coefficients of two vectors of lines are all that
// fits into the registers.
template <bool moving>
void RunAll(const CombRun& run, std::uint32_t lineCount, CombCoefficients& coefficients,
            const CombCoefficients& steps, CombMemory& memory) {
    const std::uint32_t whole = run.frames - run.frames % framesPerStep;
    const hn::CappedTag<float, 4> narrow;
    const hn::CappedTag<float, 16> wide;
    constexpr std::size_t lanes = hn::MaxLanes(wide);
    std::size_t lane = 0;
    if (lineCount > hn::MaxLanes(narrow)) {
        for (; lane + 2 * lanes <= maximumCombLines && lane + lanes < lineCount; lane += 2 * lanes)
            RunVectors<moving, 2>(wide, run, lane, whole, coefficients, steps, memory);
        for (; lane < lineCount; lane += lanes)
            RunVectors<moving, 1>(wide, run, lane, whole, coefficients, steps, memory);
    }
    for (; lane < lineCount; lane += hn::MaxLanes(narrow))
        RunVectors<moving, 1>(narrow, run, lane, whole, coefficients, steps, memory);
    if (whole == run.frames) return;
    for (std::uint32_t line = 0; line < lineCount; ++line)
        RunLine<moving>(run, line, whole, run.frames, coefficients, steps, memory);
}

#endif

void RunStill(const CombRun& run, std::uint32_t lineCount, const CombCoefficients& coefficients,
              CombMemory& memory) {
    CombCoefficients copy = coefficients;
    RunAll<false>(run, lineCount, copy, coefficients, memory);
}

void RunMoving(const CombRun& run, std::uint32_t lineCount, CombCoefficients& coefficients,
               const CombCoefficients& steps, CombMemory& memory) {
    RunAll<true>(run, lineCount, coefficients, steps, memory);
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(RunStill);
HWY_EXPORT(RunMoving);

void RunCombLines(const CombRun& run, std::uint32_t lineCount, const CombCoefficients& coefficients,
                  CombMemory& memory) {
    HWY_DYNAMIC_DISPATCH(RunStill)(run, lineCount, coefficients, memory);
}

void RunMovingCombLines(const CombRun& run, std::uint32_t lineCount, CombCoefficients& coefficients,
                        const CombCoefficients& steps, CombMemory& memory) {
    HWY_DYNAMIC_DISPATCH(RunMoving)(run, lineCount, coefficients, steps, memory);
}

}  // namespace hcml
#endif
