// The whole road from a game's calls to the output's frames: the same calls give the same frames, to the bit.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "goal/render/renderer.h"
#include "goal/sound/bufferformats.h"
#include "orb3core/decoder/transformedpipe.h"
#include "tests/support/contextfixture.h"
#include "tests/support/recordinglog.h"
#include "tests/support/testpipe.h"
#include "tests/support/vectortargets.h"

namespace {

constexpr std::uint32_t frames = 256;
constexpr int order = 4;
constexpr std::uint32_t channels = (order + 1) * (order + 1);

constexpr ALenum effectTypes[] = {AL_EFFECT_EAXREVERB,         AL_EFFECT_REVERB,     AL_EFFECT_CHORUS,
                                  AL_EFFECT_FLANGER,           AL_EFFECT_ECHO,       AL_EFFECT_DISTORTION,
                                  AL_EFFECT_RING_MODULATOR,    AL_EFFECT_COMPRESSOR, AL_EFFECT_EQUALIZER,
                                  AL_EFFECT_DEDICATED_DIALOGUE};

class SameCalls : public testing_support::ContextFixture {
protected:
    // A game of its own: another context on the one device, and the numbers that all such games draw.
    void Begin() {
        process.currentContext = process.engine.device.context = nullptr;
        context = std::make_unique<goal::Context>(process.engine);
        process.currentContext = process.engine.device.context = context.get();
        process.engine.device.bufferPool.Clear();
        random.seed(7);
        slots.clear();
        sources.clear();
    }

    float Draw(float least, float most) { return std::uniform_real_distribution<float>(least, most)(random); }

    void MakeSlots() {
        for (const ALenum type : effectTypes) {
            const ALuint effect = New(alGenEffects), slot = New(alGenAuxiliaryEffectSlots);
            alEffecti(effect, AL_EFFECT_TYPE, type);
            alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
            alAuxiliaryEffectSlotf(slot, AL_EFFECTSLOT_GAIN, 0.2F);
            slots.push_back(slot);
        }
    }

