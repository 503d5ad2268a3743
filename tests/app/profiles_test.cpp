// What the switches of a game's profile change, each against OpenAL 1.1, and how a profile is found.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "orb3core/store/configstore.h"
#include "tests/support/contextfixture.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/recordinglog.h"

namespace {

using goal::GameSwitch;

// Puts a switch on as long as it lives.
struct SwitchedOn {
    explicit SwitchedOn(GameSwitch which) : which(which) { goal::TheProcess().profile.Set(which, true); }
    ~SwitchedOn() { goal::TheProcess().profile.Set(which, false); }
    const GameSwitch which;
};

class Profile : public testing_support::ContextFixture {
protected:
    static ALint StateOf(ALuint source) { return Get(source, AL_SOURCE_STATE); }
};

TEST_F(Profile, StandardErrors_AreThoseOfTheStandardAndCountedWhereTheyAreOff) {
    const ALuint buffer = MakeBuffer(100), otherRate = MakeBuffer(100, 2000), empty = New(alGenBuffers);
    const ALuint moving = New(alGenSources), stream = MakeStream(2), fresh = New(alGenSources);
    const ALuint filter = New(alGenFilters), effect = New(alGenEffects), unknown = 4711;
    SetBuffer(moving, buffer);
    alSourcePlay(moving);
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_REVERB);
    ALuint names[3] = {};
    ALfloat number = 0;
    const struct {
        const char* what;
        std::function<void()> call;
        ALenum usual, standard;
    } rows[] = {
        {"a buffer for a source that plays", [&] { SetBuffer(moving, buffer); }, AL_INVALID_VALUE,
         AL_INVALID_OPERATION},
        {"an unknown source to delete", [&] { alDeleteSources(1, &unknown); }, AL_INVALID_VALUE,
         AL_INVALID_NAME},
        {"an unknown effect to delete", [&] { alDeleteEffects(1, &unknown); }, AL_INVALID_VALUE,
         AL_INVALID_NAME},
        {"less than no sources to play", [&] { alSourcePlayv(-1, &moving); }, AL_INVALID_OPERATION,
         AL_INVALID_VALUE},
        {"a buffer of another rate to queue", [&] { alSourceQueueBuffers(stream, 1, &otherRate); },
         AL_INVALID_NAME, AL_INVALID_OPERATION},
        {"more to unqueue than there is", [&] { alSourceUnqueueBuffers(stream, 3, names); },
         AL_INVALID_OPERATION, AL_INVALID_VALUE},
        {"a decay of an hour", [&] { alEffectf(effect, AL_REVERB_DECAY_TIME, 3600); }, AL_INVALID_ENUM,
         AL_INVALID_VALUE},
        {"no parameter of an effect", [&] { alEffectf(effect, 4711, 1); }, AL_INVALID_ENUM, AL_INVALID_ENUM},
        {"no parameter of a filter", [&] { alFilteri(filter, AL_LOWPASS_GAIN, 1); }, AL_INVALID_VALUE,
         AL_INVALID_ENUM},
        {"a gain of no filter", [&] { alGetFilterf(filter, AL_LOWPASS_GAIN, &number); }, AL_INVALID_OPERATION,
         AL_INVALID_ENUM},
        {"less than no slots", [&] { alGenAuxiliaryEffectSlots(-1, names); }, AL_NO_ERROR, AL_INVALID_VALUE},
        {"no speed of sound", [&] { alSpeedOfSound(0); }, AL_NO_ERROR, AL_INVALID_VALUE},
        {"a fifth send", [&] { alSource3i(fresh, AL_AUXILIARY_SEND_FILTER, 0, 4, 0); }, AL_NO_ERROR,
         AL_INVALID_VALUE},
        {"a buffer without data", [&] { SetBuffer(fresh, empty); }, AL_INVALID_VALUE, AL_NO_ERROR},
        {"the buffer 0 to delete",
         [&] {
             constexpr ALuint none = 0;
             alDeleteBuffers(1, &none);
         },
         AL_INVALID_NAME, AL_NO_ERROR},
    };
    const std::uint32_t before = process.profile.Refusals(GameSwitch::StandardErrors);
    std::uint32_t refused = 0;
    for (const auto& row : rows) {
        row.call();
        EXPECT_EQ(alGetError(), row.usual) << row.what;
        const bool isLifted = row.usual != row.standard && row.usual != AL_NO_ERROR;
        refused += isLifted ? 1 : 0;
    }
    EXPECT_EQ(process.profile.Refusals(GameSwitch::StandardErrors),
              before + refused + 1);  // the slots are counted
    const SwitchedOn on(GameSwitch::StandardErrors);
    for (const auto& row : rows) {
        row.call();
        EXPECT_EQ(alGetError(), row.standard) << row.what;
    }
}

