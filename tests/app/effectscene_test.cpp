// Effects as a game makes them, heard through the renderer.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>

#include "goal/render/renderer.h"
#include "tests/support/contextfixture.h"
#include "tools/presets/reverbpresets.h"

namespace {

class EffectScene : public testing_support::ContextFixture {
protected:
    EffectScene() {
        output.spatial.resize(512, 16);
        const ALuint filter = New(alGenFilters);
        alFilteri(filter, AL_FILTER_TYPE, AL_FILTER_LOWPASS);
        alFilterf(filter, AL_LOWPASS_GAIN, 0);
        alSourcei(source, AL_DIRECT_FILTER, static_cast<ALint>(filter));
        alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 0, AL_FILTER_NULL);
        const std::vector<ALubyte> click(512, 255);
        alBufferData(buffer, AL_FORMAT_MONO8, click.data(), 512, 48000);
        SetBuffer(source, buffer);
    }

    void Bind(ALuint effectOrNone) {
        alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effectOrNone));
    }

    // The loudest sample of ten blocks.
    float Render() {
        float loudest = 0;
        for (int block = 0; block < 10; ++block) {
            Copy();
            renderer.renderBlock(context->snapshot, output);
            Merge();
            for (std::uint32_t i = 0; i < 512; ++i)
                loudest = std::fmax(loudest, std::abs(output.spatial.channels[0][i]));
        }
        return loudest;
    }

    const ALuint effect = New(alGenEffects), slot = New(alGenAuxiliaryEffectSlots);
    const ALuint source = New(alGenSources), buffer = New(alGenBuffers);
    goal::Renderer renderer{48000, orb3::Configuration(), 1, 512};
    goal::RenderOutput output;
};

TEST_F(EffectScene, AReverb_OutlivesItsSourceUntilTheSlotLosesIt) {
    presets::ApplyReverbPreset(effect, *presets::FindReverbPreset("concerthall"));
    Bind(effect);
    alSourcePlay(source);
    Render();
    EXPECT_EQ(Get(source, AL_SOURCE_STATE), AL_STOPPED);
    EXPECT_GT(Render(), 1e-3F);
    alEffectf(effect, AL_EAXREVERB_GAIN, 0.3F);
    Bind(effect);
    EXPECT_GT(Render(), 1e-3F);
    Bind(0);
    EXPECT_LT(Render(), 1e-6F);
    Bind(effect);
    EXPECT_LT(Render(), 1e-6F);
}

TEST_F(EffectScene, EveryPreset_IsTakenAndReadBack) {
    ASSERT_GE(presets::ReverbPresets().size(), 26U);
    for (const presets::ReverbPreset& preset : presets::ReverbPresets()) {
        SCOPED_TRACE(std::string(preset.name));
        presets::ApplyReverbPreset(effect, preset);
        ASSERT_EQ(alGetError(), AL_NO_ERROR);
        std::array<ALfloat, 26> expected{};  // in the order of the parameters
        std::memcpy(expected.data(),
                    reinterpret_cast<const char*>(&preset) + offsetof(presets::ReverbPreset, density),
                    sizeof expected);
        const ALfloat* next = expected.data();
        for (ALenum parameter = AL_EAXREVERB_DENSITY; parameter < AL_EAXREVERB_DECAY_HFLIMIT; ++parameter) {
            ALfloat values[3] = {-1, -1, -1};
            const bool isPan =
                parameter == AL_EAXREVERB_REFLECTIONS_PAN || parameter == AL_EAXREVERB_LATE_REVERB_PAN;
            alGetEffectfv(effect, parameter, values);
            for (int i = 0; i < (isPan ? 3 : 1); ++i)
                EXPECT_EQ(values[i], *next++) << parameter;
        }
        ALint limit = -1;
        alGetEffecti(effect, AL_EAXREVERB_DECAY_HFLIMIT, &limit);
        EXPECT_EQ(limit, preset.decayHFLimit);
    }
}

}  // namespace
