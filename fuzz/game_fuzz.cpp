// Fuzz target for a game as a whole: the bytes choose settings and seed two threads of a game, which make
// random calls through the exported functions while the real server renders into silence and restarts. Unlike
// the soak a name that was deleted may stay so. What it looks for are crashes, races and hangs, under the
// sanitizers.

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "fuzz/check.h"
#include "goal/sound/bufferformats.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/dice.h"
#include "tests/support/foldbackring.h"
#include "tests/support/temporaryfolder.h"

namespace {

using testing_support::Dice;

constexpr unsigned mostNames = 24;

// What the bytes choose about the run, and what a restart changes.
orb3::Configuration Settings(Dice& dice) {
    orb3::Configuration settings;
    orb3::GoalConfig& goal = settings.goalConfig;
    goal.order = static_cast<int>(1 + dice.Below(4));
    goal.sampleRateConversion = static_cast<orb3::SampleRateConversion>(dice.Below(5));
    goal.suggestedBufferLength = 64 << dice.Below(4);
    goal.defaultFilterOrder = static_cast<int>(1 + dice.Below(2));
    for (bool* flag : {&goal.useDirectionalEarlyReflections, &goal.useFullLateReflections,
                       &goal.isLoggingVerbose, &goal.isSuspendSupported, &goal.useParallelDecoder})
        *flag = dice.OneIn(2);
    return settings;
}

void Restart(Dice& dice) {
    orb3::SharedConfiguration& shared = goal::TheProcess().engine.configuration;
    const slib::Lock lock(shared.configurationMutex);
    const orb3::GoalConfig chosen = Settings(dice).goalConfig;
    shared.pendingConfiguration = shared.configuration;
    shared.pendingConfiguration.goalConfig = chosen;
    shared.isRestartRequested = true;
}

std::vector<std::int32_t> AllFormats() {
    std::vector<std::int32_t> formats;
    for (std::int32_t id = 0; id < 0x30000; ++id)
        if (goal::FindBufferFormat(id) != nullptr) formats.push_back(id);
    return formats;
}

// One thread of the game. All threads share the names, so that each meets what the other has deleted.
class Caller {
public:
    Caller(unsigned seed, ALCcontext* context, testing_support::FoldbackRing* ring)
        : dice(seed), context(context), ring(ring) {}

