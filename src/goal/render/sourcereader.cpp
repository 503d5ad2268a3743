#include "goal/render/sourcereader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "goal/dsp/samplerateconverter.h"
#include "goal/sound/sampledecoder.h"
#include "numeric/kernels/deinterleavekernel.h"
#include "numeric/kernels/linearkernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

constexpr std::uint32_t maxTaps = BlendedSincSeries::mostTaps;
constexpr std::uint32_t chunkFrames = 1024;  // raw frames decoded at once; a push of the converter fits
constexpr std::uint32_t planarStride = chunkFrames + 32;  // not a multiple of 2 KiB: see converterRingStride
constexpr std::uint64_t oneFrame = std::uint64_t{1} << 16;
constexpr std::uint64_t fractionMask = oneFrame - 1;
// Above this step the linear reader picks the two frames of each output, instead of decoding all between.
constexpr std::uint64_t longestDenseStep = 8 * oneFrame;
// Beyond any queue that could be, and so small that a position and a step add up in 64 bits.
constexpr std::uint64_t farthest = std::uint64_t{1} << 62;

bool IsSinc(orb3::SampleRateConversion quality) {
    return quality > orb3::SampleRateConversion::Linear;
}

// Input frames per output frame; none where the source is to be silent. The first buffer's rate serves for
// the whole queue.
std::optional<double> RatioOf(const Source& source, ReadRate rate) {
    if (source.queue.size == 0 || !(rate.pitch > 0)) return std::nullopt;
    const double ratio = rate.pitch * static_cast<double>(source.queue[0]->frequency) / rate.output;
    if (!(ratio >= 0)) return std::nullopt;
    return ratio;
}

std::uint64_t StepOf(double ratio) {
    const double step = ratio * static_cast<double>(oneFrame) + 0.5;
    if (step >= static_cast<double>(farthest)) return farthest;
    return std::max<std::uint64_t>(static_cast<std::uint64_t>(step), 1);
}

// How many of the positions `from`, `from` + step, ... lie below `end`, at most `limit`.
std::uint32_t CountBelow(std::uint64_t from, std::uint64_t end, std::uint64_t step, std::uint32_t limit) {
    if (from >= end) return 0;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>((end - from - 1) / step + 1, limit));
}

// Length of the whole queue as a position; beyond `farthest` the sum isn't finished.
std::uint64_t LapOf(const BufferQueue& queue) {
    std::uint64_t lap = 0;
    for (std::uint32_t i = 0; i < queue.size && lap < farthest; ++i)
        lap += std::uint64_t{queue[i]->frames} << 16;
    return lap;
}

// Moves the play position of a source along its queue.
class QueueWalk {
public:
    explicit QueueWalk(Source& source) : source(source) {}

    // The buffer that holds the position, which comes to lie within it; null at the end of data, and for a
    // loop without a frame. Calls `pass` for each buffer that was played through.
    template <typename Pass>
    const Buffer* Current(Pass pass) {
        for (;;) {
            if (source.queueIndex >= source.queue.size && !Wrap()) return nullptr;
            const Buffer& buffer = *source.queue[source.queueIndex];
            const std::uint64_t end = std::uint64_t{buffer.frames} << 16;
            if (source.position < end) return &buffer;
            source.position -= end;
            ++source.queueIndex;
            pass(buffer);
        }
    }

private:
    // Back to the front of a loop. A position many laps ahead is brought down to the lap after this one: the
    // walk then takes two laps at most, and passes the same buffers last.
    bool Wrap() {
        if (!source.looping) return false;
        source.queueIndex = 0;
        if (lap == 0) lap = LapOf(source.queue);
        if (lap == 0) return false;
        if (source.position >= 2 * lap) source.position = lap + source.position % lap;
        return true;
    }

    Source& source;
    std::uint64_t lap = 0;  // length of the queue, once a loop was closed
};

// out[k] = (65536 - f) * raw[i] + f * raw[i + 1], with i the whole and f the fraction, in 2^-16, of the
// position `position` + k * `step`.
void InterpolateRun(const float* raw, std::uint64_t position, std::uint64_t step, std::uint32_t count,
                    float* out) {
    hcml::InterpolateLinear(out, count, raw + 1, {position, step});
}

