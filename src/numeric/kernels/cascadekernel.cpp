#include "numeric/kernels/cascadekernel.h"

#include <algorithm>
#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/cascadekernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/lanerows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

// One row alone.
void RunOne(const CascadeRow& row, std::uint32_t first, std::uint32_t frames, float gain) {
    // A copy, which the outputs can't be suspected of changing.
    SecondOrderSection sections[sectionsPerCascade];
    std::copy_n(row.sections, sectionsPerCascade, sections);
    for (std::uint32_t i = first; i < frames; ++i) {
        double x = row.input[i];
        for (SecondOrderSection& s : sections) {
            const double w = (x - s.a2 * s.s1) - s.a1 * s.s0;
            x = (s.b1 * s.s0 + s.b2 * s.s1) + s.b0 * w;
            s.s1 = s.s0;
            s.s0 = w;
        }
        row.output[i] += gain * static_cast<float>(x);
    }
    std::copy_n(sections, sectionsPerCascade, row.sections);
}

#if HWY_TARGET == HWY_SCALAR

void RunRows(const CascadeRow* rows, std::uint32_t count, std::uint32_t frames, float gain) {
    for (std::uint32_t r = 0; r < count; ++r)
        RunOne(rows[r], 0, frames, gain);
}

#else

constexpr std::uint32_t framesPerTile = 4;
constexpr std::size_t maximumRows = 8;

// Up to eight cascades, lane by lane. The lanes left over repeat the last cascade: they read and write what
// it does.
struct Lanes {
    Lanes(const CascadeRow* rows, std::uint32_t count) {
        for (std::uint32_t k = 0; k < maximumRows; ++k) {
            const CascadeRow& row = rows[std::min(k, count - 1)];
            input[k] = row.input;
            output[k] = row.output;
            for (std::uint32_t j = 0; j < sectionsPerCascade; ++j)
                sections[j].Set(row.sections[j], k);
        }
    }

    void KeepMemory(const CascadeRow* rows, std::uint32_t count) const {
        for (std::uint32_t k = 0; k < count; ++k) {
            for (std::uint32_t j = 0; j < sectionsPerCascade; ++j) {
                rows[k].sections[j].s0 = sections[j].s0[k];
                rows[k].sections[j].s1 = sections[j].s1[k];
            }
        }
    }

    struct Section {
        void Set(const SecondOrderSection& from, std::uint32_t k) {
            a1[k] = from.a1;
            a2[k] = from.a2;
            b1[k] = from.b1;
            b2[k] = from.b2;
            b0[k] = from.b0;
            s0[k] = from.s0;
            s1[k] = from.s1;
        }

        double a1[maximumRows], a2[maximumRows], b1[maximumRows], b2[maximumRows], b0[maximumRows];
        double s0[maximumRows], s1[maximumRows];
    };

    const float* input[maximumRows];
    float* output[maximumRows];
    Section sections[sectionsPerCascade];
};

// The cascades of as many rows as `D` has lanes, from lane `first` on.
template <class D>
struct Cascades {
    using V = hn::Vec<D>;

    HWY_INLINE void Load(const Lanes& from, std::size_t first) {
        lanes = &from;
        lane = first;
        for (std::size_t j = 0; j < sectionsPerCascade; ++j) {
            s0[j] = hn::LoadU(D(), from.sections[j].s0 + first);
            s1[j] = hn::LoadU(D(), from.sections[j].s1 + first);
        }
    }

    HWY_INLINE void Store(Lanes& to) const {
        for (std::size_t j = 0; j < sectionsPerCascade; ++j) {
            hn::StoreU(s0[j], D(), to.sections[j].s0 + lane);
            hn::StoreU(s1[j], D(), to.sections[j].s1 + lane);
        }
    }

    // One frame.
    HWY_INLINE V Step(V x) {
        const D d;
        for (std::size_t j = 0; j < sectionsPerCascade; ++j) {
            const Lanes::Section& c = lanes->sections[j];
            const V w = hn::Sub(hn::Sub(x, hn::Mul(hn::LoadU(d, c.a2 + lane), s1[j])),
                                hn::Mul(hn::LoadU(d, c.a1 + lane), s0[j]));
            x = hn::Add(
                hn::Add(hn::Mul(hn::LoadU(d, c.b1 + lane), s0[j]), hn::Mul(hn::LoadU(d, c.b2 + lane), s1[j])),
                hn::Mul(hn::LoadU(d, c.b0 + lane), w));
            s1[j] = s0[j];
            s0[j] = w;
        }
        return x;
    }