    void Play(unsigned calls) {
        for (unsigned i = 0; i < calls; ++i) {
            dice.Of(table)(*this);
            if (dice.OneIn(40)) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

private:
    using Call = void (*)(Caller&);
    static const std::array<Call, 28> table;

    ALuint Name() { return 1 + dice.Below(mostNames); }
    ALint Any(unsigned most) { return static_cast<ALint>(dice.Below(most + 1)); }
    float Value() { return dice.OneIn(20) ? dice.Of(odd) : dice.Between(-2, 4); }
    const ALuint* Names() {
        for (ALuint& name : names)
            name = Name();
        return names.data();
    }
    void Fill(ALuint buffer) {
        static const std::vector<std::int32_t> formats = AllFormats();
        const goal::BufferFormat& format = *goal::FindBufferFormat(dice.Of(formats));
        std::vector<std::uint8_t> bytes(std::size_t{format.blockBytes} *
                                        dice.Below(dice.OneIn(4) ? 3000 : 20));
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(dice.Below(256));
        alBufferData(buffer, format.id, bytes.data(), static_cast<ALsizei>(bytes.size()),
                     static_cast<ALsizei>(dice.Between(4000, 192000)));
    }
    void Start(ALuint source) {
        alSourcei(source, AL_BUFFER, dice.OneIn(3) ? 0 : static_cast<ALint>(Name()));
        alSourceQueueBuffers(source, Any(3), Names());
        alSourcei(source, AL_LOOPING, Any(1));
        alSourcePlay(source);
    }
    // One thread makes the requests.
    void Fold() {
        if (ring == nullptr || dice.OneIn(3)) return alRequestFoldbackStop();
        ring->Start(dice);
    }

    static constexpr float odd[] = {NAN, INFINITY, -INFINITY, 0, 1e30F, 1e-40F};

    Dice dice;
    ALCcontext* const context;
    testing_support::FoldbackRing* const ring;
    std::array<ALuint, 8> names{};
    std::array<ALint, 32> numbers{};
};

const std::array<Caller::Call, 28> Caller::table{{
    [](Caller& c) { alGenSources(c.Any(4), c.names.data()); },
    [](Caller& c) { alDeleteSources(c.Any(2), c.Names()); },
    [](Caller& c) { alGenBuffers(c.Any(4), c.names.data()); },
    [](Caller& c) { alDeleteBuffers(c.Any(2), c.Names()); },
    [](Caller& c) { alGenAuxiliaryEffectSlots(c.Any(2), c.names.data()); },
    [](Caller& c) { alDeleteAuxiliaryEffectSlots(c.Any(2), c.Names()); },
    [](Caller& c) { alGenEffects(c.Any(2), c.names.data()); },
    [](Caller& c) { alDeleteEffects(c.Any(1), c.Names()); },
    [](Caller& c) { alGenFilters(c.Any(2), c.names.data()); },
    [](Caller& c) { alEffecti(c.Name(), AL_EFFECT_TYPE, c.Any(12)); },
    [](Caller& c) { alEffecti(c.Name(), AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB); },
    [](Caller& c) { alEffectf(c.Name(), c.Any(0x17), c.Value()); },
    [](Caller& c) { alAuxiliaryEffectSloti(c.Name(), AL_EFFECTSLOT_EFFECT, c.Any(mostNames)); },
    [](Caller& c) { alAuxiliaryEffectSlotf(c.Name(), AL_EFFECTSLOT_GAIN, c.dice.Between(0, 1)); },
    [](Caller& c) { alFilteri(c.Name(), AL_FILTER_TYPE, c.Any(3)); },
    [](Caller& c) { alSource3i(c.Name(), AL_AUXILIARY_SEND_FILTER, c.Any(8), c.Any(6), c.Any(4)); },
    [](Caller& c) { alSourcei(c.Name(), AL_DIRECT_FILTER, c.Any(4)); },
    [](Caller& c) { c.Fill(c.Name()); },
    [](Caller& c) { c.Fill(c.Name()); },
    [](Caller& c) { c.Start(c.Name()); },
    [](Caller& c) { c.Start(c.Name()); },
    [](Caller& c) { alSourcePlayv(c.Any(8), c.Names()); },
    [](Caller& c) { alSourceUnqueueBuffers(c.Name(), c.Any(3), c.names.data()); },
    [](Caller& c) { c.dice.OneIn(2) ? alSourceStop(c.Name()) : alSourcePause(c.Name()); },
    [](Caller& c) { alSourcef(c.Name(), AL_CONE_INNER_ANGLE + c.Any(0x30), c.Value()); },
    [](Caller& c) { c.dice.OneIn(2) ? alcSuspendContext(c.context) : alcProcessContext(c.context); },
    [](Caller& c) { c.Fold(); },
    [](Caller& c) {
        if (c.dice.OneIn(8)) Restart(c.dice);
        alGetSourcei(c.Name(), AL_BUFFERS_PROCESSED + c.Any(16), c.numbers.data());
        alcGetIntegerv(alcOpenDevice(nullptr), ALC_ALL_ATTRIBUTES, 32, c.numbers.data());
    },
}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testing_support::TemporaryStore store;
    static std::once_flag isReady;
    std::call_once(isReady, [] {
        store.ChooseSilence();
        testing_support::StoreDocument();
    });
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto seed = static_cast<unsigned>(std::hash<std::string_view>{}(bytes));
    Dice dice(seed);
    ALCcontext* const context = alcCreateContext(alcOpenDevice(nullptr), nullptr);
    Check(context != nullptr);
    alcMakeContextCurrent(context);
    Restart(dice);
    testing_support::FoldbackRing ring([] { Check(false); });
    std::thread other([&] { Caller(seed + 1, context, nullptr).Play(400); });
    Caller(seed + 2, context, &ring).Play(400);
    other.join();
    alcDestroyContext(context);
    ring.HearAll();
    Check(!ring.IsRunning());
    return 0;
}
