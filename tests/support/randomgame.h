#pragma once

// The game of the soak and of the fuzz target `game`: threads at random calls, right ones and now and then
// wrong ones. Names are small numbers that stay the same ones, whatever is deleted and made anew, since a new
// object gets the lowest. A quarter of them are deleted at any time.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "goal/sound/bufferformats.h"
#include "orb3core/settings/goalconfig.h"
#include "tests/support/foldbackring.h"
#include "tests/support/misbehavingsystem.h"
#include "tools/presets/reverbpresets.h"

namespace soak {

using testing_support::Dice;

/// How many names there are of each kind. The buffers outlive a context.
struct Cast {
    unsigned sources = 255, buffers = 96, slots = 16, effects = 32, filters = 8;
};

/// What all threads share.
struct World {
    const unsigned seed;
    const Cast cast{};
    std::atomic<bool> isOver{false};
    testing_support::Misbehaviour output{};
    std::atomic<std::uint64_t> calls{0}, contexts{0}, restarts{0}, faults{0};
    testing_support::FoldbackRing foldback{[this] { Fault("The events of foldback came out of order."); }};
    const std::uint16_t trackerPort = static_cast<std::uint16_t>(20000 + getpid() % 20000);
    std::mutex handleMutex{};       ///< guards `context`, for calls that trust a handle
    ALCcontext* context = nullptr;  ///< null while there is none
    std::mutex namesMutex{};        ///< between a delete of a buffer and the look at its name nobody gets one