// As InterpolateRun, with the two values of output k at raw[2k] and raw[2k + 1].
void InterpolatePairs(const float* raw, std::uint64_t position, std::uint64_t step, std::uint32_t count,
                      float* out) {
    for (std::size_t k = 0; k < count; ++k, position += step) {
        const auto f = static_cast<std::int32_t>(position & fractionMask);
        out[k] = static_cast<float>(65536 - f) * raw[2 * k] + static_cast<float>(f) * raw[2 * k + 1];
    }
}

// The end of data.
void Stop(Source& source) {
    source.queueIndex = 0;
    source.position = 0;
    source.state = SourceState::Stopped;
}

// Half a filter of silence after the last frame: what is left in the filter comes out, at most `wanted`
// frames, written from `first` on. Returns how many.
template <typename Converter>
std::uint32_t ProduceTail(Converter& converter, float* const* channels, std::uint32_t first,
                          std::uint32_t wanted) {
    static constexpr std::array<float, std::size_t{maxTaps} / 2> silence{};
    std::array<const float*, maxChannels> rows;
    rows.fill(silence.data());
    const std::uint32_t left = converter.taps / 2 - std::min(converter.silence, converter.taps / 2);
    std::uint32_t toPush = 0, toProduce = 0;
    planBlock(converter, left, wanted, toPush, toProduce);
    converter.silence += toPush;
    // A step longer than the silence may have left frames before it that are still to be heard. SincBest
    // plays them at any step, or it would depend on the length of the blocks which it plays.
    const bool isLongStep = converter.series != nullptr ? converter.silence >= converter.taps / 2
                                                        : converter.step >> converterFractionBits >= toPush;
    const std::uint32_t middle =
        (converter.readPosition >> converterFractionBits) + converter.taps / 2 - 1 + converter.silence;
    if (toProduce == 0 && wanted > 0 && isLongStep && middle < converter.writeIndex + toPush) toProduce = 1;
    convert(converter, {rows.data(), toPush}, {channels, first, toProduce});
    return toProduce;
}

// SincBest's tail is long enough to be heard: where the block is too short for it, the source stays at the
// end of its last buffer, and goes on in the next block with the tail, or with what is queued by then.
bool HoldsForTail(const ConverterCursor& converter, Source& source, bool isBlockFull) {
    if (converter.series == nullptr || !isBlockFull) return false;
    source.queueIndex = source.queue.size - 1;
    source.position = std::uint64_t{source.queue[source.queueIndex]->frames} << 16;
    return true;
}

}  // namespace

// The block to be filled.
struct SourceReader::Target {
    float* const* channels;
    std::uint32_t channelCount;
    std::uint32_t frames;

    void ClearFrom(std::uint32_t frame) const {
        for (std::uint32_t c = 0; c < channelCount; ++c)
            std::fill(channels[c] + frame, channels[c] + frames, 0.0F);
    }
};

// Outputs `first` to `first` + `count` - 1 of the block, whose positions all lie in one buffer.
struct SourceReader::Stretch {
    const Buffer& buffer;
    std::uint64_t position;
    std::uint64_t step;
    std::uint32_t first;
    std::uint32_t count;

    // Takes the first `done` outputs off.
    void Advance(std::uint32_t done) {
        position += done * step;
        first += done;
        count -= done;
    }
};

std::optional<SincQuality> SincQualityOf(orb3::SampleRateConversion conversion) {
    switch (conversion) {
        case orb3::SampleRateConversion::Off:
        case orb3::SampleRateConversion::Linear:
            return std::nullopt;
        case orb3::SampleRateConversion::SincLow:
            return SincQuality::Low;
        case orb3::SampleRateConversion::SincMedium:
            return SincQuality::Medium;
        case orb3::SampleRateConversion::SincHigh:
            return SincQuality::High;
        case orb3::SampleRateConversion::SincBest:
            return SincQuality::Best;
    }
    slib::ThrowUnreachable();
}

