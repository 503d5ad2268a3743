// Calls of a game in a process that runs out of memory. The allocation functions of this whole test program
// are replaced by ones that fail when a test of this file says so, and only on its thread.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <vector>

#include "sourcefixture.h"

namespace {

constexpr long never = std::numeric_limits<long>::max();
thread_local long allocationsLeft = never;

void* Allocate(std::size_t size, std::size_t alignment) noexcept {
    if (allocationsLeft == 0) return nullptr;
    if (allocationsLeft != never) --allocationsLeft;
    const std::size_t whole = (size + alignment - 1) / alignment * alignment;
    return std::aligned_alloc(alignment, whole == 0 ? alignment : whole);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const block = Allocate(size, alignment)) return block;
    throw std::bad_alloc();
}

// Out of line, for the compiler takes a visible free of what came from new for a mistake.
[[gnu::noinline]] void Release(void* block) noexcept {
    std::free(block);
}

constexpr std::size_t plain = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size, plain);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size, plain);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, plain);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, plain);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept {
    Release(block);
}
void operator delete[](void* block) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}

namespace {

class FailingAllocation : public testing_support::SourceFixture {
protected:
    // Makes the call with room for 0, 1, 2... allocations until it succeeds. Each failure has that code and
    // leaves everything as it was. Answers how many there were.
    int FailEachTime(ALenum code, const std::function<void()>& call,
                     const std::function<void()>& expectUnchanged) {
        for (int room = 0;; ++room) {
            allocationsLeft = room;
            call();
            allocationsLeft = never;
            const ALenum error = alGetError();
            if (error == AL_NO_ERROR) return room;
            EXPECT_EQ(error, code) << "with room for " << room;
            expectUnchanged();
            if (room > 100 || HasFailure()) return -1;
        }
    }
};

TEST_F(FailingAllocation, GenSources_KeepsTheNamesMadeSoFar) {
    for (int room = 0; room < 100; ++room) {
        ALuint names[70] = {};
        allocationsLeft = room;
        alGenSources(70, names);
        allocationsLeft = never;
        const ALenum error = alGetError();
        ALsizei made = 0;
        for (const ALuint name : names)
            if (name != 0) {
                EXPECT_EQ(alIsSource(name), AL_TRUE);
                ++made;
            }
        EXPECT_EQ(error, made == 70 ? AL_NO_ERROR : AL_INVALID_VALUE);
        alDeleteSources(made, names);
        EXPECT_EQ(alGetError(), AL_NO_ERROR);
        Copy();
        if (made == 70) return;
    }
    FAIL() << "never succeeded";
}

TEST_F(FailingAllocation, QueueBuffers_QueuesAllOrNone) {
    for (const bool isSuspended : {false, true}) {
        const ALuint source = MakeStream(3);
        Copy();
        const ALuint buffer = MakeBuffer(10);
        const ALuint list[] = {buffer, buffer, buffer};
        if (isSuspended) Suspend();
        const int failures = FailEachTime(
            AL_INVALID_OPERATION, [&] { alSourceQueueBuffers(source, 3, list); },
            [&] {
                EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 3);
                EXPECT_EQ(context->application.sources[source - 1].queue.size, 3u);
                EXPECT_EQ(UseCount(buffer), 0);
            });
        EXPECT_GT(failures, 0);
        EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 6);
        EXPECT_EQ(UseCount(buffer), 3);
        if (isSuspended) Resume();
    }
}

TEST_F(FailingAllocation, UnqueueBuffers_UnqueuesAllOrNone) {
    for (const bool isSuspended : {false, true}) {
        const ALuint source = MakeStream(3);
        Copy();
        if (isSuspended) Suspend();
        ALuint names[2] = {0, 0};
        const int failures = FailEachTime(
            AL_INVALID_OPERATION, [&] { alSourceUnqueueBuffers(source, 2, names); },
            [&] {
                EXPECT_EQ(Get(source, AL_BUFFERS_QUEUED), 3);
                EXPECT_EQ(names[0], 0u);
            });
        EXPECT_GT(failures, 0);
        EXPECT_EQ(UseCount(names[0]), 0);
        if (isSuspended) Resume();
    }
}

TEST_F(FailingAllocation, PlayState_ChangesForAllSourcesOrNone) {
    ALuint sources[80] = {};
    alGenSources(80, sources);
    const ALuint buffer = MakeBuffer(10);
    for (const ALuint source : sources)
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    Copy();
    Suspend();
    const int failures = FailEachTime(
        AL_INVALID_OPERATION, [&] { alSourcePlayv(80, sources); },
        [&] {
            for (const ALuint source : sources)
                EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_INITIAL);
        });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(Get(sources[79], AL_SOURCE_STATE), AL_PLAYING);
}

TEST_F(FailingAllocation, OneBufferAndSends_ChangeNothing) {
    const ALuint source = MakeStream(1);
    const ALuint buffer = MakeBuffer(10);
    EXPECT_GT(FailEachTime(
                  AL_INVALID_OPERATION, [&] { alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer)); },
                  [&] {
                      EXPECT_EQ(Get(source, AL_SOURCE_TYPE), AL_STREAMING);
                      EXPECT_EQ(UseCount(1), 1);
                      EXPECT_EQ(UseCount(buffer), 0);
                  }),
              0);
    EXPECT_GT(FailEachTime(
                  AL_INVALID_OPERATION, [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, 3, 0); },
                  [&] { EXPECT_EQ(context->application.sources[source - 1].sends.size, 0u); }),
              0);
}

TEST_F(FailingAllocation, BufferData_KeepsTheOldData) {
    const ALuint buffer = MakeBuffer(10);
    const std::vector<unsigned char> data(500, 0);
    const auto size = [&] {
        ALint bytes = 0;
        alGetBufferi(buffer, AL_SIZE, &bytes);
        return bytes;
    };
    EXPECT_GT(
        FailEachTime(
            AL_INVALID_OPERATION, [&] { alBufferData(buffer, AL_FORMAT_MONO8, data.data(), 500, 1000); },
            [&] { EXPECT_EQ(size(), 10); }),
        0);
    EXPECT_EQ(size(), 500);
}

}  // namespace
