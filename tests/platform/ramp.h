#pragma once

// A game's sound for tests of outputs: 1, 2, 3, ... in both channels, written half a ring ahead of the
// cursor.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/soundsystem.h"

namespace testing_support {

class Ramp {
public:
    static constexpr std::uint32_t rate = 48000, ringFrames = 9600, frameBytes = 8;
    /// A step from frame to frame, which floats of full scale 1 still tell apart.
    static constexpr std::int32_t step = 16;

    explicit Ramp(platform::IDirectSoundBuffer& buffer) : buffer(buffer) {}

    /// The frame of the ring at the play cursor.
    static std::uint32_t Cursor(platform::IDirectSoundBuffer& buffer) {
        std::uint32_t play = 0;
        EXPECT_EQ(buffer.GetCurrentPosition(&play, nullptr), platform::DS_OK);
        return play / frameBytes;
    }

    /// Starts the buffer at the first time, and feeds it for that long.
    void Play(std::chrono::milliseconds time) {
        if (written == 0) {
            ASSERT_EQ(buffer.Play(0, 0, platform::DSBPLAY_LOOPING), platform::DS_OK);
        }
        const auto end = std::chrono::steady_clock::now() + time;
        for (; std::chrono::steady_clock::now() < end;
             std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
            played += (Cursor(buffer) + ringFrames - played % ringFrames) % ringFrames;
            while (written < played + ringFrames / 2)
                Write();
        }
    }

    std::int64_t played = 0;  ///< frames

private:
    void Write() {
        constexpr std::uint32_t frames = 240;
        void *first = nullptr, *second = nullptr;
        std::uint32_t bytes = 0, rest = 0;
        const auto offset = static_cast<std::uint32_t>(written % ringFrames * frameBytes);
        ASSERT_EQ(buffer.Lock(offset, frames * frameBytes, &first, &bytes, &second, &rest, 0),
                  platform::DS_OK);
        for (std::uint32_t i = 0; i < 2 * frames; ++i)
            static_cast<std::int32_t*>(first)[i] = static_cast<std::int32_t>(written + i / 2 + 1) * step;
        ASSERT_EQ(buffer.Unlock(first, bytes, second, rest), platform::DS_OK);
        written += frames;
    }

    platform::IDirectSoundBuffer& buffer;
    std::int64_t written = 0;
};

}  // namespace testing_support
