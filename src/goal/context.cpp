#include "goal/context.h"

namespace goal {
namespace {

void FreeBuffers(hcml::GenericVector<Buffer*, 1>& buffers) {
    for (Buffer* buffer : buffers)
        delete buffer;
    buffers.clear();
}

// Buffers belong to the device and live on, so what the queues hold is given back.
void ReleaseQueues(hcml::GenericVector<Source, 0>& sources) {
    for (Source& source : sources) {
        if (source.deleted) continue;
        for (Buffer* buffer : source.queue)
            --buffer->useCount;
    }
}

}  // namespace

void Context::End() {
    monitor.reset();
    server.End();
}

Context::~Context() {
    End();
    ReleaseQueues(suspendCount > 0 ? suspended.sources : application.sources);
    FreeBuffers(snapshot.deletedBuffers);
    FreeBuffers(application.deletedBuffers);
    FreeBuffers(suspended.deletedBuffers);
}

void MarkBufferUsage(Context& context) {
    context.engine.device.bufferPool.MarkUsage();
    if (context.suspendCount == 0) return;
    // What a game takes out of a queue while the context is suspended is played until the next block after
    // the suspension, and the use counts don't show it: those queues count too.
    for (const Source& source : SharedState(context).sources) {
        if (source.deleted) continue;
        for (Buffer* buffer : source.queue)
            ++buffer->renderUseCount;
    }
}

}  // namespace goal