SourceReader::SourceReader(orb3::SampleRateConversion quality, orb3::Sound sound)
    : quality(quality),
      isPlain(sound == orb3::Sound::Classic),
      raw(hcml::AllocateAlignedFloats(std::uint64_t{chunkFrames} * maxChannels)),
      planar(hcml::AllocateAlignedFloats(std::uint64_t{planarStride} * maxChannels)) {
    for (std::size_t c = 0; c < maxChannels; ++c)
        planarRows[c] = planar.get() + c * planarStride;
    if (quality < orb3::SampleRateConversion::Off || quality > orb3::SampleRateConversion::SincBest)
        slib::ThrowUnreachable();
}

float SourceReader::ReadMono(Source& source, PreviousFrame& previousFrame, ConverterState& converter,
                             ReadRate rate, float* target, std::uint32_t frames) {
    const Target whole{&target, 1, frames};
    return IsSinc(quality) ? ReadSinc(source, converter, rate, whole)
                           : ReadStepped(source, previousFrame, rate, whole);
}

float SourceReader::ReadMultiChannel(Source& source, PreviousFrame& previousFrame,
                                     MultiChannelConverterState& converter, ReadRate rate,
                                     hcml::ac::Bus& target) {
    const Target whole{target.channels, target.channelCount, target.frames};
    if (!IsSinc(quality)) return ReadStepped(source, previousFrame, rate, whole);
    converter.resize(target.channelCount);
    return ReadSinc(source, converter, rate, whole);
}

// The nearest and the linear reader.
float SourceReader::ReadStepped(Source& source, PreviousFrame& previousFrame, ReadRate rate,
                                const Target& target) {
    const bool isLinear = quality == orb3::SampleRateConversion::Linear;
    const std::optional<double> ratio = RatioOf(source, rate);
    if (!ratio) {
        if (isLinear) previousFrame.fill(0);
        target.ClearFrom(0);
        return 0;
    }
    const std::uint64_t step = StepOf(*ratio);
    const float scale = source.queue[0]->scale;
    const auto pass = [&](const Buffer& passed) {
        if (isLinear) CopyLastRawFrame(passed, isPlain, previousFrame.data());
    };
    QueueWalk walk(source);
    for (std::uint32_t done = 0; done < target.frames;) {
        const Buffer* buffer = walk.Current(pass);
        if (buffer == nullptr) {
            target.ClearFrom(done);
            if (source.looping) return 0;
            Stop(source);
            break;
        }
        if (buffer->channels != target.channelCount) slib::ThrowUnreachable();
        const std::uint64_t end = std::uint64_t{buffer->frames} << 16;
        const std::uint32_t count = CountBelow(source.position, end, step, target.frames - done);
        const Stretch stretch{*buffer, source.position, step, done, count};
        isLinear ? Interpolate(stretch, previousFrame, target) : TakeNearest(stretch, target);
        source.position += count * step;
        done += count;
    }
    return isLinear ? scale / static_cast<float>(oneFrame) : scale;
}

// The channels of interleaved frames: they themselves when there is just one, else copies.
const float* const* SourceReader::Planar(const float* frames, std::uint32_t channelCount,
                                         std::uint32_t count) {
    if (channelCount == 1) {
        rows[0] = frames;
    } else {
        hcml::Deinterleave(planarRows.data(), frames, channelCount, count);
        std::copy_n(planarRows.data(), channelCount, rows.data());
    }
    return rows.data();
}

void SourceReader::TakeNearest(Stretch stretch, const Target& target) {
    while (stretch.count > 0) {
        const std::uint32_t count = std::min(stretch.count, chunkFrames);
        // What has to be decoded goes straight into a single channel.
        float* const own = target.channelCount == 1 ? target.channels[0] + stretch.first : raw.get();
        const float* frames = own;
        if (stretch.step == oneFrame)
            frames =
                RawFrames(stretch.buffer, static_cast<std::uint32_t>(stretch.position >> 16), count, own);
        else
            PickRawFrames(stretch.buffer, {stretch.position, stretch.step, count, 1}, own);
        std::array<float*, maxChannels> outputs;
        for (std::uint32_t c = 0; c < target.channelCount; ++c)
            outputs[c] = target.channels[c] + stretch.first;
        if (frames != outputs[0]) hcml::Deinterleave(outputs.data(), frames, target.channelCount, count);
        stretch.Advance(count);
    }
}

