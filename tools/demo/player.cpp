#include "tools/demo/player.h"

#include <signal.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

namespace demo {
namespace {

constexpr auto pollInterval = std::chrono::milliseconds(10);
constexpr auto patience = std::chrono::seconds(5);
constexpr int clockRate = 1000;  // Hz
constexpr int clockLength = 1800 * clockRate;

volatile std::sig_atomic_t isInterrupted = 0;

void Interrupt(int) {
    isInterrupted = 1;
}

// `doing` goes on "The library refused to ...".
void Check(const char* doing) {
    const ALenum code = alGetError();
    if (code == AL_NO_ERROR) return;
    throw slib::BadStateException(std::string("The library refused to ") + doing + ": " + alGetString(code));
}

}  // namespace

Vector Towards(double azimuth, double distance) {
    const double angle = azimuth * std::numbers::pi / 180;
    return {static_cast<float>(-std::sin(angle) * distance), 0,
            static_cast<float>(-std::cos(angle) * distance)};
}

Player::Player() {
    try {
        MakeContext();
        StartClock();
    } catch (...) {
        Close();
        throw;
    }
}

Player::~Player() {
    Close();
}

void Player::MakeContext() {
    device = alcOpenDevice(nullptr);
    if (device == nullptr) throw slib::BadStateException("The device can't be opened.");
    context = alcCreateContext(device, nullptr);
    if (context == nullptr)
        throw slib::BadStateException(std::string("No context could be made: ") +
                                      alcGetString(device, alcGetError(device)));
    alcMakeContextCurrent(context);
}

void Player::StartClock() {
    const std::vector<unsigned char> silence(clockLength, 128);
    alGenBuffers(1, &clockBuffer);
    alBufferData(clockBuffer, AL_FORMAT_MONO8, silence.data(), clockLength, clockRate);
    alGenSources(1, &clock);
    alSourcei(clock, AL_BUFFER, static_cast<ALint>(clockBuffer));
    alSourcePlay(clock);
    Check("start the clock");
}

void Player::Close() {
    if (clock != 0) alDeleteSources(1, &clock);
    if (clockBuffer != 0) alDeleteBuffers(1, &clockBuffer);
    alcMakeContextCurrent(nullptr);
    if (context != nullptr) alcDestroyContext(context);
    if (device != nullptr) alcCloseDevice(device);
}

double Player::Now() const {
    ALint position = 0;
    alGetSourcei(clock, AL_SAMPLE_OFFSET, &position);
    return static_cast<double>(position) / clockRate;
}

void Player::RunUntil(double time, const std::function<void(double)>& step) const {
    using std::chrono::steady_clock;
    auto moved = steady_clock::now();
    double last = Now();
    while (last < time) {
        const double now = Now();
        if (now > last) moved = steady_clock::now();
        last = now;
        if (isInterrupted != 0) throw Interrupted();
        if (steady_clock::now() - moved > patience)
            throw slib::BadStateException(
                "The output takes no more sound. Make sure that the sound server still runs, and start "
                "again.");
        if (step) step(now);
        std::this_thread::sleep_for(pollInterval);
    }
    Check("play the scene");
}

Room::Room(const presets::ReverbPreset& preset) {
    alGenEffects(1, &effect);
    presets::ApplyReverbPreset(effect, preset);
    alGenAuxiliaryEffectSlots(1, &slot);
    alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    Check("build the room");
}

Room::~Room() {
    alDeleteAuxiliaryEffectSlots(1, &slot);
    alDeleteEffects(1, &effect);
}

Source::Source(const tool::Sound& sound, bool isRepeated) {
    const auto bytes = static_cast<ALsizei>(sound.samples.size() * sizeof sound.samples[0]);
    alGenBuffers(1, &buffer);
    alBufferData(buffer, AL_FORMAT_MONO16, sound.samples.data(), bytes, sound.rate);
    alGenSources(1, &source);
    alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcei(source, AL_LOOPING, isRepeated ? AL_TRUE : AL_FALSE);
    Check("make a source");
}

Source::~Source() {
    alDeleteSources(1, &source);
    alDeleteBuffers(1, &buffer);
}

void Source::MoveTo(const Vector& position, const Vector& velocity) {
    alSourcefv(source, AL_POSITION, position.data());
    alSourcefv(source, AL_VELOCITY, velocity.data());
}

void Source::SendTo(const Room& room) {
    alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(room.slot), 0, AL_FILTER_NULL);
}

void Source::Start() {
    alSourcePlay(source);
}

void Source::Stop() {
    alSourceStop(source);
}

void WatchForInterruption() {
    struct sigaction action {};
    action.sa_handler = Interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second one ends it whatever happens
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace demo
