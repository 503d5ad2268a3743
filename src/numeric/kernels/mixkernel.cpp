#include "numeric/kernels/mixkernel.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numeric/kernels/mixkernel.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "numeric/kernels/tiles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace hcml::HWY_NAMESPACE {

// A block of sums, of so many channels and vectors, stays in registers over all sources of a pass. With the
// vectors of a source, a gain and a product it just fits into 16 registers, or 32 with AVX-512.
constexpr std::size_t channelsPerBlock = 5;
constexpr std::size_t vectorsPerBlock = HWY_TARGET <= HWY_AVX3 ? 4 : 2;

// The part of the sources that a tile of frames walks over, and all the gains of these sources, stay in the
// first-level cache while the blocks of channels take their turns.
constexpr std::uint32_t sourcesPerPass = 128;

// Adds `mix` in `channelCount` channels and `vectorCount` vectors from float `first` on.
template <std::size_t channelCount, std::size_t vectorCount, class D>
HWY_INLINE void MixBlock(D d, const Mix& mix, std::size_t first) {
    hn::Vec<D> sums[channelCount][vectorCount];
    for (std::size_t c = 0; c < channelCount; ++c)
        for (std::size_t v = 0; v < vectorCount; ++v)
            sums[c][v] = hn::LoadU(d, mix.channels[c] + first + v * hn::Lanes(d));
    const float* gains = mix.coefficients;
    for (std::uint32_t s = 0; s < mix.sourceCount; ++s, gains += mix.coefficientStride) {
        const float* source = mix.sources[s] + first;
        hn::Vec<D> samples[vectorCount];
        for (std::size_t v = 0; v < vectorCount; ++v)
            samples[v] = hn::LoadU(d, source + v * hn::Lanes(d));
        for (std::size_t c = 0; c < channelCount; ++c) {
            const hn::Vec<D> gain = hn::Set(d, gains[c]);
            for (std::size_t v = 0; v < vectorCount; ++v)
                sums[c][v] = hn::Add(sums[c][v], hn::Mul(gain, samples[v]));
        }
    }
    for (std::size_t c = 0; c < channelCount; ++c)
        for (std::size_t v = 0; v < vectorCount; ++v)
            hn::StoreU(sums[c][v], d, mix.channels[c] + first + v * hn::Lanes(d));
}

struct MixTile {
    template <class D, class Count>
    HWY_INLINE void operator()(D d, Count, std::size_t first) const {
        // Blocks of nearly equal size, all of them large enough to hide the time that a sum takes.
        const std::size_t blocks = (mix.channelCount + channelsPerBlock - 1) / channelsPerBlock;
        for (std::size_t b = 0; b < blocks; ++b) {
            const std::size_t begin = mix.channelCount * b / blocks,
                              end = mix.channelCount * (b + 1) / blocks;
            Mix part = mix;
            part.channels += begin;
            part.coefficients += begin;
            MixChannels<Count::value>(d, part, end - begin, first);
        }
    }

    template <std::size_t vectorCount, class D>
    static HWY_INLINE void MixChannels(D d, const Mix& part, std::size_t channelCount, std::size_t first) {
        static_assert(channelsPerBlock == 5);
        switch (channelCount) {
            case 1:
                return MixBlock<1, vectorCount>(d, part, first);
            case 2:
                return MixBlock<2, vectorCount>(d, part, first);
            case 3:
                return MixBlock<3, vectorCount>(d, part, first);
            case 4:
                return MixBlock<4, vectorCount>(d, part, first);
            case 5:
                return MixBlock<5, vectorCount>(d, part, first);
        }
    }

    const Mix& mix;
};

void MixAll(const Mix& mix) {
    Mix pass = mix;
    for (std::uint32_t done = 0; done < mix.sourceCount; done += sourcesPerPass) {
        pass.sources = mix.sources + done;
        pass.coefficients = mix.coefficients + std::size_t{done} * mix.coefficientStride;
        pass.sourceCount = std::min(mix.sourceCount - done, sourcesPerPass);
        ForEachTile<vectorsPerBlock>(mix.vectors, MixTile{pass});
    }
}

// The sources of a pass whose gains in a step stay in the first-level cache beside their samples.
constexpr std::uint32_t movingSourcesPerPass = 64;

struct StepGains {
    HWY_ALIGN float rows[movingSourcesPerPass * gainsPerRow];
};

void FindGains(const Mix& mix, const float* steps, float step, StepGains& gains) {
    const hn::ScalableTag<float> d;
    const auto along = hn::Set(d, step);
    for (std::uint32_t s = 0; s < mix.sourceCount; ++s) {
        const float* const from = mix.coefficients + std::size_t{s} * mix.coefficientStride;
        const float* const change = steps + std::size_t{s} * mix.coefficientStride;
        float* const to = gains.rows + std::size_t{s} * gainsPerRow;
        for (std::size_t c = 0; c < mix.channelCount; c += hn::Lanes(d))
            hn::Store(hn::Add(hn::LoadU(d, from + c), hn::Mul(along, hn::LoadU(d, change + c))), d, to + c);
    }
}

void MixMovingPass(const Mix& mix, const float* steps) {
    constexpr std::size_t lanes = hn::MaxLanes(hn::ScalableTag<float>());
    constexpr std::uint32_t vectorsPerStep = framesPerStep / 4;
    StepGains gains;
    Mix part = mix;
    part.coefficients = gains.rows;
    part.coefficientStride = gainsPerRow;
    for (std::uint32_t done = 0; done < mix.vectors; done += vectorsPerStep) {
        const std::uint32_t step = done / vectorsPerStep;
        FindGains(mix, steps, static_cast<float>(step), gains);
        ForEachTile<std::min(vectorsPerBlock, framesPerStep / lanes)>(
            std::min(mix.vectors - done, vectorsPerStep), [&](auto d, auto count, std::size_t first) {
                MixTile{part}(d, count, std::size_t{done} * 4 + first);
            });
    }
}

void MixAllMoving(const Mix& mix, const float* steps) {
    Mix pass = mix;
    for (std::uint32_t done = 0; done < mix.sourceCount; done += movingSourcesPerPass) {
        const std::size_t gains = std::size_t{done} * mix.coefficientStride;
        pass.sources = mix.sources + done;
        pass.coefficients = mix.coefficients + gains;
        pass.sourceCount = std::min(mix.sourceCount - done, movingSourcesPerPass);
        MixMovingPass(pass, steps + gains);
    }
}

}  // namespace hcml::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace hcml {

HWY_EXPORT(MixAll);
HWY_EXPORT(MixAllMoving);

void MixMovingSources(const Mix& mix, const float* steps) {
    HWY_DYNAMIC_DISPATCH(MixAllMoving)(mix, steps);
}

void MixSources(const Mix& mix) {
    HWY_DYNAMIC_DISPATCH(MixAll)(mix);
}

}  // namespace hcml
#endif
