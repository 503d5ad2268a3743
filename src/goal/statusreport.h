#pragma once

// What one run of the server tells the status page: once what it plays to, and with each block how it fares.
// The server makes one for each run, and calls it on its own thread. A block costs no call of the system but
// the reading of the clock, and allocates nothing.

#include <algorithm>
#include <cstdint>
#include <string>

#include "goal/state/enginestate.h"
#include "goal/statusblock.h"
#include "goal/statuspage.h"
#include "orb3core/decoder/transformedpipe.h"
#include "orb3core/setup/outputsetup.h"
#include "slib/realtime.h"

namespace goal {

/// How much of the time that blocks play they took, of late. One thread.
class LoadGauge {
public:
    /// `blockSeconds` is what a block plays.
    explicit LoadGauge(double blockSeconds) : blockSeconds(blockSeconds) {}

    /// A block took `seconds`.
    void Note(double seconds) SLIB_NONBLOCKING;

    float last = 0;
    float mean = 0;  ///< with a time constant of half a second
    /// The greatest of the last second or two.
    float Greatest() const { return std::max(greatestBefore, greatest); }

private:
    const double blockSeconds;
    double windowTime = 0;  // s, of the blocks in it
    float greatest = 0, greatestBefore = 0;
};

class StatusReport {
public:
    /// Tells what is played to. All three are borrowed and outlive this object. Throws std::bad_alloc.
    StatusReport(StatusPage& page, const orb3::OutputSetUp& output, orb3::TransformedPipeUPT& decoder,
                 std::uint32_t order);
    /// Takes back what is told of the run.
    ~StatusReport();
    StatusReport(const StatusReport&) = delete;
    StatusReport& operator=(const StatusReport&) = delete;

    /// The renderer has begun the next block, and was through with it. Beside these a block's load counts
    /// what the output wasn't waited for.
    void BeginRendering() SLIB_NONBLOCKING;
    void EndRendering() SLIB_NONBLOCKING;

    /// A block of `snapshot` was given to the output. `isPaced` says that nothing but the output was waited
    /// for since the one before.
    void NoteBlock(const RenderSnapshot& snapshot, bool isPaced) SLIB_NONBLOCKING;

private:
    void NoteLoad(std::uint64_t now, bool isPaced);
    void NoteOutput();
    void NoteEffects(const RenderSnapshot& snapshot);
    void NoteSources(const RenderSnapshot& snapshot);

    StatusPage& page;
    const orb3::OutputSetUp& output;
    orb3::TransformedPipeUPT& decoder;
    const StatusOutput description;
    StatusShare share;
    StatusBlock block;
    LoadGauge load;
    std::int64_t renderingSince = 0;  // ns
    double rendered = 0;              // s, of this block
    double waited = 0;                // s, for the output so far
};

/// A short name for a channel of an output: "FL" for "Front Left", and what fits of one that isn't known.
std::string ShortChannelName(const std::string& name);

}  // namespace goal
