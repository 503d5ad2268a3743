#pragma once

// A scene of sources and slots, and what a server does with it: copies, renders and merges, block by block.

#include <cstdint>
#include <memory>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/fx/effecttypes.h"
#include "goal/render/renderer.h"
#include "tests/support/noise.h"

namespace testing_support {

class Scene {
public:
    explicit Scene(std::uint32_t frames,
                   orb3::SampleRateConversion conversion = orb3::SampleRateConversion::Off, int order = 4,
                   bool isDirectional = false, orb3::Sound sound = orb3::Sound::Refined)
        : frames(frames) {
        configuration.goalConfig.sound = sound;
        configuration.goalConfig.order = order;
        configuration.goalConfig.useDirectionalEarlyReflections = isDirectional;
        configuration.goalConfig.sampleRateConversion = conversion;
        if (conversion == orb3::SampleRateConversion::SincMedium)
            converter = std::make_unique<goal::SampleRateConverter>(goal::SincQuality::Medium);
        renderer = std::make_unique<goal::Renderer>(48000, configuration, 1, frames);
        goal::BeginRun(snapshot, application, converter ? &converter->start : nullptr, renderer->Effects(),
                       renderer->FadeBlocks());
        output.spatial.resize(frames, static_cast<std::uint32_t>((order + 1) * (order + 1)));
        output.lowFrequency.resize(frames);
        output.dialogue.resize(frames);
    }

    // A source in a loop of these samples. Sources and buffers are few, so references stay good.
    goal::Source& Add(std::vector<float> samples, std::int32_t format = AL_FORMAT_MONO_FLOAT32,
                      float rate = 48000) {
        buffers.push_back(std::make_unique<goal::Buffer>(
            1, format, rate, samples.data(), static_cast<std::uint32_t>(samples.size() * 4), true));
        goal::Source source;
        source.queue.append(buffers.back().get());
        source.looping = true;
        source.state = goal::SourceState::Playing;
        application.touched.Insert(application.sources.Take(source));
        return application.sources[application.sources.size - 1];
    }

    // A slot with that effect at its defaults. Its name is its place, from 1 on.
    void AddSlot(std::int32_t effectType) {
        application.slots.append({});
        auto& slot = application.slots[application.slots.size - 1];
        goal::fx::SetEffectType(slot.effect, effectType);
        slot.dirty = true;
    }

    void Render() {
        goal::CopyToSnapshot(snapshot, application, retired);
        renderer->renderBlock(snapshot, output);
        goal::MergeProgress(snapshot, application, retired);
    }

    // `total` frames of the given channel.
    Signal Play(std::uint32_t total, std::uint32_t channel) {
        Signal played;
        while (played.size() < total) {
            Render();
            played.insert(played.end(), output.spatial.channels[channel],
                          output.spatial.channels[channel] + frames);
        }
        played.resize(total);
        return played;
    }

    float Last(std::uint32_t channel) const { return output.spatial.channels[channel][frames - 1]; }

    // The last frame of the first channels.
    Signal LastOf(std::uint32_t count) const {
        Signal frame;
        while (frame.size() < count)
            frame.push_back(Last(static_cast<std::uint32_t>(frame.size())));
        return frame;
    }

    // The first source, to be changed.
    goal::Source& Change() {
        application.sources[0].parametersDirty = true;
        application.touched.Insert(0);
        return application.sources[0];
    }

    const std::uint32_t frames;
    orb3::Configuration configuration;
    std::vector<std::unique_ptr<goal::Buffer>> buffers;
    std::unique_ptr<goal::SampleRateConverter> converter;
    slib::RetireList retired;
    goal::ApplicationState application;
    goal::RenderSnapshot snapshot;
    std::unique_ptr<goal::Renderer> renderer;
    goal::RenderOutput output;
};

// Where the source is; its `position` is that in its buffer.
inline void Place(goal::Source& source, const goal::Vector3& position) {
    source.SourceBaseParameters::position = position;
}

}  // namespace testing_support
