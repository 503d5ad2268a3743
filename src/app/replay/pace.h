#pragma once

// How time passes while a recording is played back: by the clock, block by block as the library renders them
// on demand, or not at all. For the player; one thread.

#include <cstdint>
#include <functional>

#include "AL/alc.h"

namespace replay {

/// Times are those of the recording, in microseconds.
class Pace {
public:
    Pace() = default;
    Pace(const Pace&) = delete;
    Pace& operator=(const Pace&) = delete;
    virtual ~Pace() = default;

    /// Before a call of that time.
    virtual void AwaitTime(std::int64_t time) = 0;
    /// Lets the renderer go on for a moment, whose length is the result; 0 when it can't.
    virtual std::int64_t StepOn() = 0;
    /// A context has come into being at that time, or is gone.
    virtual void BeginSound(std::int64_t) {}
    virtual void EndSound() {}
};

/// Calls follow each other at once.
class NoPace : public Pace {
public:
    void AwaitTime(std::int64_t) override {}
    std::int64_t StepOn() override { return 0; }
};

/// Calls are made when they were made in the recording.
class ClockPace : public Pace {
public:
    void AwaitTime(std::int64_t time) override;
    std::int64_t StepOn() override;

private:
    std::int64_t start = -1;  // of the clock, for the recording's time 0
};

/// Blocks are rendered when the time of their end comes in the calls, so that the sound is the same each
/// time. Needs a library that renders on demand (app/goaldll/stepping.h).
class SteppedPace : public Pace {
public:
    /// Has one block rendered: its frames, and its rate in Hz. 0 when there was none.
    using Render = std::function<ALCsizei(ALCint* frequency)>;

    explicit SteppedPace(Render render) : render(std::move(render)) {}

    void AwaitTime(std::int64_t time) override;
    std::int64_t StepOn() override;
    void BeginSound(std::int64_t time) override;
    void EndSound() override { isSounding = false; }

private:
    const Render render;
    bool isSounding = false;
    std::int64_t begin = 0;          // of the sound
    std::int64_t frames = 0;         // rendered since then
    std::int64_t rate = 48000;       // Hz
    std::int64_t blockFrames = 480;  // until the first block tells
};

}  // namespace replay