TEST_F(Profile, StandardErrors_ChangeStatesAndSuspensions) {
    const ALuint empty = New(alGenSources), stream = MakeStream(2);
    ALuint name = 0;
    alSourcePlay(empty);
    EXPECT_EQ(StateOf(empty), AL_INITIAL);
    const SwitchedOn on(GameSwitch::StandardErrors);
    alSourcePlay(empty);
    EXPECT_EQ(StateOf(empty), AL_STOPPED);
    alSourceUnqueueBuffers(stream, 1, &name);  // nothing is processed before it has played
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    Suspend();
    Suspend();
    alListenerf(AL_GAIN, 0.25F);
    Resume();
    EXPECT_EQ(context->suspendCount, 0u);
    EXPECT_EQ(goal::SharedState(*context).listenerGain, 0.25F);
    alcSuspendContext(nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_CONTEXT);
    EXPECT_EQ(alcMakeContextCurrent(reinterpret_cast<ALCcontext*>(&name)), ALC_FALSE);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_CONTEXT);
}

TEST_F(Profile, QuietLookups_RecordNothingForANameThatIsntThere) {
    const auto look = [] {
        EXPECT_EQ(alcGetProcAddress(nullptr, "alcNothing"), nullptr);
        EXPECT_EQ(alcGetEnumValue(nullptr, "ALC_NOTHING"), 0);
        EXPECT_EQ(alGetEnumValue("AL_NOTHING"), 0);
    };
    look();
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_VALUE);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    const SwitchedOn on(GameSwitch::QuietLookups);
    look();
    EXPECT_EQ(alcGetError(nullptr), ALC_NO_ERROR);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    alcGetProcAddress(nullptr, nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_VALUE);
}

TEST_F(Profile, ThreadContexts_GiveAThreadItsOwnAndNothingWhenOff) {
    const std::string extension = "ALC_EXT_thread_local_context";
    EXPECT_EQ(alcIsExtensionPresent(nullptr, extension.c_str()), ALC_FALSE);
    EXPECT_EQ(alcGetProcAddress(nullptr, "alcSetThreadContext"), nullptr);
    EXPECT_EQ(std::string(alcGetString(nullptr, ALC_EXTENSIONS)).find(extension), std::string::npos);
    EXPECT_EQ(process.profile.Refusals(GameSwitch::ThreadContexts), 2u);
    alcGetError(nullptr);

    const SwitchedOn on(GameSwitch::ThreadContexts);
    EXPECT_EQ(alcIsExtensionPresent(nullptr, extension.c_str()), ALC_TRUE);
    EXPECT_NE(std::string(alcGetString(nullptr, ALC_EXTENSIONS)).find(extension), std::string::npos);
    const auto set =
        reinterpret_cast<ALCboolean (*)(ALCcontext*)>(alcGetProcAddress(nullptr, "alcSetThreadContext"));
    const auto get = reinterpret_cast<ALCcontext* (*)()>(alcGetProcAddress(nullptr, "alcGetThreadContext"));
    ASSERT_TRUE(set != nullptr && get != nullptr);
    goal::Context other(process.engine);
    other.place = process.engine.device.contexts.Add(&other);
    auto* const handle = reinterpret_cast<ALCcontext*>(&other);
    alListenerf(AL_GAIN, 0.5F);
    std::thread([&] {
        EXPECT_EQ(set(handle), ALC_TRUE);
        EXPECT_EQ(get(), handle);
        EXPECT_EQ(alcGetCurrentContext(), handle);
        alListenerf(AL_GAIN, 0.25F);
        alListenerf(AL_GAIN, -1);  // an error of this context
    }).join();
    EXPECT_EQ(get(), nullptr);
    EXPECT_EQ(alcGetCurrentContext(), reinterpret_cast<ALCcontext*>(context.get()));
    EXPECT_EQ(goal::SharedState(*context).listenerGain, 0.5F);
    EXPECT_EQ(goal::SharedState(other).listenerGain, 0.25F);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    EXPECT_EQ(set(handle), ALC_TRUE);
    EXPECT_EQ(alGetError(), AL_INVALID_VALUE);
    process.engine.device.contexts.Remove(&other);
    EXPECT_EQ(get(), nullptr);  // it is gone
    std::destroy_at(&other);
    std::construct_at(&other, process.engine);
    other.place = process.engine.device.contexts.Add(&other);
    EXPECT_EQ(get(), nullptr) << "another one has its memory";
    process.engine.device.contexts.Remove(&other);
    EXPECT_EQ(set(handle), ALC_FALSE);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_CONTEXT);
    EXPECT_EQ(set(nullptr), ALC_TRUE);
}

