#include "goal/context.h"

namespace goal {
namespace {

// Buffers belong to the device and live on, so what the queues hold is given back.
void ReleaseQueues(const EntryTable<Source>& sources) {
    for (const Source& source : sources) {
        if (source.deleted) continue;
        for (Buffer* buffer : source.queue)
            --buffer->useCount;
    }
}

}  // namespace

Context::Context(Engine& engine)
    : engine(engine), number(++engine.contextsMade), recordings(engine.log), server(engine) {
    if (engine.isStepped) gate.Close();
}

void Context::End() {
    monitor.reset();
    server.End();
}

Context::~Context() {
    End();
    ReleaseQueues(suspendCount > 0 ? suspended.sources : application.sources);
}

void MarkBufferUsage(Context& context) {
    BufferPool& pool = context.engine.device.bufferPool;
    const std::uint32_t reader = std::uint32_t{1} << context.place;
    pool.MarkUsage(context.place);
    if (!pool.HasBorrowed()) return;
    // What stops now is played until it has faded out.
    if (context.snapshot.fadeBlocks > 0)
        ForEachBorrowed(context.snapshot, [&](Buffer& buffer) { buffer.renderers |= reader; });
    if (context.suspendCount == 0) return;
    // What a game takes out of a queue while the context is suspended is played until the next block after
    // the suspension, and the use counts don't show it: those queues count too.
    for (const Source& source : SharedState(context).sources) {
        if (source.deleted) continue;
        for (Buffer* buffer : source.queue)
            buffer->renderers |= reader;
    }
}

}  // namespace goal
