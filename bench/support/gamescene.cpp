#include "bench/support/gamescene.h"

#include <array>
#include <cmath>
#include <utility>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/fx/effecttypes.h"
#include "goal/render/sourcereader.h"

namespace {

constexpr std::uint32_t soundCount = 64;
constexpr std::uint32_t soundFrames = 44100;

std::unique_ptr<goal::Buffer> MakeSound(std::uint32_t index) {
    std::vector<float> floats(soundFrames);
    std::vector<std::int16_t> integers(soundFrames);
    const float step = 0.01F * static_cast<float>(index + 1);
    for (std::size_t i = 0; i < soundFrames; ++i) {
        floats[i] = 0.5F * std::sin(step * static_cast<float>(i));
        integers[i] = static_cast<std::int16_t>(32767 * floats[i]);
    }
    if (index % 2 == 0)
        return std::make_unique<goal::Buffer>(index + 1, AL_FORMAT_MONO_FLOAT32, 44100.0F, floats.data(),
                                              static_cast<std::uint32_t>(4 * soundFrames), true);
    return std::make_unique<goal::Buffer>(index + 1, AL_FORMAT_MONO16, 44100.0F, integers.data(),
                                          static_cast<std::uint32_t>(2 * soundFrames), true);
}

// All scenes of a process play the same ones, which nobody changes.
goal::Buffer* Sound(std::uint32_t index) {
    static const auto sounds = [] {
        std::array<std::unique_ptr<goal::Buffer>, soundCount> made;
        for (std::uint32_t s = 0; s < soundCount; ++s)
            made[s] = MakeSound(s);
        return made;
    }();
    return sounds[index % soundCount].get();
}

}  // namespace

GameScene::GameScene(const GameSettings& settings) {
    orb3::GoalConfig& config = configuration.goalConfig;
    config.order = order;
    config.sampleRateConversion = settings.conversion;
    config.useDirectionalEarlyReflections = config.useFullLateReflections = true;
    if (const auto quality = goal::SincQualityOf(settings.conversion))
        converter = std::make_unique<goal::SampleRateConverter>(*quality);
    application.listenerGain = 0.8F;
    for (std::uint32_t i = 0; i < settings.sources; ++i)
        AddSource(i, settings.hasReverb);
    if (settings.hasReverb) AddReverb();
}

void GameScene::AddSource(std::uint32_t index, bool sends) {
    goal::Source source;
    source.queue.append(Sound(index));
    source.looping = true;
    source.state = goal::SourceState::Playing;
    source.position = static_cast<std::uint64_t>(index * 997 % soundFrames) << 16;
    source.gain = 0.2F;
    source.pitch = 0.9F + 0.025F * static_cast<float>(index % 9);
    source.airAbsorptionFactor = 1;  // so that every source is filtered
    if (sends) source.sends.append({.slotName = 1, .filterName = 0, .filter = {}});
    application.sources.append(source);
    Place(index);
}

// Off the defaults where those spare it work.
void GameScene::AddReverb() {
    slib::WithDirtyTag<goal::AuxSlotParameters> slot;
    goal::fx::SetEffectType(slot.effect, AL_EFFECT_EAXREVERB);
    slot.effect->setParameterf(AL_EAXREVERB_ECHO_DEPTH, 0.5F);
    slot.effect->setParameterf(AL_EAXREVERB_MODULATION_DEPTH, 0.5F);
    slot.dirty = true;
    application.slots.append(std::move(slot));
}

// Circles of a radius of 2 metres, 4 to 11 metres around the listener, at 2 to 10 metres a second.
void GameScene::Place(std::uint32_t index) {
    const auto i = static_cast<float>(index);
    const float distance = 4 + static_cast<float>(index % 8);
    const float pace = 1 + static_cast<float>(index % 5);  // radians a second
    const float angle = i + pace * time;
    goal::Source& source = application.sources[index];
    source.SourceBaseParameters::position = {distance * std::sin(2.4F * i) + 2 * std::sin(angle),
                                             distance * 0.3F * std::sin(i),
                                             distance * std::cos(2.4F * i) + 2 * std::cos(angle)};
    source.velocity = {2 * pace * std::cos(angle), 0, -2 * pace * std::sin(angle)};
    source.parametersDirty = true;
    application.touched.Insert(index);
}

void GameScene::Move() {
    time += static_cast<float>(frames / sampleRate);
    for (std::uint32_t i = 0; i < application.sources.size; ++i)
        Place(i);
}