// The renderer of either context may still read what the game deletes or takes back.
TEST_F(Profile, SeveralContexts_HoldABufferUntilTheLastOfThemHasDoneWithIt) {
    goal::Context other(process.engine);
    other.place = process.engine.device.contexts.Add(&other);
    const ALuint gone = MakeBuffer(100), borrowed = New(alGenBuffers);
    std::vector<unsigned char> memory(100, 128);
    alBufferDataStatic(borrowed, AL_FORMAT_MONO8, memory.data(), 100, 1000);
    goal::Buffer* const buffer = Stored(gone);
    alDeleteBuffers(1, &gone);
    EXPECT_EQ(buffer->holders, 2u);
    context->application.deletedBuffers.reset();
    EXPECT_EQ(buffer->holders, 1u);

    const ALuint source = New(alGenSources);
    SetBuffer(source, borrowed);
    goal::MarkBufferUsage(other);
    SetBuffer(source, 0);
    goal::MarkBufferUsage(*context);
    alBufferDataStatic(borrowed, AL_FORMAT_MONO8, memory.data(), 50, 1000);
    EXPECT_EQ(alGetError(), AL_INVALID_OPERATION) << "the other may read it";
    goal::MarkBufferUsage(other);
    alBufferDataStatic(borrowed, AL_FORMAT_MONO8, memory.data(), 50, 1000);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    process.engine.device.contexts.Remove(&other);
}

