// What a game hears by the exported calls in the classic sound, block by block as foldback gives it back,
// against the plain formulas in double precision.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "app/goaldll/process.h"
#include "tests/app/plainscenes.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/tasks.h"
#include "tests/support/temporaryfolder.h"

namespace {

using plain::blockFrames;
using plain::Row;
using plain::Scene;
using plain::Sound;

// ---- The game ----

// What foldback has told so far. A callback is a plain function, so there is one.
class Ear {
public:
    void Start(ALenum mode) {
        width = mode == AL_FOLDBACK_MODE_MONO ? 1 : 2;
        ring.resize(blocks * blockFrames * width);
        only = this;
        alRequestFoldbackStart(mode, blocks, blockFrames, ring.data(), [](ALenum event, ALsizei block) {
            if (event == AL_FOLDBACK_EVENT_BLOCK) only->Take(static_cast<std::size_t>(block));
        });
    }
    std::size_t Blocks() {
        const std::lock_guard lock(mutex);
        return heard.size() / blockFrames / width;
    }
    // Until that many blocks have come that weren't rendered yet.
    void Wait(std::size_t more) {
        testing_support::WaitForTasks();
        for (const std::size_t end = Blocks() + more; Blocks() < end;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    // From the first block with a sound on, of those from `begin` on.
    std::vector<float> From(std::size_t begin) {
        const std::lock_guard lock(mutex);
        const auto isSound = [](float sample) { return std::fabs(sample) > 1e-5F; };
        const auto from = heard.begin() + static_cast<std::ptrdiff_t>(begin * blockFrames * width);
        const auto first = std::find_if(from, heard.end(), isSound) - heard.begin();
        const auto block = static_cast<std::ptrdiff_t>(blockFrames * width);
        return {heard.begin() + first / block * block, heard.end()};
    }

    std::size_t width = 1;

private:
    void Take(std::size_t block) {
        const std::lock_guard lock(mutex);
        const auto begin = ring.begin() + static_cast<std::ptrdiff_t>(block * blockFrames * width);
        heard.insert(heard.end(), begin, begin + static_cast<std::ptrdiff_t>(blockFrames * width));
    }

    static constexpr std::size_t blocks = 64;
    static inline Ear* only = nullptr;
    std::vector<float> ring;
    std::mutex mutex;
    std::vector<float> heard;
};

ALuint New(void (*gen)(ALsizei, ALuint*)) {
    ALuint name = 0;
    gen(1, &name);
    return name;
}

void SetListener(const Scene& s) {
    const float orientation[] = {s.listenerAt[0], s.listenerAt[1], s.listenerAt[2],
                                 s.listenerUp[0], s.listenerUp[1], s.listenerUp[2]};
    alListenerfv(AL_ORIENTATION, orientation);
    alListenerfv(AL_POSITION, s.listenerPosition.data());
    alListenerfv(AL_VELOCITY, s.listenerVelocity.data());
    alListenerf(AL_GAIN, s.listenerGain);
    alListenerf(AL_METERS_PER_UNIT, s.metersPerUnit);
    alDistanceModel(s.model);
    alDopplerFactor(s.dopplerFactor);
    alDopplerVelocity(s.dopplerVelocity);
    alSpeedOfSound(s.speedOfSound);
}

void SetFilter(const Scene& s, ALuint source) {
    const ALuint filter = New(alGenFilters);
    const ALint type = s.gainLF == 1   ? AL_FILTER_LOWPASS
                       : s.gainHF == 1 ? AL_FILTER_HIGHPASS
                                       : AL_FILTER_BANDPASS;
    alFilteri(filter, AL_FILTER_TYPE, type);
    alFilterf(filter, AL_BANDPASS_GAIN, s.filterGain);  // the same number in all three
    if (type != AL_FILTER_LOWPASS)
        alFilterf(filter, AL_BANDPASS_GAINLF, s.gainLF);  // that of a high-pass as well
    if (type != AL_FILTER_HIGHPASS)
        alFilterf(filter, type == AL_FILTER_LOWPASS ? AL_LOWPASS_GAINHF : AL_BANDPASS_GAINHF, s.gainHF);
    alSourcei(source, AL_DIRECT_FILTER, static_cast<ALint>(filter));
    alDeleteFilters(1, &filter);
}

void SetScene(const Scene& s, ALuint source) {
    SetListener(s);
    SetFilter(s, source);
    // clang-format off
    const std::pair<ALenum, float> values[] = {
        {AL_GAIN, s.gain}, {AL_MIN_GAIN, s.minGain}, {AL_MAX_GAIN, s.maxGain}, {AL_PITCH, s.pitch},
        {AL_REFERENCE_DISTANCE, s.reference}, {AL_MAX_DISTANCE, s.maxDistance}, {AL_ROLLOFF_FACTOR, s.rolloff},
        {AL_CONE_INNER_ANGLE, s.innerAngle}, {AL_CONE_OUTER_ANGLE, s.outerAngle},
        {AL_CONE_OUTER_GAIN, s.outerGain}, {AL_CONE_OUTER_GAINHF, s.outerGainHF},
        {AL_SOURCE_RADIUS, s.radius}, {AL_AIR_ABSORPTION_FACTOR, s.airAbsorption}};
    // clang-format on
    for (const auto& [name, value] : values)
        alSourcef(source, name, value);
    alSourcei(source, AL_SOURCE_RELATIVE, s.isRelative);
    alSourcei(source, AL_DIRECT_FILTER_GAINHF_AUTO, s.isHighByCone);
    alSourcefv(source, AL_POSITION, s.position.data());
    alSourcefv(source, AL_VELOCITY, s.velocity.data());
    alSourcefv(source, AL_DIRECTION, s.direction.data());
    const float orientation[] = {s.at[0], s.at[1], s.at[2], s.up[0], s.up[1], s.up[2]};
    alSourcefv(source, AL_ORIENTATION, orientation);
    if (s.stereoAngles) alSourcefv(source, AL_STEREO_ANGLES, s.stereoAngles->data());
}

// A context, and the scenes that are played in it.
struct Run {
    const char* name;
    std::vector<const std::vector<Row>*> tables;
    orb3::SampleRateConversion conversion = orb3::SampleRateConversion::Linear;
    int filterOrder = 1;
    ALenum mode = AL_FOLDBACK_MODE_STEREO;
};

class PlainSound : public testing::TestWithParam<Run> {
protected:
    PlainSound() {
        ForgetConfiguration();
        store.ChooseSilence();
        orb3::Configuration document;
        document.goalConfig.sound = orb3::Sound::Classic;
        document.goalConfig.order = 1;
        document.goalConfig.sampleRateConversion = GetParam().conversion;
        document.goalConfig.defaultFilterOrder = GetParam().filterOrder;
        document.goalConfig.suggestedBufferLength = blockFrames;
        testing_support::StoreDocument(document);
        context = alcCreateContext(device, nullptr);
        alcMakeContextCurrent(context);
        ear.Start(GetParam().mode);
        if (GetParam().conversion >= orb3::SampleRateConversion::SincLow)
            converter.emplace(static_cast<goal::SincQuality>(GetParam().conversion));
    }
    ~PlainSound() override {
        alcDestroyContext(context);
        testing_support::WaitForTasks();  // the ear hears them
        goal::TheProcess().engine.device.bufferPool.Clear();
        alcCloseDevice(device);
        ForgetConfiguration();
    }

    // The process has one, of whichever test came before.
    static void ForgetConfiguration() {
        orb3::SharedConfiguration& shared = goal::TheProcess().engine.configuration;
        const slib::Lock lock(shared.configurationMutex);
        shared.Unload();
    }

    // A source with the sound of a row.
    static ALuint MakeSource(const Sound& sound) {
        const ALuint source = New(alGenSources);
        const std::vector<unsigned char> bytes = plain::Bytes(sound);
        const std::size_t size = bytes.size() / sound.pieces;
        for (std::size_t piece = 0; piece < sound.pieces; ++piece) {
            const ALuint buffer = New(alGenBuffers);
            alBufferData(buffer, sound.format, &bytes[piece * size], static_cast<ALsizei>(size),
                         static_cast<ALsizei>(sound.rate));
            alSourceQueueBuffers(source, 1, &buffer);
        }
        alSourcei(source, AL_LOOPING, sound.isLooping);
        return source;
    }

    // What is heard of a row, from the block in which it starts on.
    std::vector<float> Play(const Row& row) {
        const ALuint source = MakeSource(row.sound);
        SetScene(row.stages[0], source);
        ear.Wait(3);  // for the listener's gain
        const std::size_t begin = ear.Blocks();
        alSourcePlay(source);
        for (std::size_t stage = 1; stage < row.stages.size(); ++stage) {
            ear.Wait(6);
            alcSuspendContext(context);
            SetScene(row.stages[stage], source);
            alcProcessContext(context);
        }
        if (row.sound.isLooping) ear.Wait(10);
        ALint state = row.sound.isLooping ? AL_STOPPED : AL_PLAYING;
        for (int waits = 0; state == AL_PLAYING && waits < 50; ++waits, ear.Wait(2))
            alGetSourcei(source, AL_SOURCE_STATE, &state);
        std::vector<float> heard = ear.From(begin);
        alDeleteSources(1, &source);
        EXPECT_EQ(alGetError(), AL_NO_ERROR);
        return heard;
    }

    // The greatest difference of a block from what foldback makes of W, X and Y.
    double Difference(const std::array<plain::Block, 3>& field, const float* heard) const {
        double greatest = 0;
        for (std::size_t i = 0; i < blockFrames; ++i) {
            const double middle = field[0][i] + 0.04914 * field[1][i], side = 0.756398 * field[2][i];
            const double stereo[] = {middle + side, middle - side};
            for (std::size_t channel = 0; channel < ear.width; ++channel, ++heard)
                greatest =
                    std::max(greatest, std::fabs((ear.width == 1 ? field[0][i] : stereo[channel]) - *heard));
        }
        return greatest;
    }

    // How the blocks so far may have come about, and the greatest difference from that.
    struct Course {
        plain::Player player;
        std::size_t stage = 0;
        double difference = 0;
    };

    // The greatest difference of a row. The next stage may begin with any block; where both fit, as in
    // silence, both are followed.
    double Compare(const Row& row, const std::vector<float>& heard) const {
        std::vector<Course> courses{
            {{row.sound, GetParam().conversion, converter ? &*converter : nullptr, GetParam().filterOrder}}};
        for (std::size_t at = 0; at < heard.size(); at += blockFrames * ear.width) {
            std::vector<Course> next;
            for (const Course& course : courses)
                for (std::size_t stage = course.stage; stage < std::min(course.stage + 2, row.stages.size());
                     ++stage) {
                    Course& after = next.emplace_back(course.player, stage);
                    after.difference = std::max(
                        course.difference, Difference(after.player.Render(row.stages[stage]), &heard[at]));
                }
            std::ranges::sort(next, {}, &Course::difference);
            while (next.size() > 1 && next.back().difference > row.tolerance)
                next.pop_back();
            courses = std::move(next);
        }
        std::erase_if(courses, [&](const Course& course) { return course.stage + 1 < row.stages.size(); });
        return courses.empty() ? HUGE_VAL : courses[0].difference;
    }

    const testing_support::TemporaryStore store;
    std::optional<goal::SampleRateConverter> converter;
    ALCdevice* const device = alcOpenDevice(nullptr);
    ALCcontext* context = nullptr;
    Ear ear;
};

TEST_P(PlainSound, IsWhatTheFormulasSay) {
    ASSERT_NE(context, nullptr);
    for (const std::vector<Row>* table : GetParam().tables)
        for (const Row& row : *table) {
            SCOPED_TRACE(row.name);
            const std::vector<float> heard = Play(row);
            ASSERT_FALSE(heard.empty());
            const double deviation = Compare(row, heard);
            EXPECT_LE(deviation, row.tolerance);
            RecordProperty(row.name, std::to_string(deviation * 1e9) + "e-9");  // for a look
        }
}

using enum orb3::SampleRateConversion;
INSTANTIATE_TEST_SUITE_P(Scenes, PlainSound,
                         testing::Values(Run{"Linear",
                                             {&plain::readers, &plain::places, &plain::distances,
                                              &plain::filters, &plain::openings, &plain::silences}},
                                         Run{"Mono", {&plain::places}, Linear, 1, AL_FOLDBACK_MODE_MONO},
                                         Run{"SecondOrder", {&plain::filters, &plain::openings}, Linear, 2},
                                         Run{"Off", {&plain::readers}, Off},
                                         Run{"SincLow", {&plain::readers}, SincLow},
                                         Run{"SincMedium", {&plain::readers}, SincMedium},
                                         Run{"SincHigh", {&plain::readers}, SincHigh}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