    V s0[sectionsPerCascade], s1[sectionsPerCascade];
    const Lanes* lanes;
    std::size_t lane;
};

// One frame of as many rows as `F` has lanes: vectors of doubles hold all of them or half of them.
template <class F, class D>
HWY_INLINE hn::Vec<F> Step(F f, D d, Cascades<D>* cascades, hn::Vec<F> x) {
    const hn::Rebind<float, D> narrow;
    if constexpr (hn::MaxLanes(D()) == hn::MaxLanes(F())) {
        return hn::DemoteTo(narrow, cascades[0].Step(hn::PromoteTo(d, x)));
    } else {
        static_assert(2 * hn::MaxLanes(D()) == hn::MaxLanes(F()));
        const auto lower = cascades[0].Step(hn::PromoteTo(d, hn::LowerHalf(narrow, x)));
        const auto upper = cascades[1].Step(hn::PromoteTo(d, hn::UpperHalf(narrow, x)));
        return hn::Combine(f, hn::DemoteTo(narrow, upper), hn::DemoteTo(narrow, lower));
    }
}

// All outputs of a tile are read before one is written, for the sake of the lanes left over.
template <class F>
void RunLanes(F f, Lanes& lanes, std::uint32_t frames, float gain) {
    const hn::CappedTag<double, hn::MaxLanes(F())> d;
    constexpr std::size_t vectors = hn::MaxLanes(F()) / hn::MaxLanes(d);
    Cascades<hn::CappedTag<double, hn::MaxLanes(F())>> cascades[vectors];
    for (std::size_t v = 0; v < vectors; ++v)
        cascades[v].Load(lanes, v * hn::MaxLanes(d));
    const auto gains = hn::Set(f, gain);
    for (std::uint32_t i = 0; i < frames; i += framesPerTile) {
        auto v0 = LoadRows(f, lanes.input, i), v1 = LoadRows(f, lanes.input + 1, i);
        auto v2 = LoadRows(f, lanes.input + 2, i), v3 = LoadRows(f, lanes.input + 3, i);
        Transpose(f, v0, v1, v2, v3);
        v0 = Step(f, d, cascades, v0);
        v1 = Step(f, d, cascades, v1);
        v2 = Step(f, d, cascades, v2);
        v3 = Step(f, d, cascades, v3);
        Transpose(f, v0, v1, v2, v3);
        v0 = hn::Add(LoadRows(f, lanes.output, i), hn::Mul(gains, v0));
        v1 = hn::Add(LoadRows(f, lanes.output + 1, i), hn::Mul(gains, v1));
        v2 = hn::Add(LoadRows(f, lanes.output + 2, i), hn::Mul(gains, v2));
        v3 = hn::Add(LoadRows(f, lanes.output + 3, i), hn::Mul(gains, v3));
        StoreRows(f, v0, lanes.output, i);
        StoreRows(f, v1, lanes.output + 1, i);
        StoreRows(f, v2, lanes.output + 2, i);
        StoreRows(f, v3, lanes.output + 3, i);
    }
    for (std::size_t v = 0; v < vectors; ++v)
        cascades[v].Store(lanes);
}

// As many rows as `F` has lanes, or fewer.
template <class F>
void RunBatch(F f, const CascadeRow* rows, std::uint32_t count, std::uint32_t frames, float gain) {
    const std::uint32_t whole = frames - frames % framesPerTile;
    Lanes lanes(rows, count);
    RunLanes(f, lanes, whole, gain);
    lanes.KeepMemory(rows, count);
    for (std::uint32_t r = 0; r < count; ++r)
        RunOne(rows[r], whole, frames, gain);
}

void RunRows(const CascadeRow* rows, std::uint32_t count, std::uint32_t frames, float gain) {
    const hn::CappedTag<float, maximumRows> wide;
    const hn::CappedTag<float, 4> narrow;
    for (std::uint32_t done = 0; done < count;) {
        const std::uint32_t left = count - done;
        const auto batch = std::min(left, static_cast<std::uint32_t>(left > 4 ? hn::Lanes(wide) : 4));
        if (batch == 1)
            RunOne(rows[done], 0, frames, gain);
        else if (batch <= 4)
            RunBatch(narrow, rows + done, batch, frames, gain);
        else
            RunBatch(wide, rows + done, batch, frames, gain);
        done += batch;
    }
}

#endif

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(RunRows);

void AddCascades(const CascadeRow* rows, std::uint32_t count, std::uint32_t frames, float gain) {
    HWY_DYNAMIC_DISPATCH(RunRows)(rows, count, frames, gain);
}

}  // namespace hcml
#endif