    // A source for each format, and mono ones in which the mix goes through more than one batch.
    void MakeSources() {
        const ALuint filter = New(alGenFilters);
        alFilteri(filter, AL_FILTER_TYPE, AL_FILTER_BANDPASS);
        alFilterf(filter, AL_BANDPASS_GAINHF, 0.3F);
        alFilterf(filter, AL_BANDPASS_GAINLF, 0.6F);
        std::vector<ALenum> formats;
        for (ALenum token = 0; token < 0x30000; ++token)
            if (goal::FindBufferFormat(token) != nullptr) formats.push_back(token);
        formats.insert(formats.end(), 80, AL_FORMAT_MONO16);
        for (std::size_t i = 0; i < formats.size(); ++i) {
            const ALuint source = New(alGenSources);
            alSourcei(source, AL_BUFFER, static_cast<ALint>(MakeNoise(formats[i])));
            alSourcei(source, AL_LOOPING, i % 3 == 0);
            alSourcef(source, AL_PITCH, Draw(0.5F, 2));
            alSourcef(source, AL_GAIN, 0.05F);
            alSourcei(source, AL_DIRECT_FILTER, static_cast<ALint>(i % 2 == 0 ? filter : 0));
            alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slots[i % slots.size()]), 0,
                       static_cast<ALint>(i % 5 == 0 ? filter : 0));
            alSourcePlay(source);
            sources.push_back(source);
        }
    }

    ALuint MakeNoise(ALenum format) {
        const goal::BufferFormat& description = *goal::FindBufferFormat(format);
        std::vector<unsigned char> data(static_cast<std::size_t>(description.blockBytes) * 3000 /
                                        description.blockFrames);
        data.resize(data.size() / description.blockBytes * description.blockBytes);
        for (unsigned char& byte : data)
            byte = static_cast<unsigned char>(random() >> 8);
        if (description.encoding == goal::SampleEncoding::Float32) Fill<float>(data);
        if (description.encoding == goal::SampleEncoding::Float64) Fill<double>(data);
        const ALuint buffer = New(alGenBuffers);
        alBufferData(buffer, format, data.data(), static_cast<ALsizei>(data.size()),
                     static_cast<ALsizei>(Draw(8000, 96000)));
        EXPECT_EQ(alGetError(), AL_NO_ERROR) << format;
        return buffer;
    }
    template <typename Sample>
    void Fill(std::vector<unsigned char>& data) {
        for (std::size_t i = 0; i < data.size(); i += sizeof(Sample)) {
            const auto sample = static_cast<Sample>(Draw(-1, 1));
            std::memcpy(&data[i], &sample, sizeof sample);
        }
    }

    void Move() {
        for (std::size_t i = 0; i < sources.size(); i += 2) {
            alSource3f(sources[i], AL_POSITION, Draw(-5, 5), Draw(-5, 5), Draw(-5, 5));
            alSource3f(sources[i], AL_VELOCITY, Draw(-20, 20), 0, Draw(-20, 20));
        }
        alListenerf(AL_GAIN, Draw(0.5F, 1));
    }

    // The frames that the output gets of 40 blocks.
    std::vector<float> Play(orb3::SampleRateConversion conversion) {
        Begin();
        MakeSlots();
        MakeSources();
        orb3::Configuration configuration;
        configuration.goalConfig.order = order;
        configuration.goalConfig.useDirectionalEarlyReflections = true;
        configuration.goalConfig.sampleRateConversion = conversion;
        const goal::SampleRateConverter tables(3);
        const bool isSinc = conversion == orb3::SampleRateConversion::SincMedium;
        goal::Renderer renderer(48000, configuration, 1, frames);
        goal::RenderOutput output;
        output.spatial.resize(frames, channels);
        output.lowFrequency.resize(frames);
        output.dialogue.resize(frames);
        auto* const pipe = new testing_support::TestPipe(frames);
        const audiopipe::PipePtr owner(pipe);
        testing_support::RecordingLog log;
        const auto decoder = orb3::createTransformedPipe(Decoding(), &log, owner, false);
        for (int block = 0; block < 40; ++block) {
            if (block % 4 == 0) Move();
            goal::CopyToSnapshot(context->snapshot, context->application, isSinc ? &tables.start : nullptr);
            renderer.renderBlock(context->snapshot, output);
            Merge();
            decoder->writeBus(output.spatial, {});
        }
        return pipe->written;
    }

    // Two ears' worth of decaying noise.
    static orb3::strans::TimeDomainTransform<float, 1> Decoding() {
        std::minstd_rand noise(3);
        orb3::strans::TimeDomainTransform<float, 1> transform{
            .sampleRate = 48000, .start = 0, .width = 700, .impulses = {channels, 2}};
        for (hcml::GenericVector<float, 1>& impulse : transform.impulses) {
            impulse.resize(1024);
            impulse.fill(0);
            for (std::uint32_t i = 0; i < 700; ++i)
                impulse[i] = 0.1F * std::uniform_real_distribution<float>(-1, 1)(noise) *
                             std::exp(-0.01F * static_cast<float>(i));
        }
        return transform;
    }

    std::minstd_rand random;
    std::vector<ALuint> slots, sources;
};

TEST_F(SameCalls, GiveTheSameFramesOnEveryVectorTargetAndInEveryRun) {
    for (const auto conversion :
         {orb3::SampleRateConversion::Linear, orb3::SampleRateConversion::SincMedium}) {
        const std::vector<float> expected = Play(conversion);
        ASSERT_EQ(expected.size(), 40 * frames * 2);
        const auto isLoud = [](float sample) { return std::fabs(sample) > 0.01F; };
        EXPECT_GT(std::count_if(expected.begin(), expected.end(), isLoud), 40 * frames);
        EXPECT_EQ(Play(conversion), expected) << "a second time";
        testing_support::ExpectSameOnEveryTarget([&] { return Play(conversion); });
    }
}

}  // namespace
