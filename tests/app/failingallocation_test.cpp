// Calls of a game in a process that runs out of memory.

#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/contextfixture.h"
#include "tests/support/replacedallocation.h"

namespace {

using testing_support::allocations;
using testing_support::allocationsLeft;
using testing_support::frees;
using testing_support::never;

class FailingAllocation : public testing_support::ContextFixture {
protected:
    // Makes the call with room for 0, 1, 2... allocations until it succeeds, which isn't at once where it
    // needs memory. Each failure is an invalid operation and changes nothing of what `observe` answers.
    template <typename Call, typename Observe>
    void ExpectAllOrNothing(const Call& call, const Observe& observe, bool needsMemory = true) {
        const auto before = observe();
        for (int room = 0; room < 100; ++room) {
            allocationsLeft = room;
            call();
            allocationsLeft = never;
            const ALenum error = alGetError();
            if (error == AL_NO_ERROR) {
                EXPECT_EQ(room > 0, needsMemory);
                EXPECT_NE(observe(), before);
                return;
            }
            EXPECT_EQ(error, AL_INVALID_OPERATION) << "with room for " << room;
            ASSERT_EQ(observe(), before) << "with room for " << room;
        }
        FAIL() << "never succeeded";
    }
};

TEST_F(FailingAllocation, GenSources_KeepsTheNamesMadeSoFar) {
    ALsizei made = 0;
    for (int room = 0; made < 70; ++room) {
        ASSERT_LT(room, 100);
        ALuint names[71] = {};
        allocationsLeft = room;
        alGenSources(70, names);
        allocationsLeft = never;
        const ALenum error = alGetError();
        for (made = 0; names[made] != 0; ++made)
            EXPECT_EQ(alIsSource(names[made]), AL_TRUE);
        EXPECT_EQ(error, made == 70 ? AL_NO_ERROR : AL_INVALID_VALUE);
        alDeleteSources(made, names);
    }
}

TEST_F(FailingAllocation, QueuesAndSends_ChangeWhollyOrNotAtAll) {
    for (const bool isSuspended : {false, true}) {
        const ALuint source = MakeStream(3), buffer = MakeBuffer(100), list[] = {buffer, buffer, buffer};
        ALuint names[2] = {};
        const auto observe = [&] {
            return std::tuple(Get(source, AL_BUFFERS_QUEUED), UseCount(buffer), names[0]);
        };
        Copy();
        if (isSuspended) Suspend();
        ExpectAllOrNothing([&] { alSourceQueueBuffers(source, 3, list); }, observe);
        ExpectAllOrNothing([&] { alSourceUnqueueBuffers(source, 2, names); }, observe, false);
        ExpectAllOrNothing([&] { SetBuffer(source, buffer); }, observe);
        if (isSuspended) Resume();
    }
    ExpectAllOrNothing([] { alSource3i(1, AL_AUXILIARY_SEND_FILTER, 1, 3, 0); },
                       [&] { return context->application.sources[0].sends.size; });
}

TEST_F(FailingAllocation, PlayState_ChangesForAllSourcesOrNone) {
    ALuint sources[80] = {};
    alGenSources(80, sources);
    const ALuint buffer = MakeBuffer(10);
    for (const ALuint source : sources)
        SetBuffer(source, buffer);
    Copy();
    Suspend();
    ExpectAllOrNothing([&] { alSourcePlayv(80, sources); },
                       [&] { return Get(sources[0], AL_SOURCE_STATE) + Get(sources[79], AL_SOURCE_STATE); });
    for (const ALuint source : sources)
        EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_PLAYING);
}

TEST_F(FailingAllocation, BufferData_KeepsTheOldData) {
    const ALuint buffer = MakeBuffer(10);
    ExpectAllOrNothing([&] { alBufferData(buffer, AL_FORMAT_MONO8, &allocationsLeft, sizeof(long), 1000); },
                       [&] { return Stored(buffer)->size; });
}

