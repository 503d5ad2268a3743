// A scene of everything, made by the calls of a game: rendered again, and on any vector target, it is the
// same to the bit.

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "goal/render/renderer.h"
#include "goal/sound/bufferformats.h"
#include "slib/digest.h"
#include "tests/support/contextfixture.h"
#include "tests/support/dice.h"
#include "tests/support/vectortargets.h"

namespace {

constexpr std::uint32_t frames = 256, channels = 25;

class SameScene : public testing_support::ContextFixture {
protected:
    // A source for each format, and mono ones in which the mix goes through more than one batch.
    SameScene() {
        constexpr ALint effectTypes[] = {AL_EFFECT_EAXREVERB,      AL_EFFECT_REVERB,
                                         AL_EFFECT_CHORUS,         AL_EFFECT_FLANGER,
                                         AL_EFFECT_ECHO,           AL_EFFECT_DISTORTION,
                                         AL_EFFECT_RING_MODULATOR, AL_EFFECT_COMPRESSOR,
                                         AL_EFFECT_EQUALIZER,      AL_EFFECT_DEDICATED_DIALOGUE};
        for (const ALint type : effectTypes) {
            const ALuint effect = New(alGenEffects), slot = New(alGenAuxiliaryEffectSlots);
            alEffecti(effect, AL_EFFECT_TYPE, type);
            alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
            alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_GAIN, 0.2F);
        }
        alFilteri(New(alGenFilters), AL_FILTER_TYPE, AL_FILTER_BANDPASS);
        alFilterf(1, AL_BANDPASS_GAINHF, 0.3F);
        testing_support::Dice dice(7);
        for (ALenum format = 0; format < 0x30000; ++format)
            if (goal::FindBufferFormat(format) != nullptr) AddSource(format, dice);
        for (int i = 0; i < 80; ++i)
            AddSource(AL_FORMAT_MONO16, dice);
        EXPECT_EQ(alGetError(), AL_NO_ERROR);
    }

    static void AddSource(ALenum format, testing_support::Dice& dice) {
        const goal::BufferFormat& description = *goal::FindBufferFormat(format);
        std::vector<unsigned char> data(description.blockBytes * (3000 / description.blockFrames));
        for (unsigned char& byte : data)
            byte = static_cast<unsigned char>(dice.Below(256));
        const ALuint source = New(alGenSources), buffer = New(alGenBuffers);
        alBufferData(buffer, format, data.data(), static_cast<ALsizei>(data.size()),
                     static_cast<ALsizei>(dice.Between(8000, 96000)));
        SetBuffer(source, buffer);
        alSourcei(source, AL_LOOPING, dice.OneIn(3));
        alSourcef(source, AL_PITCH, dice.Between(0.5F, 2));
        alSourcef(source, AL_GAIN, 0.05F);
        alSourcei(source, AL_DIRECT_FILTER, dice.OneIn(2));
        // Braces are evaluated in order, which arguments are not on every processor.
        const ALint send[] = {static_cast<ALint>(1 + dice.Below(10)), 0, dice.OneIn(5)};
        alSourceiv(source, AL_AUXILIARY_SEND_FILTER, send);
        alSourcePlay(source);
    }

    const goal::SampleRateConverter best{goal::SincQuality::Best};

    // The bus of 40 blocks, from the start of all sources on.
    std::vector<float> Play(orb3::SampleRateConversion conversion) {
        orb3::Configuration configuration;
        configuration.goalConfig.order = 4;
        configuration.goalConfig.useDirectionalEarlyReflections = true;
        configuration.goalConfig.sampleRateConversion = conversion;
        goal::Renderer renderer(48000, configuration, 1, frames);
        goal::RenderOutput output;
        output.spatial.resize(frames, channels);
        const goal::ConverterCursor* start = nullptr;
        if (conversion == orb3::SampleRateConversion::SincMedium) start = &converter.start;
        if (conversion == orb3::SampleRateConversion::SincBest) start = &best.start;
        context->snapshot = {};  // so that all begins afresh
        goal::BeginRun(context->snapshot, context->application, start, renderer.Effects(),
                       renderer.FadeBlocks());
        for (std::uint32_t i = 0; i < context->application.sources.size; ++i)
            context->application.touched.Insert(i);
        testing_support::Dice dice(8);
        std::vector<float> bus;
        for (int block = 0; block < 40; ++block) {
            for (ALuint source = 1; block % 4 == 0 && source <= 100; ++source) {
                const ALfloat place[] = {dice.Between(-5, 5), dice.Between(-5, 5), dice.Between(-5, 5)};
                alSourcefv(source, AL_POSITION, place);
            }
            Copy();
            renderer.renderBlock(context->snapshot, output);
            for (std::uint32_t channel = 0; channel < channels; ++channel)
                bus.insert(bus.end(), &output.spatial.channels[channel][0],
                           &output.spatial.channels[channel][0] + frames);
        }
        return bus;
    }
};

TEST_F(SameScene, IsTheSameOnEveryVectorTargetAndInEveryRun) {
    using enum orb3::SampleRateConversion;
    for (const auto& [conversion, name] :
         {std::pair{Linear, "linear"}, {SincMedium, "sinc"}, {SincBest, "sincbest"}}) {
        const std::vector<float> expected = Play(conversion);
        EXPECT_GT(std::ranges::count_if(expected, [](float sample) { return std::fabs(sample) > 0.001F; }),
                  40 * frames);
        EXPECT_EQ(Play(conversion), expected) << "a second time";
        // For a look at what another kind of processor makes of it (./dev test arm64).
        const std::string_view bytes(reinterpret_cast<const char*>(expected.data()),
                                     expected.size() * sizeof(float));
        RecordProperty(name, slib::hexText(slib::md5(bytes)));
        testing_support::ExpectSameOnEveryTarget([&, played = conversion] { return Play(played); });
    }
}

}  // namespace
