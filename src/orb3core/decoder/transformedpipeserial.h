#pragma once

// The decoder that does everything in the caller's thread. What the pipe throws leaves writeBus.

#include <cstdint>
#include <span>

#include "numeric/floattuplevector.h"
#include "orb3core/decoder/delayline.h"
#include "orb3core/decoder/transformedpipe.h"
#include "slib/realtime.h"

namespace orb3 {

class TransformedPipeUPT_Serial final : public TransformedPipeUPT {
public:
    /// As createTransformedPipe. The pipe starts with the first block.
    TransformedPipeUPT_Serial(const strans::TimeDomainTransform<float, 1>& transform, slib::Log* log,
                              audiopipe::PipePtr pipe, Limiting limiting,
                              const std::vector<std::uint32_t>& feedDelays);
    ~TransformedPipeUPT_Serial() override;

    void writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) SLIB_NONBLOCKING override;
    void writeInterleaved(const hcml::GenericMatrix<float, 1>& block,
                          std::span<const DirectFeed> feeds) SLIB_NONBLOCKING override;
    void AwaitRoom() SLIB_NONBLOCKING override {
        if (started) pipe->AwaitRoom(pipeBlocksPerBlock);
    }

private:
    void MixFeeds(std::span<const DirectFeed> feeds);
    void Finish(std::span<const DirectFeed> feeds);

    DelayLines delayLines;
    hcml::GenericMatrix<float, 1> output;  // blockFrames by output channels
    hcml::FloatTupleVector feedSum;        // of one channel
    bool started = false;
};

}  // namespace orb3
