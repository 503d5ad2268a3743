// A game that makes calls of all kinds, for the recorder: lists, texts, answers, samples in the game's memory
// and copied, null pointers, calls of another thread and of a child, names in values. Half a second of a tone
// of 440 Hz, amplitude 0.25. With an argument there are 2 MiB of samples, too.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>
#include <vector>

#include "AL/tessarune.h"

namespace {

std::vector<ALshort> Tone() {
    std::vector<ALshort> samples(12000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<ALshort>(
            8192 * std::sin(2 * std::numbers::pi * 440 / 48000 * static_cast<double>(i)));
    return samples;
}

ALenum TypeOf(ALuint source, ALenum parameter) {
    ALint value = 0;
    alGetSourcei(source, parameter, &value);
    return value;
}

void Stream(ALuint source, const std::array<ALuint, 3>& buffers) {
    alSourceQueueBuffers(source, 2, buffers.data());
    alSourcePlayv(1, &source);
    for (int played = 0; played < 2;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ALuint gone = 0;
        if (TypeOf(source, AL_BUFFERS_PROCESSED) == 0) continue;
        alSourceUnqueueBuffers(source, 1, &gone);
        ++played;
    }
    while (TypeOf(source, AL_SOURCE_STATE) != AL_STOPPED)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

void AddEffect(ALuint source) {
    ALuint slot = 0, effect = 0, filter = 0;
    alGenAuxiliaryEffectSlots(1, &slot);
    alGenEffects(1, &effect);
    alGenFilters(1, &filter);
    const ALfloat pan[] = {0.5F, 0, -0.5F};
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
    alEffectfv(effect, AL_EAXREVERB_REFLECTIONS_PAN, pan);
    alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    alFilteri(filter, AL_FILTER_TYPE, AL_FILTER_LOWPASS);
    alFilterf(filter, AL_LOWPASS_GAINHF, 0.1F);
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 1, static_cast<ALint>(filter));
    alDeleteFilters(1, &filter);
}

// What fails, or asks in vain.
void MakeMistakes() {
    constexpr ALuint nobody = 0x40001000;
    alGenSources(-1, nullptr);
    alDeleteBuffers(1, nullptr);
    alSourcef(nobody, AL_GAIN, 1);
    alBufferData(nobody, AL_FORMAT_MONO16, &nobody, 1 << 30, 48000);  // which isn't read
    alGetEnumValue(nullptr);
    alGetEnumValue("AL_NOTHING");
    alGetError();
    alcGetError(nullptr);
}

}  // namespace

int main(int count, char**) {
    const ALCint attributes[] = {ALC_FREQUENCY, 48000, ALC_DEFAULT_FILTER_ORDER, 2, 0};
    ALCdevice* const device = alcOpenDevice(nullptr);
    ALCcontext* const context = alcCreateContext(device, attributes);
    alcMakeContextCurrent(context);
    if (context == nullptr || alIsExtensionPresent("AL_EXT_FOLDBACK") == AL_FALSE) return 1;
    std::vector<ALshort> tone = Tone();
    const auto size = static_cast<ALsizei>(tone.size() * sizeof(ALshort));
    std::array<ALuint, 3> buffers{};
    ALuint source = 0;
    alGenBuffers(3, buffers.data());
    alGenSources(1, &source);
    alBufferData(buffers[0], AL_FORMAT_MONO16, tone.data(), size, 48000);
    const auto setStatic = reinterpret_cast<LPALBUFFERDATASTATIC>(alGetProcAddress("alBufferDataStatic"));
    setStatic(buffers[1], AL_FORMAT_MONO16, tone.data(), size, 48000);
    if (count > 1) {  // more than a small limit
        const std::vector<ALshort> much(1 << 20, 1);
        alBufferData(buffers[2], AL_FORMAT_MONO16, much.data(), 1 << 21, 48000);
    }
    const ALfloat place[] = {0, 0, -1}, facing[] = {0, 0, -1, 0, 1, 0};
    std::thread([&] {
        alSourcefv(source, AL_POSITION, place);
        alListenerfv(AL_ORIENTATION, facing);
    }).join();
    std::vector<ALfloat> ring(std::size_t{2} * 8192);
    alRequestFoldbackStart(AL_FOLDBACK_MODE_STEREO, 2, 4096, ring.data(), [](ALenum, ALsizei) {});
    Stream(source, buffers);
    AddEffect(source);
    MakeMistakes();
    if (const pid_t child = fork(); child == 0)
        _exit(alIsSource(source) == AL_TRUE ? 1 : 0);
    else
        waitpid(child, nullptr, 0);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffers[0]));
    alDeleteSources(1, &source);
    alcMakeContextCurrent(nullptr);
    alcDestroyContext(context);
    return alcCloseDevice(device) == ALC_TRUE ? 0 : 1;
}
