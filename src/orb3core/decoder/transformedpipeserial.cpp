#include "orb3core/decoder/transformedpipeserial.h"

#include <utility>

namespace orb3 {

TransformedPipeUPT_Serial::TransformedPipeUPT_Serial(const strans::TimeDomainTransform<float, 1>& transform,
                                                     slib::Log* log, audiopipe::PipePtr pipe,
                                                     Limiting limiting,
                                                     const std::vector<std::uint32_t>& feedDelays)
    : TransformedPipeUPT(transform, log, std::move(pipe), false, limiting),
      delayLines(MakeDelayLines(transformer.outputCount, transformer.startLatency, feedDelays)),
      output(blockFrames, transformer.outputCount),
      feedSum(blockFrames) {}

TransformedPipeUPT_Serial::~TransformedPipeUPT_Serial() {
    if (started) StopPipe();
}

void TransformedPipeUPT_Serial::writeBus(const hcml::ac::Bus& bus, std::span<const DirectFeed> feeds) {
    CheckBlock(bus.frames, bus.channelCount, feeds);
    transformer.process(bus, output);
    Finish(feeds);
}

void TransformedPipeUPT_Serial::writeInterleaved(const hcml::GenericMatrix<float, 1>& block,
                                                 std::span<const DirectFeed> feeds) {
    CheckBlock(block.rows, block.columns, feeds);
    transformer.process(block, output);
    Finish(feeds);
}

void TransformedPipeUPT_Serial::Finish(std::span<const DirectFeed> feeds) {
    MixFeeds(feeds);
    if (!started) pipe->Start();
    started = true;
    LimitAndWrite(output);
}

void TransformedPipeUPT_Serial::MixFeeds(std::span<const DirectFeed> feeds) {
    ClearUsed(delayLines);
    for (std::size_t i = 0; i < feeds.size(); ++i) {
        const std::uint32_t channel = feeds[i].channel;
        if (CountFeeds(feeds.first(i), channel) != 0) continue;  // went with the first of its channel
        feedSum.clear();
        for (const DirectFeed& feed : feeds.subspan(i))
            if (feed.channel == channel) AddFeed(feed, feed.gain, feedSum.data, blockFrames);
        MixFeed(delayLines, channel, feedSum.data, output);
    }
    DrainUnused(delayLines, output);
}

}  // namespace orb3
