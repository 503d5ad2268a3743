#include "numeric/kernels/firstorderkernel.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/firstorderkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/lanerows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

void RunOne(FirstOrderSection& section, std::uint32_t first, std::uint32_t frames) {
    // A copy, which the outputs can't be suspected of changing.
    const FirstOrderSection fixed = section;
    float y1 = fixed.y1;
    for (std::uint32_t i = first; i < frames; ++i) {
        y1 = fixed.b0 * fixed.input[i] + fixed.a * y1;
        fixed.output[i] = y1;
    }
    section.y1 = y1;
}

#if HWY_TARGET == HWY_SCALAR

void RunSections(FirstOrderSection* sections, std::uint32_t count, std::uint32_t frames) {
    for (std::uint32_t s = 0; s < count; ++s)
        RunOne(sections[s], 0, frames);
}

#else

constexpr std::uint32_t framesPerBlock = 4;
constexpr std::uint32_t maximumSections = 16;

// Up to sixteen sections, lane by lane. The lanes left over repeat the last section: they read and write what
// it does.
struct Lanes {
    Lanes(const FirstOrderSection* sections, std::uint32_t count) {
        for (std::uint32_t k = 0; k < maximumSections; ++k) {
            const FirstOrderSection& section = sections[std::min(k, count - 1)];
            input[k] = section.input;
            output[k] = section.output;
            b0[k] = section.b0;
            a[k] = section.a;
            y1[k] = section.y1;
        }
    }

    const float* input[maximumSections];
    float* output[maximumSections];
    float b0[maximumSections], a[maximumSections], y1[maximumSections];
};

// Runs `groups` vectors of sections over whole blocks of frames; more than one so that they wait for one
// another less.
template <std::size_t groups, class D>
void RunLanes(D d, Lanes& lanes, std::uint32_t frames) {
    constexpr std::size_t count = hn::MaxLanes(D());
    hn::Vec<D> b0[groups], a[groups], y1[groups];
    for (std::size_t g = 0; g < groups; ++g) {
        b0[g] = hn::LoadU(d, lanes.b0 + g * count);
        a[g] = hn::LoadU(d, lanes.a + g * count);
        y1[g] = hn::LoadU(d, lanes.y1 + g * count);
    }
    for (std::uint32_t i = 0; i < frames; i += framesPerBlock) {
        for (std::size_t g = 0; g < groups; ++g) {
            const float* const* input = lanes.input + g * count;
            auto v0 = LoadRows(d, input, i), v1 = LoadRows(d, input + 1, i);
            auto v2 = LoadRows(d, input + 2, i), v3 = LoadRows(d, input + 3, i);
            Transpose(d, v0, v1, v2, v3);
            v0 = hn::Add(hn::Mul(b0[g], v0), hn::Mul(a[g], y1[g]));
            v1 = hn::Add(hn::Mul(b0[g], v1), hn::Mul(a[g], v0));
            v2 = hn::Add(hn::Mul(b0[g], v2), hn::Mul(a[g], v1));
            v3 = hn::Add(hn::Mul(b0[g], v3), hn::Mul(a[g], v2));
            y1[g] = v3;
            Transpose(d, v0, v1, v2, v3);
            float* const* output = lanes.output + g * count;
            StoreRows(d, v0, output, i);
            StoreRows(d, v1, output + 1, i);
            StoreRows(d, v2, output + 2, i);
            StoreRows(d, v3, output + 3, i);
        }
    }
    for (std::size_t g = 0; g < groups; ++g)
        hn::StoreU(y1[g], d, lanes.y1 + g * count);
}

// Vectors without a section of their own stay out: the last section may be repeated in its own vector only,
// where all rows are read before one is written.
template <std::size_t groups, class D>
void RunVectors(D d, Lanes& lanes, std::uint32_t count, std::uint32_t frames) {
    constexpr std::size_t room = groups * hn::MaxLanes(D());
    if constexpr (room < maximumSections) {
        if (count > room) return RunVectors<groups + 1>(d, lanes, count, frames);
    }
    RunLanes<groups>(d, lanes, frames);
}

void RunBatch(FirstOrderSection* sections, std::uint32_t count, std::uint32_t frames) {
    const std::uint32_t whole = frames - frames % framesPerBlock;
    Lanes lanes(sections, count);
    if (count <= 4)
        RunLanes<1>(hn::CappedTag<float, 4>(), lanes, whole);
    else if (count <= 8)
        RunVectors<1>(hn::CappedTag<float, 8>(), lanes, count, whole);
    else
        RunVectors<1>(hn::CappedTag<float, 16>(), lanes, count, whole);
    for (std::uint32_t s = 0; s < count; ++s) {
        sections[s].y1 = lanes.y1[s];
        RunOne(sections[s], whole, frames);
    }
}

void RunSections(FirstOrderSection* sections, std::uint32_t count, std::uint32_t frames) {
    for (std::uint32_t done = 0; done < count; done += maximumSections) {
        const std::uint32_t batch = std::min(count - done, maximumSections);
        if (batch == 1)
            RunOne(sections[done], 0, frames);
        else
            RunBatch(sections + done, batch, frames);
    }
}

#endif

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(RunSections);

void RunFirstOrderSections(FirstOrderSection* sections, std::uint32_t count, std::uint32_t frames) {
    HWY_DYNAMIC_DISPATCH(RunSections)(sections, count, frames);
}

}  // namespace hcml
#endif
