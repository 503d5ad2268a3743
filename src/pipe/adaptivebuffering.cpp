#include "pipe/adaptivebuffering.h"

#include <algorithm>
#include <string>

namespace audiopipe::directsound {
namespace {

constexpr std::uint64_t mostRingBytes = 268435455;
constexpr double mostExtraTime = 0.1;  // s
constexpr double periodTime = 0.5;     // s
constexpr double longestStep = 0.02;   // s; above it the cursor has jumped
constexpr std::uint32_t calmPeriodsToShrink = 20;

std::uint32_t Blocks(double seconds, double rate, std::uint32_t length) {
    return static_cast<std::uint32_t>(rate * seconds / length + 0.5);
}

}  // namespace

AdaptiveBuffering::AdaptiveBuffering(slib::Log& log, double rate, std::uint32_t channelCount,
                                     std::uint32_t wantedLength, std::uint32_t wantedCount)
    : sampleRate(rate),
      frameBytes(4 * channelCount),
      bufferLength(std::max(wantedLength, 1U)),
      bufferCount(std::max(wantedCount, 1U)),
      msPerByte(1000 / (frameBytes * rate)),
      maxExtraBuffers(Blocks(mostExtraTime, rate, bufferLength)) {
    FitCapacity(log, channelCount);
    blocksPerPeriod = Blocks(periodTime, rate, bufferLength);
    blockBytes = bufferLength * frameBytes;
    ringBytes = (maxExtraBuffers + 1 + bufferCount) * blockBytes;
}

void AdaptiveBuffering::FitCapacity(slib::Log& log, std::uint32_t channelCount) {
    const std::uint64_t block = std::uint64_t{bufferLength} * frameBytes;
    const std::uint64_t fitting = mostRingBytes / block;
    const std::uint64_t wanted = std::uint64_t{bufferCount} + 1;
    if (wanted <= fitting) {
        maxExtraBuffers =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(maxExtraBuffers, fitting - wanted));
        return;
    }
    maxExtraBuffers = 0;
    if (2 * block < mostRingBytes) {
        bufferCount = static_cast<std::uint32_t>(fitting) - 2;
    } else {
        bufferCount = 0;
        bufferLength = static_cast<std::uint32_t>(mostRingBytes / (std::uint64_t{channelCount} * 8));
    }
    log.Write(
        std::string("There doesn't seem to be enough capacity for the configured buffers! Using a buffer "
                    "length ") +
            std::to_string(bufferLength) + " and buffer count " + std::to_string(bufferCount + 1) + ".",
        true);
}

void AdaptiveBuffering::Start(std::uint32_t play) {
    lastPlay = playTotal = static_cast<std::int32_t>(play);
    writeTotal = playTotal + static_cast<std::int32_t>((bufferCount + 1) * blockBytes);
    ForgetMeasures();
}

void AdaptiveBuffering::StartAfresh() {
    extraBuffers = 0;
    ForgetMeasures();
}

void AdaptiveBuffering::ForgetMeasures() {
    smallestStep = 0;
    calmBlocks = periodBlocks = calmPeriods = 0;
    hadUnderrun = shrinkRequested = false;
}

std::int32_t AdaptiveBuffering::Follow(std::uint32_t play) {
    const auto now = static_cast<std::int32_t>(play);
    std::int32_t delta = now - lastPlay;
    if (delta < 0) delta += Ring();
    playTotal += delta;
    lastPlay = now;
    return delta;
}

void AdaptiveBuffering::Measure(std::int32_t delta) {
    const auto jump =
        static_cast<std::int32_t>(sampleRate * longestStep) * static_cast<std::int32_t>(frameBytes);
    if (delta > 0 && (delta < smallestStep || smallestStep == 0) && delta < jump) smallestStep = delta;
}

std::int32_t AdaptiveBuffering::Room(bool shrink) const {
    const auto lead = static_cast<std::int32_t>((bufferCount + 2 + extraBuffers) * blockBytes);
    const std::int32_t room = playTotal - writeTotal + lead;
    return shrink && room >= Block() ? room - Block() : room;
}

std::uint32_t AdaptiveBuffering::Patience(std::int32_t room) const {
    const auto missing = static_cast<std::uint32_t>((Block() - room) * msPerByte + 0.5);
    return std::max(missing, 1U);
}

std::uint32_t AdaptiveBuffering::WriteOffset() const {
    return static_cast<std::uint32_t>(writeTotal) % ringBytes;  // a start may stand a whole ring ahead
}

void AdaptiveBuffering::Advance() {
    writeTotal += Block();
    if (writeTotal < Ring()) return;
    writeTotal -= Ring();
    playTotal -= Ring();
}

void AdaptiveBuffering::Adapt(std::int32_t safety, bool shrink) {
    const std::int32_t margin = writeTotal - playTotal - safety;
    const std::int32_t needed = NeededExtra(safety);
    const auto extra = static_cast<std::int32_t>(extraBuffers);
    if (extra < needed) {
        Extend(needed);
    } else if (margin >= 2 * Block() && extra > needed) {
        ++calmBlocks;
    } else if (margin < Block()) {
        NoteUnderrun();
        shrink = false;
    }
    if (++periodBlocks >= blocksPerPeriod) EndPeriod();
    if (shrink) --extraBuffers;
}

// The blocks beyond the configured ones that keep a whole block between the write position and what the
// output takes, when its cursor moves by the step seen.
std::int32_t AdaptiveBuffering::NeededExtra(std::int32_t safety) const {
    const std::int32_t step = std::max(Block(), smallestStep);
    return (lastPlay % Block() + step + safety + Block() - 1) / Block() -
           static_cast<std::int32_t>(bufferCount) - 2;
}

void AdaptiveBuffering::Extend(std::int32_t needed) {
    extraBuffers = std::min(static_cast<std::uint32_t>(needed), maxExtraBuffers);
    hadUnderrun = shrinkRequested = false;
    calmPeriods = calmBlocks = periodBlocks = 0;
}

void AdaptiveBuffering::NoteUnderrun() {
    if (!hadUnderrun && extraBuffers < maxExtraBuffers) ++extraBuffers;
    hadUnderrun = true;
    while (playTotal > writeTotal + Ring())
        playTotal -= Ring();
}

void AdaptiveBuffering::EndPeriod() {
    if (calmBlocks == periodBlocks) {
        if (++calmPeriods == calmPeriodsToShrink && extraBuffers > 0) {
            shrinkRequested = true;
            calmPeriods = 0;
        }
    } else {
        calmPeriods = 0;
    }
    hadUnderrun = false;
    calmBlocks = periodBlocks = 0;
}

}  // namespace audiopipe::directsound
