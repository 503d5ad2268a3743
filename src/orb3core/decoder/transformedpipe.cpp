#include "orb3core/decoder/transformedpipe.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "orb3core/decoder/limiter.h"
#include "orb3core/decoder/limiter_v2.h"
#include "orb3core/decoder/transformedpipeparallel.h"
#include "orb3core/decoder/transformedpipeserial.h"
#include "slib/exception.h"
#include "slib/formatduration.h"
#include "slib/text.h"

namespace orb3 {
namespace {

constexpr float threshold = 1e-08F;              // of the taps that count
constexpr std::uint32_t fewestFrames = 128;      // of a block with a transform that takes time
constexpr std::uint32_t longestPartition = 511;  // frames
constexpr float heavyPeak = 2;                   // the output was too loud by far

std::uint32_t CheckedBufferLength(audiopipe::Pipe& pipe) {
    const std::uint32_t length = pipe.GetBufferLength();
    if (length == 0) throw slib::BadParameterException("The output has blocks of no frames.");
    return length;
}

double CheckedSampleRate(audiopipe::Pipe& pipe) {
    const double rate = pipe.GetSampleRate();
    if (!(rate > 0) || !std::isfinite(rate))
        throw slib::BadParameterException("The output has a bad sample rate: " + slib::FormatNumber(rate));
    return rate;
}

std::unique_ptr<BlockLimiter> MakeLimiter(double sampleRate, Limiting limiting) {
    if (limiting == Limiting::Plain) return std::make_unique<Limiter>(sampleRate);
    return std::make_unique<Limiter_v2>(sampleRate);
}

// Halves an even block until it is short enough; what is odd stays.
std::uint32_t PartitionLength(std::uint32_t frames) {
    while (frames > longestPartition && frames % 2 == 0)
        frames /= 2;
    return frames;
}

std::string FramesAndTime(std::uint32_t frames, double rate) {
    return std::to_string(frames) + " (" + formatDuration(frames / rate) + ")";
}

// What a peak says about the gain; empty where it is as it should be.
const char* Advice(float peak) {
    if (peak >= heavyPeak)
        return " The peak was significantly above one; the limiter had to be used heavily to avoid clipping. "
               "You may wish to reduce the gain to improve audio quality.";
    if (peak > 1) return " The peak was above one; the limiter had to be used to avoid clipping.";
    if (peak < 0.1F) return " There was more than 20dB of headroom.";
    return "";
}

}  // namespace

TransformedPipeUPT::TransformedPipeUPT(const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log,
                                       audiopipe::PipePtr pipe, bool isParallel, Limiting limiting)
    : pipe(std::move(pipe)),
      pipeFrames(CheckedBufferLength(*this->pipe)),
      isParallel(isParallel),
      log(log),
      limiter(MakeLimiter(CheckedSampleRate(*this->pipe), limiting)) {
    Configure(transform);
    LogSetUp(transform.width != 1);
}

void TransformedPipeUPT::Configure(const strans::TimeDomainTransform<float, 1>& transform) {
    const bool takesTime = transform.width != 1;
    if (takesTime && pipeFrames < fewestFrames)
        pipeBlocksPerBlock = (fewestFrames + pipeFrames - 1) / pipeFrames;
    blockFrames = pipeBlocksPerBlock * pipeFrames;
    transformer.configure(transform, threshold, takesTime ? PartitionLength(blockFrames) : blockFrames);
    const slib::Lock lock(peakMutex);
    meter.emplace(pipe->GetSampleRate(), blockFrames, transformer.outputCount);
}

void TransformedPipeUPT::LogSetUp(bool isFrequencyDomain) const {
    const double rate = pipe->GetSampleRate();
    std::string line = std::string(isParallel ? "Parallel " : "Serial ") +
                       (isFrequencyDomain ? "frequency" : "time") + "-domain mode at " +
                       slib::FormatNumber(rate * 0.001) + "kHz. Capacity is " +
                       FramesAndTime(transformer.blockLength, rate) + " on " + std::to_string(pipeFrames);
    if (isFrequencyDomain)
        line += ", transform start latency is " + FramesAndTime(transformer.startLatency, rate) +
                ", DFT size is " + std::to_string(transformer.buffers.size) + " x " +
                std::to_string(transformer.dft.size);
    log->Write(line + ".", false);
}

void TransformedPipeUPT::flush() {
    hcml::GenericMatrix<float, 1> silence(blockFrames, transformer.inputCount);
    silence.fill(0);
    for (std::uint32_t block = 0; block < transformer.buffers.size; ++block)
        writeInterleaved(silence, {});
}

void TransformedPipeUPT::reportPeak(slib::Log* log) {
    float level = 0;
    {
        const slib::Lock lock(peakMutex);
        level = peak;
    }
    if (level < 1e-05F) return;
    const std::string line = "The peak output level was " + slib::FormatNumber(level, 3) + " (" +
                             slib::FormatNumber(20 * std::log10(double{level}), 3) + "dB).";
    log->Write(line + Advice(level), level >= heavyPeak);
}

void TransformedPipeUPT::CheckBlock(std::uint32_t frames, std::uint32_t channels,
                                    std::span<const DirectFeed> feeds) const {
    if (frames != blockFrames || channels != transformer.inputCount)
        throw slib::BadParameterException("A block of " + std::to_string(frames) + " frames of " +
                                          std::to_string(channels) + " channels doesn't fit the decoder.");
    for (const DirectFeed& feed : feeds)
        if (feed.channel >= transformer.outputCount)
            throw slib::BadParameterException("The decoder has no output channel " +
                                              std::to_string(feed.channel) + ".");
}

void TransformedPipeUPT::LimitAndWrite(hcml::GenericMatrix<float, 1>& output) {
    NoteLevels(limiter->limit(output.data, output.rows, output.columns), output.data);
    const std::size_t samplesPerPipeBlock = std::size_t{pipeFrames} * output.columns;
    for (std::uint32_t block = 0; block < pipeBlocksPerBlock; ++block)
        pipe->Write(output.data + block * samplesPerPipeBlock, nullptr);
}

void TransformedPipeUPT::NoteLevels(float blockPeak, const float* block) {
    const slib::Lock lock(peakMutex);
    peak = std::max(peak, blockPeak);
    limiterGain = limiter->Gain();
    meter->Note(block);
}

float TransformedPipeUPT::ReadLevels(std::span<OutputLevel> levels) {
    const slib::Lock lock(peakMutex);
    std::copy_n(meter->levels.begin(), std::min(levels.size(), meter->levels.size()), levels.begin());
    return limiterGain;
}

void TransformedPipeUPT::StopPipe() noexcept {
    try {
        try {
            pipe->Stop();
        } catch (const std::exception& exception) {
            log->Write(std::string("Failed to stop the output: ") + exception.what(), true);
        }
    } catch (...) {  // no memory for the line, or nothing to say
    }
}

std::unique_ptr<TransformedPipeUPT> createTransformedPipe(
    const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log, const audiopipe::PipePtr& pipe,
    DecoderMode mode, Limiting limiting, const std::vector<std::uint32_t>& feedDelays) {
    try {
        switch (mode) {
            case DecoderMode::Serial:
                return std::make_unique<TransformedPipeUPT_Serial>(transform, log, pipe, limiting,
                                                                   feedDelays);
            case DecoderMode::Parallel:
                return std::make_unique<TransformedPipeUPT_Parallel>(transform, log, pipe, limiting,
                                                                     feedDelays);
        }
    } catch (const std::bad_alloc&) {
        throw slib::OutOfMemoryException();
    }
    slib::ThrowUnreachable();
}

}  // namespace orb3