// Output is one input frame before the position, between that frame and the one before.
void SourceReader::Interpolate(Stretch stretch, const PreviousFrame& previousFrame, const Target& target) {
    const std::uint32_t head = CountBelow(stretch.position, oneFrame, stretch.step, stretch.count);
    if (head > 0) {
        const float* firstFrame = RawFrames(stretch.buffer, 0, 1, raw.get());
        for (std::uint32_t c = 0; c < target.channelCount; ++c) {
            const std::array<float, 2> pair{previousFrame[c], firstFrame[c]};
            InterpolateRun(pair.data(), stretch.position, stretch.step, head,
                           target.channels[c] + stretch.first);
        }
        stretch.Advance(head);
    }
    const bool isDense = stretch.step <= longestDenseStep;
    while (stretch.count > 0)
        stretch.Advance(isDense ? InterpolateDense(stretch, target) : InterpolateSparse(stretch, target));
}

// From all frames that a part of the stretch passes over. Returns how many outputs that gave.
std::uint32_t SourceReader::InterpolateDense(const Stretch& stretch, const Target& target) {
    const std::uint64_t fraction = stretch.position & fractionMask;
    const std::uint32_t count =
        CountBelow(fraction, (chunkFrames - 1) * oneFrame, stretch.step, stretch.count);
    const auto first = static_cast<std::uint32_t>((stretch.position >> 16) - 1);
    const auto frames = static_cast<std::uint32_t>(((fraction + (count - 1) * stretch.step) >> 16) + 2);
    const float* interleaved = RawFrames(stretch.buffer, first, frames, raw.get());
    const float* const* channels = Planar(interleaved, target.channelCount, frames);
    for (std::uint32_t c = 0; c < target.channelCount; ++c)
        InterpolateRun(channels[c], fraction, stretch.step, count, target.channels[c] + stretch.first);
    return count;
}

// From two frames for each output. Returns how many outputs that gave.
std::uint32_t SourceReader::InterpolateSparse(const Stretch& stretch, const Target& target) {
    const std::uint32_t count = std::min(stretch.count, chunkFrames / 2);
    PickRawFrames(stretch.buffer, {stretch.position, stretch.step, count, 2}, raw.get());
    const float* const* channels = Planar(raw.get(), target.channelCount, 2 * count);
    for (std::uint32_t c = 0; c < target.channelCount; ++c)
        InterpolatePairs(channels[c], stretch.position, stretch.step, count,
                         target.channels[c] + stretch.first);
    return count;
}

template <typename Converter>
float SourceReader::ReadSinc(Source& source, Converter& converter, ReadRate rate, const Target& target) {
    const std::optional<double> ratio = RatioOf(source, rate);
    if (!ratio) {
        reset(converter);
        target.ClearFrom(0);
        return 0;
    }
    setRatio(converter, *ratio);
    const float scale = source.queue[0]->scale;
    QueueWalk walk(source);
    for (std::uint32_t done = 0; done < target.frames;) {
        const Buffer* buffer = walk.Current([](const Buffer&) {});
        if (buffer == nullptr) {
            if (source.looping) {
                target.ClearFrom(done);
                return 0;
            }
            std::uint32_t made = 0;
            do {
                made = ProduceTail(converter, target.channels, done, target.frames - done);
                done += made;
            } while (converter.series != nullptr && made > 0);
            target.ClearFrom(done);
            if (!HoldsForTail(converter, source, done == target.frames)) Stop(source);
            return scale;
        }
        if (buffer->channels != target.channelCount) slib::ThrowUnreachable();
        const auto first = static_cast<std::uint32_t>(source.position >> 16);
        std::uint32_t toPush = 0, toProduce = 0;
        const std::uint32_t available = std::min(buffer->frames - first, chunkFrames);
        planBlock(converter, available, target.frames - done, toPush, toProduce);
        const float* frames = RawFrames(*buffer, first, toPush, raw.get());
        convert(converter, {Planar(frames, target.channelCount, toPush), toPush},
                {target.channels, done, toProduce});
        converter.silence = 0;
        source.position = std::uint64_t{first + toPush} << 16;
        done += toProduce;
    }
    return scale;
}

}  // namespace goal
