// Four threads of a game call at random while the server copies, renders and merges. Has its full worth under
// the thread sanitizer; what it checks in any build is that the books are right afterwards.

#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "tests/support/contextfixture.h"

namespace {

using Random = std::minstd_rand;

class Concurrency : public testing_support::ContextFixture {
protected:
    // The server's steps with its locks, around a renderer that moves playing sources on or to their end.
    void Serve() {
        Random random(7);
        while (!isOver) {
            {
                slib::Lock apiLock(process.engine.apiMutex);
                goal::MarkBufferUsage(*context);
                const slib::Lock stateLock(context->stateMutex);
                apiLock.Release();
                goal::CopyToSnapshot(context->snapshot, context->application, &converter.start);
            }
            for (const goal::Buffer* buffer : context->snapshot.deletedBuffers)
                delete buffer;
            context->snapshot.deletedBuffers.clear();
            context->snapshot.playing.ForEach(
                [&](std::uint32_t i) { Render(context->snapshot.sources[i], random()); });
            const slib::Lock stateLock(context->stateMutex);
            Merge();
        }
    }

    static void Render(goal::Source& source, Random::result_type chance) {
        std::uint32_t sum = 0;
        for (const goal::Buffer* buffer : source.queue)
            sum += buffer->data[0];
        source.position += sum % 64 << 16;
        if (chance % 3 == 0 && source.queueIndex < source.queue.size) ++source.queueIndex;
        if (source.queueIndex < source.queue.size || source.looping) return;
        source.state = goal::SourceState::Stopped;
        source.position = source.queueIndex = 0;
    }

    // Sources are named 1 to 8, buffers 1 to 4, and the one effect, filter and slot 1.
    void Call(Random& random) {
        const auto source = static_cast<ALuint>(1 + random() % 8);
        auto buffer = static_cast<ALuint>(1 + random() % 4);
        const auto number = static_cast<ALint>(random() % 100);
        const std::function<void()> calls[] = {
            [&] { alSource3f(source, AL_POSITION, 1, 2, 3); },
            [&] { alSourcePlay(source); },
            [&] { alSourceStop(source); },
            [&] { alSourcePause(source); },
            [&] { alSourceQueueBuffers(source, 1, &buffer); },
            [&] { alSourceUnqueueBuffers(source, 1, &buffer); },
            [&] { Get(source, AL_BYTE_OFFSET); },
            [&] { alSourcei(source, AL_SAMPLE_OFFSET, number); },
            [&] { alSourcei(source, AL_DIRECT_FILTER, 1); },
            [&] { alSource3i(source, AL_AUXILIARY_SEND_FILTER, 1, number % 3, 1); },
            [&] { alFilteri(1, AL_FILTER_TYPE, number % 4); },
            [&] { alAuxiliaryEffectSloti(1, AL_EFFECTSLOT_EFFECT, 1); },
            [&] { alEffecti(1, AL_EFFECT_TYPE, AL_EFFECT_REVERB + number % 3); },
            [&] { alListener3f(AL_POSITION, 1, 2, 3); },
            [&] { CreateAndDelete(buffer); },
            [&] { number % 2 == 0 ? Suspend() : Resume(); }};
        calls[random() % std::size(calls)]();
    }

    void CreateAndDelete(ALuint queued) {
        const ALuint source = New(alGenSources), buffer = MakeBuffer(32);
        SetBuffer(source, buffer);
        alSourcePlay(source);
        alSourceStop(source);
        SetBuffer(source, queued);
        alDeleteBuffers(1, &buffer);
        alDeleteSources(1, &source);
    }

    std::atomic<bool> isOver{false};
};

TEST_F(Concurrency, RandomCallsOfFourThreadsBesideTheServer_LeaveTheBooksRight) {
    ALuint names[8] = {};
    alGenSources(8, names);
    for (int i = 0; i < 4; ++i)
        MakeBuffer(64);
    for (const auto gen : {alGenEffects, alGenFilters, alGenAuxiliaryEffectSlots})
        gen(1, names);
    std::thread server([this] { Serve(); });
    std::vector<std::thread> game;
    for (unsigned seed = 1; seed <= 4; ++seed)
        game.emplace_back([this, random = Random(seed)]() mutable {
            for (int i = 0; i < 5000; ++i)
                Call(random);
        });
    for (std::thread& thread : game)
        thread.join();
    isOver = true;
    server.join();

    while (context->suspendCount > 0)
        Resume();
    std::map<const goal::Buffer*, int> references;
    for (const goal::Source& source : context->application.sources) {
        EXPECT_LE(source.queueIndex, source.queue.size);
        for (const goal::Buffer* buffer : source.queue)
            references[buffer] += source.deleted ? 0 : 1;
    }
    for (ALuint buffer = 1; buffer <= 4; ++buffer)
        EXPECT_EQ(UseCount(buffer), references[Stored(buffer)]);
}

}  // namespace
