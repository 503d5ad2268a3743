#pragma once

// The machine as an audio output needs it: which devices there are, how they are opened, which windows there
// are, and how one waits. The adaptive pipe is written against this; tests put a scripted machine in its
// place. Usable from any thread.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/directsound.h"
#include "platform/outputnews.h"
#include "platform/platformsettings.h"
#include "slib/log.h"

namespace platform {

class SoundSystem {
public:
    SoundSystem() = default;
    virtual ~SoundSystem() = default;
    SoundSystem(const SoundSystem&) = delete;
    SoundSystem& operator=(const SoundSystem&) = delete;

    /// Calls back once for each output device, first for the primary driver. Passes on what `callback`
    /// throws.
    virtual Result DirectSoundEnumerateA(const DeviceCallback& callback) = 0;
    /// Opens the device that has this identifier, null for the primary driver. The caller owns it and ends it
    /// with Release.
    virtual Result DirectSoundCreate8(const char* identifier, IDirectSound8** device) = 0;

    /// An output of more channels than a speaker setting has.
    struct WideOutput {
        std::string identifier;             ///< for DirectSoundCreate8
        std::string description;            ///< for people
        std::string module;                 ///< the name of the driver's module
        std::vector<std::string> channels;  ///< their names, no two alike
    };
    /// A ring with channels for all of these, and a channel mask of 0, plays them as they are.
    virtual std::vector<WideOutput> WideOutputs() { return {}; }

    /// Calls back for each top-level window until that returns false. False when there is no list.
    virtual bool EnumWindows(const std::function<bool(WindowHandle)>& callback) = 0;
    /// 0 for a window without a parent.
    virtual WindowHandle GetParent(WindowHandle window) = 0;
    virtual bool IsOfThisProcess(WindowHandle window) = 0;
    /// 0 when there is none.
    virtual WindowHandle GetDesktopWindow() = 0;

    /// Holds the calling thread up for that long.
    virtual void Sleep(std::uint32_t milliseconds) = 0;

    /// Of the outputs that were opened here.
    const std::shared_ptr<OutputNews> news = std::make_shared<OutputNews>();
};

/// This machine, with the output that the settings choose. "Auto" is the sound server or the sound cards, and
/// silence at the same pace while none of them answers, or the one in use is away. `log` is borrowed and
/// outlives the system and all it opened; it gets a line when that happens, or when a library of the machine
/// is missing.
std::shared_ptr<SoundSystem> MakeSoundSystem(const PlatformSettings& settings, slib::Log* log);

}  // namespace platform