// What the renderer needs was built by the call, and what it has done with waits for the next one.
TEST_F(FailingAllocation, TheServersSteps_AllocateAndFreeNothingWhateverTheGameAsksFor) {
    std::vector<ALuint> sources(300), slots(16), buffers(20);
    const ALuint effect = New(alGenEffects);
    const auto bindAll = [&](ALint type) {
        alEffecti(effect, AL_EFFECT_TYPE, type);
        for (const ALuint slot : slots)
            alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    };
    const auto queueAll = [&](ALenum format) {
        for (ALuint& buffer : buffers)
            buffer = MakeBuffer(96, 48000, format);
        alSourceQueueBuffers(sources[1], 20, buffers.data());
    };
    const auto playAll = [&] { alSourcePlayv(300, sources.data()); };
    const std::pair<const char*, std::function<void()>> steps[] = {
        {"sources", [&] { alGenSources(300, sources.data()); }},
        {"slots", [&] { alGenAuxiliaryEffectSlots(16, slots.data()); }},
        {"effects", [&] { bindAll(AL_EFFECT_REVERB); }},
        {"other effects", [&] { bindAll(AL_EFFECT_CHORUS); }},
        {"no effects", [&] { bindAll(AL_EFFECT_NULL); }},
        {"a queue", [&] { queueAll(AL_FORMAT_STEREO16); }},
        {"buffers",
         [&] {
             for (const ALuint source : sources)
                 if (source != sources[1]) SetBuffer(source, MakeBuffer(10));
         }},
        {"plays", playAll},
        {"plays again", playAll},
        {"a seek", [&] { alSourcei(sources[0], AL_SAMPLE_OFFSET, 5); }},
        {"sends", [&] { alSource3i(sources[0], AL_AUXILIARY_SEND_FILTER, 1, 5, 0); }},
        {"a longer queue", [&] { queueAll(AL_FORMAT_STEREO16); }},
        {"another kind of queue",
         [&] {
             Rendered(sources[1]).queueIndex = 40;
             Merge();
             alSourceUnqueueBuffers(sources[1], 40, std::vector<ALuint>(40).data());
             queueAll(AL_FORMAT_51CHN16);
         }},
        {"stops", [&] { alSourceStopv(300, sources.data()); }},
        {"buffers that go",
         [&] {
             alSourcei(sources[1], AL_BUFFER, 0);
             alDeleteBuffers(20, buffers.data());
         }},
        {"a suspension",
         [&] {
             Suspend();
             playAll();
             bindAll(AL_EFFECT_EAXREVERB);
             alSourcei(New(alGenSources), AL_LOOPING, AL_TRUE);
             Resume();
         }},
        {"the end", [&] { alDeleteSources(300, sources.data()); }}};
    for (const auto& [name, step] : steps) {
        step();
        const std::size_t before = allocations + frees;
        Copy();
        Merge();
        EXPECT_EQ(allocations + frees, before) << name;
        EXPECT_EQ(alGetError(), AL_NO_ERROR) << name;
    }
}

TEST_F(FailingAllocation, CaptureOpenDevice_HasItsOwnCodeAndSucceedsOnceThereIsRoom) {
    store.ChooseSilence();
    process.profile.Set(goal::GameSwitch::Capture, true);
    ALCdevice* device = nullptr;
    for (int room = 0; device == nullptr; ++room) {
        ASSERT_LT(room, 1000);
        allocationsLeft = room;
        device = alcCaptureOpenDevice(nullptr, 8000, AL_FORMAT_MONO8, 64);
        allocationsLeft = never;
        EXPECT_EQ(alcGetError(nullptr), device == nullptr ? ALC_OUT_OF_MEMORY : ALC_NO_ERROR) << room;
    }
    alcCaptureCloseDevice(device);
    process.profile.Set(goal::GameSwitch::Capture, false);
}

}  // namespace
