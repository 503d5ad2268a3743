#pragma once

// Converts the sample rate of sources by an interpolating FIR filter: windowed-sinc kernels at 64 positions
// between two frames, in a series of filters of falling cut-off, so that a source that is played faster than
// the output rate is low-passed before it aliases. SincBest has longer kernels and a line between
// neighbouring positions (goal/dsp/blendedsincseries.h). The server owns one SampleRateConverter, which holds
// the tables and is read-only once built; the readers of sources run the functions below on the states in
// goal/state/converterstate.h. All on the server's thread; nothing but the constructor allocates or throws.
//
// For each stretch of a buffer a reader calls planBlock, and then `convert` for as many frames of input and
// output as that returns. The windows lie in the caller's frames, but for the first ones, which begin in the
// ring with what the block before has left there.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "goal/dsp/blendedsincseries.h"
#include "goal/state/converterstate.h"
#include "numeric/alignedmemory.h"
#include "slib/realtime.h"

namespace goal {

enum class SincQuality : std::int32_t { Low = 2, Medium = 3, High = 4, Best = 5 };

class SampleRateConverter {
public:
    const SincQuality quality;
    const std::uint32_t tapsLog2;     ///< 2, 3, 4; of SincBest 6, at ratios up to 1
    const std::uint32_t phasesLog2;   ///< 6; of SincBest 8, at ratios up to 2
    const std::uint32_t filterCount;  ///< 16, 32, 64; of SincBest 49
    const float ratioScale;           ///< filters per unit of ln(input rate / output rate)

    /// [filter][phase][tap], tap fastest: the weight of the frame `tap` places after the window's start for
    /// an output that falls phase / 64 of a frame after tap index taps / 2 - 1. Owned. Those of SincBest have
    /// each a shape of their own.
    const float* const coefficients;

    /// Of SincBest; none of the others.
    const std::optional<BlendedSincSeries> series;

    /// That of a source that starts, at ratio 1; `initialise` makes a state from it, which must not be used
    /// after the converter.
    const ConverterCursor start;

    /// Builds the tables of a quality. Throws slib::OutOfMemoryException, and slib::IntegrityFailureException
    /// for a value outside the enumeration.
    explicit SampleRateConverter(SincQuality quality);
    SampleRateConverter(const SampleRateConverter&) = delete;
    SampleRateConverter& operator=(const SampleRateConverter&) = delete;
    ~SampleRateConverter() = default;

private:
    struct Design;
    static const Design& DesignOf(SincQuality quality);
    struct Tables;
    static Tables PlainTables(const Design& design);
    static Tables BestTables();
    explicit SampleRateConverter(Tables tables);
    ConverterCursor Start() const;

    const hcml::AlignedFloats table;
};

/// Sets step and filter for `ratio`, input rate / output rate. Above 512 it is held at 512; at or below
/// 2^-19, and for what is no number, the source creeps on at 2^-19 of a frame per output. The filters of
/// SincBest are for ratios up to 8; beyond, the last of them serves.
void setRatio(ConverterCursor& state, double ratio) SLIB_NONBLOCKING;

/// How much may be pushed and then produced in one go, when `available` input frames are there and `wanted`
/// output frames are asked for: `toPush` is at most `available`, `toProduce` at most `wanted`, what is pushed
/// overwrites nothing that an output still needs, and every output finds its frames in the ring. With input
/// there at least one of the two is above 0, unless nothing is wanted.
void planBlock(ConverterCursor& state, std::uint32_t available, std::uint32_t wanted, std::uint32_t& toPush,
               std::uint32_t& toProduce) SLIB_NONBLOCKING;

/// Adds one input sample.
inline void push(ConverterState& state, float value) {
    state.ring.data[state.writeIndex & (converterRingFrames - 1)] = value;
    ++state.writeIndex;
}

/// One output sample. The products are summed by halves: those of the upper half of the taps onto those of
/// the lower half, and so on down to one, which is the same order at every vector width.
float produce(ConverterState& state) SLIB_NONBLOCKING;

/// `count` output samples.
void produce(ConverterState& state, float* target, std::uint32_t count) SLIB_NONBLOCKING;

/// Input of `convert`: `count` frames, a row of floats for each channel.
struct ConverterInput {
    const float* const* channels;
    std::uint32_t count;
};

/// Output of `convert`: `count` frames, those of channel c from channels[c][offset] on.
struct ConverterOutput {
    float* const* channels;
    std::uint32_t offset;
    std::uint32_t count;
};

/// The same as pushing all the input and then producing the output, as much of both as planBlock has
/// returned, without a copy of more than the ends of the input. The two must not overlap.
void convert(ConverterState& state, const ConverterInput& input,
             const ConverterOutput& output) SLIB_NONBLOCKING;
void convert(MultiChannelConverterState& state, const ConverterInput& input,
             const ConverterOutput& output) SLIB_NONBLOCKING;

}  // namespace goal
