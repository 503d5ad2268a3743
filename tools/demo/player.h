#pragma once

// What a game has of the library, as objects: the context with a clock in it, sources, and a room. All by the
// exported calls; the scene plays with these, on the main thread. A call that is refused, or a library that
// makes no context, is a slib::BadStateException.

#include <array>
#include <functional>

#include "slib/exception.h"
#include "tools/sounds/sound.h"

#define AL_ALEXT_PROTOTYPES 1
#include "AL/tessarune.h"
#include "tools/presets/reverbpresets.h"

namespace demo {

/// The person at the terminal ended the program.
class Interrupted : public slib::StringException {
public:
    Interrupted() : StringException("Interrupted.") {}
};

/// In the calls' axes, metres: to the right, up, backwards.
using Vector = std::array<float, 3>;

/// `azimuth` in degrees, positive to the left.
Vector Towards(double azimuth, double distance);

/// An open device with the current context. One at a time.
class Player {
public:
    Player();
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Seconds that were rendered since the player was made. What is heard, or recorded, keeps to this clock.
    double Now() const;

    /// Waits until then, and calls `step` with the time again and again. Throws also when the clock stands
    /// still, and Interrupted.
    void RunUntil(double time, const std::function<void(double)>& step = {}) const;

private:
    void MakeContext();
    void StartClock();
    void Close();

    ALCdevice* device = nullptr;
    ALCcontext* context = nullptr;
    ALuint clockBuffer = 0, clock = 0;  // silence, whose play position is the clock
};

/// A room that sources send to.
class Room {
public:
    explicit Room(const presets::ReverbPreset& preset);
    ~Room();
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    ALuint slot = 0;

private:
    ALuint effect = 0;
};

/// A source with a sound of its own. Ends with the scope.
class Source {
public:
    explicit Source(const tool::Sound& sound, bool isRepeated = false);
    ~Source();
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    /// `velocity` in metres a second.
    void MoveTo(const Vector& position, const Vector& velocity = {});
    void SendTo(const Room& room);
    void Start();
    void Stop();

private:
    ALuint buffer = 0, source = 0;
};

/// From now on Ctrl-C ends what a player runs, by Interrupted, and no longer the program at once.
void WatchForInterruption();

}  // namespace demo
