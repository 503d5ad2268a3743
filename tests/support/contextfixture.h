#pragma once

// A current context without a server: a test makes the calls of a game and drives the server's copy and merge by
// hand. For tests that link the exported calls statically.

#include <gtest/gtest.h>

#include <memory>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "temporaryfolder.h"

namespace testing_support {

class ContextFixture : public testing::Test {
protected:
    ContextFixture() {
        process.engine.device.context = context.get();
        process.currentContext = context.get();
        alGetError();
        alcGetError(nullptr);
    }

    ~ContextFixture() override {
        process.engine.device.context = nullptr;
        process.currentContext = nullptr;
        context.reset();
        process.engine.device.bufferPool.Clear();
    }

    /// What the server does before a block.
    void Copy() {
        goal::MarkBufferUsage(*context);
        goal::CopyToSnapshot(context->snapshot, context->application);
        for (goal::Buffer* buffer : context->snapshot.deletedBuffers)
            delete buffer;
        context->snapshot.deletedBuffers.clear();
    }

    /// What the server does after a block.
    void Merge() { goal::MergeProgress(context->snapshot, context->application); }

    /// A source of the snapshot, by the game's name for it.
    goal::Source& Rendered(ALuint name) { return context->snapshot.sources[name - 1]; }

    TemporaryStore store;
    goal::Process& process = goal::TheProcess();
    std::unique_ptr<goal::Context> context = std::make_unique<goal::Context>(process.engine);
};

}  // namespace testing_support
