#pragma once

// A sound system in a time of its own, for tests of what writes to one. Its output reads the ring at an even
// pace; what its cursors report of that is up to the test, which may let them step, jitter, stall or jump,
// and every operation, named as it is, can fail with any code.

#include <algorithm>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "platform/soundsystem.h"

namespace testing_support {

using platform::Result;
using platform::WindowHandle;

/// What can fail.
inline constexpr std::string_view scriptedOperations[] = {"DirectSoundEnumerateA",
                                                          "DirectSoundCreate8",
                                                          "SetCooperativeLevel",
                                                          "GetCaps",
                                                          "GetSpeakerConfig",
                                                          "CreateSoundBuffer",
                                                          "GetCurrentPosition",
                                                          "Play",
                                                          "Stop",
                                                          "Lock",
                                                          "Unlock"};

/// Frames since the start, play <= write.
struct ScriptedCursors {
    std::int64_t play, write;
};

class ScriptedSystem : public platform::SoundSystem {
public:
    std::map<std::string_view, Result> failures;  ///< by operation
    std::map<std::string_view, int> calls;        ///< by operation
    int openObjects = 0;
    std::vector<const char*> deviceNames{"Primary Sound Driver", "Speakers (USB Audio)"};
    platform::DSCAPS caps{96, platform::DSCAPS_CONTINUOUSRATE, 1000, 96000, {}};
    std::uint32_t speakerConfig = platform::DSSPEAKER_STEREO;
    std::uint32_t onlyRate = 0;  ///< Hz, of the one format that isn't refused; 0: none is
    /// What the cursors report while the output is at frame `position`.
    std::function<ScriptedCursors(std::int64_t)> cursors = [](std::int64_t p) {
        return ScriptedCursors{p, p};
    };

    double time = 0;            ///< milliseconds
    std::int64_t position = 0;  ///< frames that the output has read, while it ran
    std::vector<std::uint32_t> sleeps;
    platform::DSBUFFERDESC description;
    platform::WAVEFORMATEXTENSIBLE format;
    std::vector<std::int32_t> ring;
    std::vector<std::uint32_t> lockOffsets;
    std::vector<std::int32_t> played;  ///< of the first channel
    bool isPlaying = false;

    void Pass(double milliseconds) {
        time += milliseconds;
        while (isPlaying && position < static_cast<std::int64_t>(time * format.Format.nSamplesPerSec / 1000))
            played.push_back(
                ring[static_cast<std::size_t>(position++ * format.Format.nChannels) % ring.size()]);
    }
    Result Do(const char* operation) {
        ++calls[operation];
        return failures.contains(operation) ? failures[operation] : platform::DS_OK;
    }

    Result DirectSoundEnumerateA(const platform::DeviceCallback& callback) override {
        for (const char* name : deviceNames)
            callback(name == deviceNames[0] ? nullptr : "usb", name, "module");
        return Do("DirectSoundEnumerateA");
    }
    Result DirectSoundCreate8(const char*, platform::IDirectSound8** device) override;
    bool EnumWindows(const std::function<bool(WindowHandle)>&) override { return true; }
    WindowHandle GetParent(WindowHandle) override { return 0; }
    bool IsOfThisProcess(WindowHandle) override { return false; }
    WindowHandle GetDesktopWindow() override { return 1; }
    void Sleep(std::uint32_t milliseconds) override {
        sleeps.push_back(milliseconds);
        Pass(milliseconds);
    }
};

// One of the objects that the system counts while they are open.
template <typename Interface>
class ScriptedObject : public Interface {
public:
    explicit ScriptedObject(ScriptedSystem& system) : system(system) { ++system.openObjects; }
    void Release() override {
        --system.openObjects;
        delete this;
    }

protected:
    ScriptedSystem& system;
};

class ScriptedBuffer : public ScriptedObject<platform::IDirectSoundBuffer> {
public:
    using ScriptedObject::ScriptedObject;
    Result GetCurrentPosition(std::uint32_t* play, std::uint32_t* write) override {
        const ScriptedCursors at = system.cursors(system.position);
        *play = static_cast<std::uint32_t>(at.play * system.format.Format.nBlockAlign) % Bytes();
        *write = static_cast<std::uint32_t>(at.write * system.format.Format.nBlockAlign) % Bytes();
        return system.Do("GetCurrentPosition");
    }
    Result Play(std::uint32_t, std::uint32_t, std::uint32_t flags) override {
        system.isPlaying = flags == platform::DSBPLAY_LOOPING;
        return system.Do("Play");
    }
    Result Stop() override {
        system.isPlaying = false;
        return system.Do("Stop");
    }
    Result Lock(std::uint32_t offset, std::uint32_t bytes, void** first, std::uint32_t* firstBytes,
                void** second, std::uint32_t* secondBytes, std::uint32_t) override {
        system.lockOffsets.push_back(offset);
        *first = system.ring.data() + offset / 4;
        *firstBytes = std::min(bytes, Bytes() - offset);
        *secondBytes = bytes - *firstBytes;
        *second = *secondBytes == 0 ? nullptr : system.ring.data();
        return system.Do("Lock");
    }
    Result Unlock(void*, std::uint32_t, void*, std::uint32_t) override { return system.Do("Unlock"); }

private:
    std::uint32_t Bytes() const { return static_cast<std::uint32_t>(4 * system.ring.size()); }
};

class ScriptedDevice : public ScriptedObject<platform::IDirectSound8> {
public:
    using ScriptedObject::ScriptedObject;
    Result SetCooperativeLevel(WindowHandle window, std::uint32_t level) override {
        return window == 0 || level != platform::DSSCL_PRIORITY ? 1 : system.Do("SetCooperativeLevel");
    }
    Result GetCaps(platform::DSCAPS* caps) override {
        const bool isSized = caps->dwSize == 96;
        *caps = system.caps;
        return isSized ? system.Do("GetCaps") : 1;
    }
    Result GetSpeakerConfig(std::uint32_t* config) override {
        *config = system.speakerConfig;
        return system.Do("GetSpeakerConfig");
    }
    Result CreateSoundBuffer(const platform::DSBUFFERDESC* description,
                             platform::IDirectSoundBuffer** buffer) override {
        system.description = *description;
        system.format = *description->lpwfxFormat;
        system.ring.assign(description->dwBufferBytes / 4, 0);
        const bool isRefused = system.onlyRate != 0 && system.onlyRate != system.format.Format.nSamplesPerSec;
        const Result result = isRefused ? platform::DSERR_BADFORMAT : system.Do("CreateSoundBuffer");
        if (result == platform::DS_OK) *buffer = new ScriptedBuffer(system);
        return result;
    }
};

inline Result ScriptedSystem::DirectSoundCreate8(const char*, platform::IDirectSound8** device) {
    const Result result = Do("DirectSoundCreate8");
    if (result == platform::DS_OK) *device = new ScriptedDevice(*this);
    return result;
}

}  // namespace testing_support
