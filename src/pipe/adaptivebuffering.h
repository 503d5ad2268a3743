#pragma once

// How far ahead of the play cursor of a looping ring a pipe writes, and how that adapts to outputs whose
// cursor moves in large or irregular steps. It knows no device: the pipe gives it the positions of the
// cursors.
//
//     play cursor            point the output reads next       write position
//     ────┼──────────────────────────────┼───────────────────────────┼────
//         └───────── safety ─────────────┘└───────── margin ─────────┘
//
// A ring holds the configured blocks, one more, and up to 100 ms of blocks that the adaptation may add. It
// adds what the measured step of the cursor calls for at once, and one block for an underrun, at most one in
// half a second. It takes one away after ten seconds in which every block had two blocks of margin to spare.
// One thread; allocates nothing once it is made.

#include <cstdint>

#include "slib/log.h"
#include "slib/realtime.h"

namespace audiopipe::directsound {

struct AdaptiveBuffering {
    /// Lays the ring out for `rate` (Hz, above 0) and `channelCount` channels of four bytes. `wantedLength`
    /// frames a block and `wantedCount` blocks are requests: a count of 0 is 1, and what exceeds the capacity
    /// of a ring is reduced, with an error in `log`.
    AdaptiveBuffering(slib::Log& log, double rate, std::uint32_t channelCount, std::uint32_t wantedLength,
                      std::uint32_t wantedCount);

    /// The output is about to start with its play cursor at `play` (bytes). What was added stays.
    void Start(std::uint32_t play);
    /// The output went away and is back: what was added was for another one.
    void StartAfresh() SLIB_NONBLOCKING;
    /// The play cursor is at `play` (bytes) now. The bytes that it went forward.
    std::int32_t Follow(std::uint32_t play) SLIB_NONBLOCKING;
    /// Takes an advance of the cursor (bytes) seen while waiting for a measure of its step; one of 20 ms or
    /// more isn't.
    void Measure(std::int32_t delta) SLIB_NONBLOCKING;
    /// The bytes that may be written now; a block is held back while one is to be taken away.
    std::int32_t Room(bool shrink) const SLIB_NONBLOCKING;
    /// The milliseconds to wait for what `room` lacks of a block, at least 1.
    std::uint32_t Patience(std::int32_t room) const SLIB_NONBLOCKING;
    /// Where in the ring the next block goes (bytes).
    std::uint32_t WriteOffset() const SLIB_NONBLOCKING;
    /// A block was written at WriteOffset.
    void Advance() SLIB_NONBLOCKING;
    /// Judges the block just written by how far the write cursor is ahead of the play cursor (`safety`,
    /// bytes); `shrink` says that with this block one is taken away.
    void Adapt(std::int32_t safety, bool shrink);

    double sampleRate;               ///< Hz
    std::uint32_t frameBytes;        ///< of all channels
    std::uint32_t bufferLength;      ///< frames of a block
    std::uint32_t bufferCount;       ///< blocks of configured latency
    double msPerByte;                ///< milliseconds that a byte takes to play
    std::uint32_t ringBytes;         ///< size of the ring
    std::uint32_t blockBytes;        ///< of bufferLength frames
    std::int32_t lastPlay = 0;       ///< last play cursor read
    std::int32_t playTotal = 0;      ///< play position, unwrapped
    std::int32_t smallestStep = 0;   ///< smallest advance of the cursor seen, bytes; 0: none yet
    std::int32_t writeTotal = 0;     ///< write position, wrapped after each write
    std::uint32_t maxExtraBuffers;   ///< ceiling of extraBuffers
    std::uint32_t extraBuffers = 0;  ///< blocks added by the adaptation
    std::uint32_t calmPeriods = 0;   ///< consecutive periods with spare margin in every block
    std::uint32_t calmBlocks = 0;    ///< blocks with spare margin in this period
    std::uint32_t periodBlocks = 0;  ///< blocks so far in this period
    std::uint32_t blocksPerPeriod;   ///< half a second of blocks
    bool hadUnderrun = false;        ///< an underrun was counted in this period
    bool shrinkRequested = false;    ///< the next block takes one away

private:
    void ForgetMeasures();
    void FitCapacity(slib::Log& log, std::uint32_t channelCount);
    std::int32_t NeededExtra(std::int32_t safety) const;
    void Extend(std::int32_t needed);
    void NoteUnderrun();
    void EndPeriod();
    std::int32_t Block() const { return static_cast<std::int32_t>(blockBytes); }
    std::int32_t Ring() const { return static_cast<std::int32_t>(ringBytes); }
};

}  // namespace audiopipe::directsound