// With servers that run: each has its sources and its listener, and the buffers are the device's.
TEST(SeveralContexts, PlayBesideEachOtherAndEndOneByOne) {
    testing_support::TemporaryStore store;
    store.ChooseSilence();
    testing_support::StoreDocument();
    const SwitchedOn on(GameSwitch::SeveralContexts);
    ALCdevice* const device = alcOpenDevice(nullptr);
    const std::vector<ALshort> samples(48000);
    std::vector<ALCcontext*> contexts;
    std::vector<ALuint> sources;
    ALuint buffer = 0;
    alGenBuffers(1, &buffer);
    alBufferData(buffer, AL_FORMAT_MONO16, samples.data(), 96000, 48000);
    for (int i = 0; i < 3; ++i) {
        contexts.push_back(alcCreateContext(device, nullptr));
        ASSERT_NE(contexts.back(), nullptr);
        alcMakeContextCurrent(contexts.back());
        sources.push_back(0);
        alGenSources(1, &sources.back());
        EXPECT_EQ(sources.back(), 1u) << "names of its own";
        alSourcei(sources.back(), AL_BUFFER, static_cast<ALint>(buffer));
        alSourcePlay(sources.back());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    while (!contexts.empty()) {
        for (std::size_t i = 0; i < contexts.size(); ++i) {
            alcMakeContextCurrent(contexts[i]);
            ALint state = 0, offset = 0;
            alGetSourcei(1, AL_SOURCE_STATE, &state);
            alGetSourcei(1, AL_SAMPLE_OFFSET, &offset);
            EXPECT_EQ(state, AL_PLAYING);
            EXPECT_GT(offset, 0);
        }
        EXPECT_EQ(alcCloseDevice(device), ALC_FALSE);
        alcDestroyContext(contexts.back());
        contexts.pop_back();
    }
    alcGetError(device);
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
    alDeleteBuffers(1, &buffer);
    EXPECT_EQ(alGetError(), AL_NO_ERROR);
    const slib::Lock lock(goal::TheProcess().engine.configuration.configurationMutex);
    goal::TheProcess().engine.configuration.Unload();
}

TEST(ProfileInForce, OfThisProgram_IsFoundAndItsSettingsStayOutOfTheStore) {
    const testing_support::TemporaryStore store;
    testing_support::StoreDocument();
    const orb3::ConfigStore user(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    user.Write(orb3::gameProfilesKey,
               "<Games><Game Name=\"Mine\" Programs=\"none|TEST_*p\" Order=\"1\" "
               "QuietLookups=\"True\" Nonsense=\"3\"/></Games>");
    testing_support::RecordingLog log;
    orb3::SharedConfiguration shared(&log, testing_support::keepDefaults);
    goal::StatusPage status;
    goal::ProfileInForce profile(status);
    profile.Take(shared, log);
    EXPECT_EQ(profile.name, "Mine");
    EXPECT_TRUE(profile.IsOn(GameSwitch::QuietLookups));
    EXPECT_FALSE(profile.IsOn(GameSwitch::Capture));
    EXPECT_NE(log.lines.find("The profile 'Mine' is in force: Nonsense 3, Order 1, QuietLookups."),
              std::string::npos)
        << log.lines;
    EXPECT_NE(log.lines.find("'Nonsense', which is no switch"), std::string::npos);
    const auto inForce = shared.Read([](const orb3::Configuration& c) { return c; });
    EXPECT_EQ(inForce.goalConfig.order, 1);
    orb3::Configuration changed = inForce;
    changed.selectedName = "Elsewhere";
    shared.StoreConfiguration(changed);
    orb3::Configuration stored;
    stored.Read(slib::SXMLNode(orb3::ReadSpeakerConfiguration()));
    EXPECT_EQ(stored.selectedName, "Elsewhere");
    EXPECT_EQ(stored.goalConfig.order, orb3::Configuration().goalConfig.order);
    const slib::Lock lock(shared.configurationMutex);
    EXPECT_EQ(shared.InForce(stored), changed) << "for the watch on the store";
}

TEST(GameProfiles, TheUsersWinAndHaveTheRestOfTheShippedOne) {
    const auto shipped = orb3::ParseGameProfiles(
        "<Games><Game Name=\"A\" Programs=\"a.x86*\" Order=\"1\" Capture=\"True\"/><Game Name=\"B\" "
        "Libraries=\"libb.so\"/></Games>");
    const auto users = orb3::ParseGameProfiles("<Games><Game Name=\"a\" Order=\"3\"/></Games>");
    const auto joined = orb3::JoinGameProfiles(shipped, users);
    const auto found = orb3::FindGameProfileFor(joined, {{"A.x86_64"}, {"libb.so"}});
    ASSERT_TRUE(found);
    EXPECT_EQ(orb3::DescribeChanges(*found), "Capture, Order 3");
    EXPECT_EQ(orb3::FindGameProfileFor(joined, {{"b"}, {"libb.so"}})->name, "B");
    EXPECT_FALSE(orb3::FindGameProfileFor(joined, {{"ba.x86"}, {"libb.so.1"}}));
    EXPECT_EQ(orb3::ParseGameProfiles(orb3::GameProfilesText(joined, slib::SXMLNode::Style::Spread)), joined);
    EXPECT_THROW(orb3::ParseGameProfiles("<Games><Game Order=\"1\"/></Games>"), std::exception);
    const auto real = orb3::ReadShippedGameProfiles(testing_support::BuildTree());
    ASSERT_FALSE(real.empty());
    for (const orb3::GameProfile& profile : real) {
        EXPECT_FALSE(profile.reason.empty()) << profile.name;
        for (const auto& [name, value] : profile.values)
            EXPECT_TRUE(orb3::FindGameSwitch(name) || orb3::FindGameSetting(name) != nullptr) << name;
    }
}

}  // namespace
