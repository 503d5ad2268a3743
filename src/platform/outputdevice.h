#pragma once

// What the devices of this machine have in common: abilities that are known when the device is opened, and
// the check of a ring's description before one is made. Each output adds how its rings are made.

#include <cstdint>

#include "platform/directsound.h"

namespace platform {

/// A ring as its description asks for it, checked: 32-bit integer samples, interleaved.
struct RingShape {
    std::uint32_t rate = 0;         ///< Hz
    std::uint32_t channels = 0;     ///< 1 to 64
    std::uint32_t channelMask = 0;  ///< a bit for each speaker; 0 for an output's own channels as they are
    std::uint32_t frames = 0;       ///< of the whole ring, above 0
};

// What a sound server takes, and what the outputs without one take as well.
inline constexpr std::uint32_t lowestRate = 1000;     // Hz
inline constexpr std::uint32_t highestRate = 192000;  // Hz

inline constexpr std::uint32_t mostOutputChannels = 64;

class OutputDevice : public IDirectSound8 {
public:
    /// `speakerSetting` is one of the DSSPEAKER_ constants.
    explicit OutputDevice(std::uint32_t speakerSetting) : speakerSetting(speakerSetting) {}

    Result SetCooperativeLevel(WindowHandle window, std::uint32_t level) final;
    Result GetCaps(DSCAPS* caps) final;
    Result GetSpeakerConfig(std::uint32_t* config) final;
    Result CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer) final;
    void Release() final { delete this; }

protected:
    ~OutputDevice() override = default;

    /// May throw; what it throws becomes a result.
    [[nodiscard]] virtual Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) = 0;

private:
    const std::uint32_t speakerSetting;
    bool hasLevel = false;
};

}  // namespace platform