    /// Tells of something that must not be. The soak goes on, and fails at its end.
    void Fault(const std::string& text) {
        ++faults;
        std::cerr << "Fault: " + text + "\n";
    }
};

inline void Nap(unsigned milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// All types of effects, and those that have a number only, for `number` 0 to 15.
inline ALint EffectType(unsigned number) {
    constexpr ALint far[] = {AL_EFFECT_EAXREVERB, AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT,
                             AL_EFFECT_DEDICATED_DIALOGUE};
    return number <= AL_EFFECT_EQUALIZER ? static_cast<ALint>(number) : far[number - AL_EFFECT_EQUALIZER - 1];
}

/// All objects of a new context, where all names are free. All effects are on slots, and all sources play.
inline void MakeObjects(const Cast& cast) {
    std::vector<ALuint> names(std::max(cast.sources, cast.effects));
    alGenSources(static_cast<ALsizei>(cast.sources), names.data());
    alGenFilters(static_cast<ALsizei>(cast.filters), names.data());
    alGenAuxiliaryEffectSlots(static_cast<ALsizei>(cast.slots), names.data());
    alGenEffects(static_cast<ALsizei>(cast.effects), names.data());
    for (ALuint i = 0; i < cast.effects; ++i) {
        alEffecti(i + 1, AL_EFFECT_TYPE, EffectType(i % 16));
        if (i < cast.slots) alAuxiliaryEffectSloti(i + 1, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(i + 1));
    }
    for (ALuint i = 1; i <= cast.sources; ++i) {
        alSourcei(i, AL_BUFFER, static_cast<ALint>(1 + i % cast.buffers));
        alSourcei(i, AL_LOOPING, AL_TRUE);
        alSource3i(i, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(1 + i % cast.slots), 0, AL_FILTER_NULL);
        alSourcePlay(i);
    }
}

/// Other settings of the renderer. What follows a head tracker listens at `trackerPort`.
inline void Vary(orb3::GoalConfig& settings, std::uint16_t trackerPort, Dice& dice) {
    constexpr int lengths[] = {64, 100, 256, 512, 1024, 2000};
    settings.gain = dice.Between(0.1F, 2);
    settings.order = static_cast<int>(1 + dice.Below(4));
    settings.sampleRateConversion = static_cast<orb3::SampleRateConversion>(dice.Below(6));
    settings.suggestedBufferLength = dice.Of(lengths);
    settings.suggestedBufferCount = static_cast<int>(1 + dice.Below(6));
    settings.sound = dice.OneIn(2) ? orb3::Sound::Refined : orb3::Sound::Classic;
    settings.headTracking = static_cast<orb3::HeadTracking>(dice.Below(3));
    settings.headTrackingPort = trackerPort;
    settings.defaultFilterOrder = static_cast<int>(1 + dice.Below(2));
    for (bool* flag : {&settings.useDirectionalEarlyReflections, &settings.useFullLateReflections,
                       &settings.isLoggingVerbose, &settings.isSuspendSupported, &settings.measureOutputPeak,
                       &settings.useParallelDecoder, &settings.onlyOneReverb, &settings.ignoreGameSampleRate})
        *flag = dice.OneIn(2);
}

class Player {
public:
    Player(World& world, unsigned index) : world(world), index(index), dice(world.seed + 1 + index) {
        for (std::int32_t id = 0; id < 0x30000; ++id)
            if (const goal::BufferFormat* format = goal::FindBufferFormat(id)) formats.push_back(format);
    }

    // It gives back the static buffer. Without a context nothing can be in use.
    ~Player() {
        if (!DropStatic()) world.Fault("A static buffer is still in use though there is no context.");
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void Play() {
        for (; !world.isOver; Nap(dice.Below(6)))
            for (unsigned rest = dice.Below(300); rest > 0 && !world.isOver; --rest)
                Call();
    }

private:
    static void (*const calls[36])(Player& p);

    void Call() {
        dice.Of(calls)(*this);
        const ALenum code = alGetError();
        if (code != AL_NO_ERROR && (code < AL_INVALID_NAME || code > AL_OUT_OF_MEMORY))
            world.Fault("alGetError gave a code that there isn't.");
        ++world.calls;
    }

    // Three of four are this player's own.
    ALuint Source() {
        const ALuint any = Name(world.cast.sources);
        return any % 4 == 0 ? any : any - any % 16 + 4 * index + any % 4;
    }
    const ALuint* Sources() {
        std::generate(names.begin(), names.end(), [&] { return Source(); });
        return names.data();
    }
    // Of one format for the most part, which a queue wants.
    const ALuint* Queue() {
        names.fill(Name(world.cast.buffers));
        if (dice.OneIn(4)) names[1] = Name(world.cast.buffers);
        return names.data();
    }
    ALuint Name(unsigned count) { return 1 + dice.Below(count); }
    ALuint Effect() { return Name(world.cast.effects); }
    ALuint Slot() { return Name(world.cast.slots); }
    ALint Any(unsigned most) { return static_cast<ALint>(dice.Below(most + 1)); }  // a name or 0
    ALenum Parameter() {
        if (dice.OneIn(16)) return AL_SOURCE_RELATIVE;
        return dice.OneIn(4) ? AL_DIRECT_FILTER + Any(7) : AL_CONE_INNER_ANGLE + Any(0x30);
    }
    // In and out of what parameters take.
    ALfloat Value() {
        constexpr ALfloat odd[] = {-1, 0, 1e-30F, 1e30F, std::numeric_limits<ALfloat>::infinity(), NAN};
        constexpr ALfloat greatest[] = {0.02F, 0.3F, 1, 1, 1, 3, 20, 1000, 20000};
        return dice.OneIn(12) ? dice.Of(odd) : dice.Between(0, dice.Of(greatest));
    }
    ALfloat Place() { return dice.Between(-5, 5); }
    ALfloat* Values() {
        std::generate(values.begin(), values.end(), [&] { return Value(); });
        return values.data();
    }

    void Restock(ALuint source) {
        alSourceStop(source);
        alSourcei(source, AL_BUFFER, dice.OneIn(2) ? Any(world.cast.buffers) : 0);
        alSourceQueueBuffers(source, Any(3), Queue());  // refused where there is a static one
        alSourcei(source, AL_LOOPING, Any(1));
        alSourcef(source, AL_GAIN, dice.Between(0, 2));
        alSourcef(source, AL_PITCH, dice.Between(0.1F, 4));
        alSource3f(source, AL_POSITION, Place(), Place(), Place());
        alSource3i(source, AL_AUXILIARY_SEND_FILTER, Any(world.cast.slots), Any(4), Any(world.cast.filters));
        alSourcePlay(source);
    }
    void TurnQueue() {
        const ALuint source = Source();
        ALint count = 0;
        alGetSourcei(source, AL_BUFFERS_PROCESSED, &count);
        std::vector<ALuint> processed(static_cast<std::size_t>(count) + 1);
        alSourceUnqueueBuffers(source, dice.OneIn(8) ? count + 1 : count, processed.data());
        if (count > 0) alSourceQueueBuffers(source, 1, processed.data());
    }
    void Remake(void (*remove)(ALsizei, const ALuint*), void (*make)(ALsizei, ALuint*), ALuint name) {
        remove(1, &name);
        if (!dice.OneIn(4)) make(1, &name);
    }
    // The two calls trust the handle, so it has to last.
    void Suspend() {
        const std::lock_guard lock(world.handleMutex);
        alcSuspendContext(world.context);
        for (int i = 0; i < 4; ++i)
            Restock(Source()), TurnQueue(), Remake(alDeleteSources, alGenSources, Source());
        alcProcessContext(world.context);
    }
    // Floats are random below 2, but now and then anything.
    std::vector<std::uint8_t> Samples(const goal::BufferFormat& format) {
        const std::size_t frames = dice.Below(dice.OneIn(3) ? 60000 : 6000);
        std::vector<std::uint8_t> bytes(frames / format.blockFrames * format.blockBytes);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(dice.Below(256)); });
        const bool isDouble = format.encoding == goal::SampleEncoding::Float64;
        if ((!isDouble && format.encoding != goal::SampleEncoding::Float32) || dice.OneIn(16)) return bytes;
        for (std::size_t i = isDouble ? 7 : 3; i < bytes.size(); i += isDouble ? 8 : 4)
            bytes[i] = static_cast<std::uint8_t>((bytes[i] & 0x80) | (isDouble ? 0x3F : 0x3E));
        return bytes;
    }
    ALsizei Rate() {
        constexpr ALsizei odd[] = {1, 100, 1000000, std::numeric_limits<ALsizei>::max()};
        return dice.OneIn(20) ? dice.Of(odd) : static_cast<ALsizei>(dice.Between(8000, 192000));
    }
    void Fill() {
        const goal::BufferFormat& format = *dice.Of(formats);
        const std::vector<std::uint8_t> bytes = Samples(format);
        alBufferData(Name(world.cast.buffers), format.id, bytes.data(), static_cast<ALsizei>(bytes.size()),
                     Rate());
    }
    void RemakeBuffer() {
        const std::lock_guard lock(world.namesMutex);
        ALuint name = Name(world.cast.buffers);
        alDeleteBuffers(1, &name);
        if (alIsBuffer(name) == AL_FALSE && !dice.OneIn(4)) alGenBuffers(1, &name);
    }
    // Another player may have the name by now; but where it is free, nobody reads the data any more.
    bool DropStatic() {
        const std::lock_guard lock(world.namesMutex);
        if (staticName != 0) alDeleteBuffers(1, &staticName);
        return staticName == 0 || alIsBuffer(staticName) == AL_FALSE;
    }
    void RemakeStatic() {
        if (!DropStatic()) return;
        const std::lock_guard lock(world.namesMutex);
        const goal::BufferFormat& format = *dice.Of(formats);
        staticData = Samples(format);
        alGenBuffers(1, &staticName);
        alBufferDataStatic(staticName, format.id, staticData.data(), static_cast<ALsizei>(staticData.size()),
                           Rate());
    }

    World& world;
    const unsigned index;
    Dice dice;
    std::vector<const goal::BufferFormat*> formats;  // all that there are
    ALCdevice* const device = alcOpenDevice(nullptr);
    std::array<ALuint, 16> names{};
    std::array<ALfloat, 6> values{};
    std::array<ALint, 16> numbers{};
    ALuint staticName = 0;
    std::vector<std::uint8_t> staticData;
};

inline void (*const Player::calls[36])(Player& p){
    [](Player& p) { alSourcePlay(p.Source()); },
    [](Player& p) { alSourcePlayv(p.Any(16), p.Sources()); },
    [](Player& p) { alSourcePausev(p.Any(2), p.Sources()); },
    [](Player& p) { alSourceRewindv(p.Any(2), p.Sources()); },
    [](Player& p) { alSourceQueueBuffers(p.Source(), p.Any(4), p.Queue()); },
    [](Player& p) { p.Restock(p.Source()); },
    [](Player& p) { p.Restock(p.Source()); },
    [](Player& p) { p.Restock(p.Source()); },
    [](Player& p) { p.TurnQueue(); },
    [](Player& p) { alSourcef(p.Source(), p.Parameter(), p.Value()); },
    [](Player& p) { alSource3f(p.Source(), p.Parameter(), p.Value(), p.Value(), -1); },
    [](Player& p) { alSource3f(p.Source(), AL_POSITION, p.Place(), 0, p.Place()); },
    [](Player& p) { alSourcefv(p.Source(), p.Parameter(), p.Values()); },
    [](Player& p) { alSourcei(p.Source(), p.Parameter(), p.Any(p.world.cast.filters)); },
    [](Player& p) { p.Remake(alDeleteSources, alGenSources, p.Source()); },
    [](Player& p) { p.Fill(); },
    [](Player& p) { p.RemakeStatic(); },
    [](Player& p) { p.RemakeBuffer(); },
    [](Player& p) { alEffecti(p.Effect(), AL_EFFECT_TYPE, EffectType(p.dice.Below(16))); },
    [](Player& p) { alEffecti(p.Effect(), p.Any(0x17), p.Any(400) - 200); },
    [](Player& p) { alEffectf(p.Effect(), p.Any(0x17), p.Value()); },
    [](Player& p) { ApplyReverbPreset(p.Effect(), p.dice.Of(presets::ReverbPresets())); },
    [](Player& p) { alAuxiliaryEffectSloti(p.Slot(), AL_EFFECTSLOT_EFFECT, p.Any(p.world.cast.effects)); },
    [](Player& p) { alAuxiliaryEffectSloti(p.Slot(), p.Any(3), p.Any(2)); },
    [](Player& p) { p.Remake(alDeleteAuxiliaryEffectSlots, alGenAuxiliaryEffectSlots, p.Slot()); },
    [](Player& p) { alFilteri(p.Name(p.world.cast.filters), AL_FILTER_TYPE, p.Any(4)); },
    [](Player& p) { alFilterf(p.Name(p.world.cast.filters), p.Any(4), p.Value()); },
    [](Player& p) { alListenerf(AL_GAIN, p.dice.Between(0, 1)); },
    [](Player& p) { alListener3f(AL_POSITION, p.Place(), p.Place(), p.Value()); },
    [](Player& p) { alSpeedOfSound(p.Value()); },
    [](Player& p) { alDistanceModel(AL_INVERSE_DISTANCE + p.Any(6)); },
    [](Player& p) { alGetSourcei(p.Source(), p.Parameter(), p.numbers.data()); },
    [](Player& p) { alGetEffectfv(p.Effect(), p.Any(0x17), p.Values()); },
    [](Player& p) { alcGetIntegerv(p.device, ALC_ALL_ATTRIBUTES, 16, p.numbers.data()); },
    [](Player&) { alcGetString(nullptr, ALC_ALL_DEVICES_SPECIFIER); },
    [](Player& p) { p.Suspend(); },
};

}  // namespace soak
