#pragma once

// The decoder as the server sees it: a sink for blocks of the spatial bus.
//
//     bus -> transformer -> + feeds (delay lines) -> limiter -> peak, levels -> pipe
//
// One thread, the caller, writes; reportPeak and ReadLevels may run on another. writeBus waits until the
// output has room, and so gives the whole chain its pace. A block allocates nothing.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "numeric/bus.h"
#include "numeric/genericmatrix.h"
#include "orb3core/decoder/blocklimiter.h"
#include "orb3core/decoder/directfeed.h"
#include "orb3core/decoder/levelmeter.h"
#include "orb3core/decoder/partitionedtransformer.h"
#include "orb3core/transform/timedomaintransform.h"
#include "pipe/pipe.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/realtime.h"

namespace orb3 {

/// The thread that a decoder works in.
enum class DecoderMode {
    Serial,    ///< the caller's
    Parallel,  ///< one of its own, beside the caller's next block
};

/// How a decoder keeps its output from clipping.
enum class Limiting {
    Plain,    ///< Limiter
    Refined,  ///< Limiter_v2
};

class TransformedPipeUPT {
public:
    virtual ~TransformedPipeUPT() = default;
    TransformedPipeUPT(const TransformedPipeUPT&) = delete;
    TransformedPipeUPT& operator=(const TransformedPipeUPT&) = delete;

    /// Writes one block: a bus of `blockFrames` frames with a channel for each input of the transform, and
    /// feeds of as many frames, whose gains are linear. Feeds of one channel are added up. Throws
    /// slib::BadParameterException for another shape or a feed of no output channel, and then has written
    /// nothing, and what the pipe threw (see the two forms).
    virtual void writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) SLIB_NONBLOCKING = 0;

    /// The same for a block of `blockFrames` rows and a column for each input of the transform.
    virtual void writeInterleaved(const hcml::GenericMatrix<float, 1>& block,
                                  std::span<const DirectFeed> feeds) SLIB_NONBLOCKING = 0;

    /// Writes enough blocks of silence to play the transform's tail. Allocates.
    virtual void flush();

    /// Waits, in the caller's thread, until the output has room for a block, so that the next one can be made
    /// as late as possible. A decoder with a thread of its own doesn't. Throws what the pipe throws.
    virtual void AwaitRoom() SLIB_NONBLOCKING {}

    /// Whether a thread of the decoder's own, if it has one, may go before all that isn't real-time, as it
    /// does at first. Any thread; takes effect with a later block.
    virtual void SetUrgent(bool isUrgent) SLIB_NONBLOCKING { static_cast<void>(isUrgent); }

    /// Writes a line about the greatest sample so far, before limiting, to `log`; nothing after silence.
    void reportPeak(slib::Log* log);

    /// Copies the levels of the first outputs, behind the limiter, as many as there are and `levels` has room
    /// for, and returns the limiter's gain, linear. Any thread.
    float ReadLevels(std::span<OutputLevel> levels) SLIB_NONBLOCKING;
    std::uint32_t OutputCount() const { return transformer.outputCount; }

protected:
    /// Sets the transformer up and writes a line about it to `log`, which is borrowed. Throws
    /// slib::BadParameterException for a pipe without blocks or rate, and what the transformer throws.
    TransformedPipeUPT(const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log,
                       audiopipe::PipePtr pipe, bool isParallel, Limiting limiting);

    void CheckBlock(std::uint32_t frames, std::uint32_t channels, std::span<const DirectFeed> feeds) const;
    /// Limits `output` (blockFrames by output channels), notes its peak and passes it to the pipe.
    void LimitAndWrite(hcml::GenericMatrix<float, 1>& output);
    /// Stops the pipe on the way to the end: a failure is a line in the log.
    void StopPipe() noexcept;

    audiopipe::PipePtr pipe;
    const std::uint32_t pipeFrames;  // of the pipe's block
    const bool isParallel;
    slib::Log* const log;
    UnbufferedPartitionedTransformer_v4 transformer;
    std::uint32_t pipeBlocksPerBlock = 1;

public:
    std::uint32_t blockFrames = 0;  ///< of the caller's block, a multiple of the pipe's

    /// Frames by which the output lags what is written: the responses' lead, and in a thread of its own a
    /// block.
    std::uint32_t LatencyFrames() const { return transformer.startLatency + (isParallel ? blockFrames : 0); }

private:
    void Configure(const strans::TimeDomainTransform<float, 1>& transform);
    void LogSetUp(bool isFrequencyDomain) const;
    void NoteLevels(float blockPeak, const float* block);

    const std::unique_ptr<BlockLimiter> limiter;
    slib::Mutex peakMutex;
    float peak SLIB_GUARDED_BY(peakMutex) = 0;  // before the limiter
    float limiterGain SLIB_GUARDED_BY(peakMutex) = 1;
    std::optional<LevelMeter> meter SLIB_GUARDED_BY(peakMutex);  // never empty
};

/// The decoder that runs `transform`, which is read and not kept, and writes to `pipe`. `log` is borrowed
/// and outlives the decoder. `feedDelays` are frames by which the feeds of a channel come later than the
/// transform's lead alone asks for; none, or one an output. Throws slib::OutOfMemoryException, and what the
/// pipe and the transformer throw.
[[nodiscard]] std::unique_ptr<TransformedPipeUPT> createTransformedPipe(
    const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log, const audiopipe::PipePtr& pipe,
    DecoderMode mode, Limiting limiting, const std::vector<std::uint32_t>& feedDelays = {});

}  // namespace orb3
