// Four threads of a game call at random while the server copies, renders and merges. Has its full worth under the thread
// sanitizer; what it checks in any build is that the books are right afterwards.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "contextfixture.h"

namespace {

using testing_support::ContextFixture;

class Concurrency : public ContextFixture {
protected:
    // The server's steps with its locks, around a renderer that moves playing sources on or to their end.
    void Serve() {
        std::minstd_rand random(7);
        while (!isOver) {
            {
                slib::Lock apiLock(process.engine.apiMutex);
                goal::MarkBufferUsage(*context);
                const slib::Lock stateLock(context->stateMutex);
                apiLock.Release();
                goal::CopyToSnapshot(context->snapshot, context->application);
            }
            for (const goal::Buffer* buffer : context->snapshot.deletedBuffers)
                delete buffer;
            context->snapshot.deletedBuffers.clear();
            context->snapshot.playing.ForEach([&](std::uint32_t i) { Render(context->snapshot.sources[i], random()); });
            const slib::Lock stateLock(context->stateMutex);
            goal::MergeProgress(context->snapshot, context->application);
        }
    }

    static void Render(goal::Source& source, std::minstd_rand::result_type chance) {
        std::uint32_t sum = 0;
        for (const goal::Buffer* buffer : source.queue)
            sum += buffer->data[0];
        source.position += sum % 64 << 16;
        if (chance % 3 == 0 && source.queueIndex < source.queue.size) ++source.queueIndex;
        if (source.queueIndex < source.queue.size || source.looping) return;
        source.state = goal::SourceState::Stopped;
        source.position = 0;
        source.queueIndex = 0;
    }

    void Call(std::minstd_rand& random) {
        const auto pick = [&](const auto& list) { return list[random() % list.size()]; };
        const ALuint source = pick(sources);
        ALuint buffer = pick(buffers);
        ALint value = 0;
        switch (random() % 14) {
            case 0: return alSource3f(source, AL_POSITION, 1, 2, 3);
            case 1: return alSourcePlay(source);
            case 2: return alSourceStop(source);
            case 3: return alSourcePause(source);
            case 4: return alSourceQueueBuffers(source, 1, &buffer);
            case 5: return alSourceUnqueueBuffers(source, 1, &buffer);
            case 6: return alGetSourcei(source, AL_SAMPLE_OFFSET, &value);
            case 7: return alSourcei(source, AL_DIRECT_FILTER, static_cast<ALint>(filter));
            case 8: return alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 1, static_cast<ALint>(filter));
            case 9: return alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
            case 10: return alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_REVERB + static_cast<ALint>(random() % 3));
            case 11: return alListener3f(AL_POSITION, 1, 2, 3);
            case 12: return CreateAndDelete(buffer);
            default: return random() % 2 == 0 ? alcSuspendContext(Handle()) : alcProcessContext(Handle());
        }
    }

    void CreateAndDelete(ALuint queued) {
        ALuint source = 0;
        ALuint buffer = 0;
        alGenSources(1, &source);
        alGenBuffers(1, &buffer);
        alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 64, 44100);
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
        alSourcePlay(source);
        alSourceStop(source);
        alSourcei(source, AL_BUFFER, static_cast<ALint>(queued));
        alDeleteBuffers(1, &buffer);
        alDeleteSources(1, &source);
    }

    ALCcontext* Handle() { return reinterpret_cast<ALCcontext*>(context.get()); }

    std::array<ALshort, 32> samples{};
    std::vector<ALuint> sources = std::vector<ALuint>(8);
    std::vector<ALuint> buffers = std::vector<ALuint>(4);
    ALuint effect = 0;
    ALuint filter = 0;
    ALuint slot = 0;
    std::atomic<bool> isOver{false};
};

TEST_F(Concurrency, RandomCallsOfFourThreadsBesideTheServer_LeaveTheBooksRight) {
    alGenSources(8, sources.data());
    alGenBuffers(4, buffers.data());
    for (const ALuint buffer : buffers)
        alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 64, 44100);
    alGenEffects(1, &effect);
    alGenFilters(1, &filter);
    alGenAuxiliaryEffectSlots(1, &slot);

    std::thread server([this] { Serve(); });
    std::vector<std::thread> game;
    for (unsigned seed = 1; seed <= 4; ++seed)
        game.emplace_back([this, seed] {
            std::minstd_rand random(seed);
            for (int i = 0; i < 5000; ++i)
                Call(random);
        });
    for (std::thread& thread : game)
        thread.join();
    isOver = true;
    server.join();

    while (context->suspendCount > 0)
        alcProcessContext(Handle());
    std::map<const goal::Buffer*, int> references;
    for (const goal::Source& source : context->application.sources) {
        EXPECT_LE(source.queueIndex, source.queue.size);
        for (const goal::Buffer* buffer : source.queue)
            references[buffer] += source.deleted ? 0 : 1;
    }
    for (const ALuint name : buffers) {
        const goal::Buffer* const buffer = process.engine.device.bufferPool.slots[name - 1].buffer;
        EXPECT_EQ(buffer->useCount, references[buffer]);
    }
}

}  // namespace
