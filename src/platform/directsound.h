#pragma once

// The sound devices of this machine under the names of a published interface: a looping ring of integer
// frames with a play cursor. Records, constants and operations have the names, values and order that the
// interface published; their implementation is made by a SoundSystem. The adaptive pipe calls them.
//
//     0 ─────── play cursor ═══════ write cursor ──────────── ring bytes
//               handed over, or about to be: too late to write    free to write, about to be played last
//
// Every operation gives a Result, 0 for success, and throws nothing. An object belongs to one thread at a
// time; objects don't depend on each other's lives.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

using Result = std::uint32_t;

inline constexpr Result DS_OK = 0;
inline constexpr Result DS_NO_VIRTUALIZATION = 0x0878000A;
inline constexpr Result DSERR_UNSUPPORTED = 0x80004001;
inline constexpr Result DSERR_NOINTERFACE = 0x80004002;
inline constexpr Result DSERR_GENERIC = 0x80004005;
inline constexpr Result DSERR_NOAGGREGATION = 0x80040110;
inline constexpr Result DSERR_ACCESSDENIED = 0x80070005;
inline constexpr Result DSERR_OUTOFMEMORY = 0x8007000E;
inline constexpr Result DSERR_INVALIDPARAM = 0x80070057;
inline constexpr Result DSERR_ALLOCATED = 0x8878000A;
inline constexpr Result DSERR_CONTROLUNAVAIL = 0x8878001E;
inline constexpr Result DSERR_INVALIDCALL = 0x88780032;
inline constexpr Result DSERR_PRIOLEVELNEEDED = 0x88780046;
inline constexpr Result DSERR_BADFORMAT = 0x88780064;
inline constexpr Result DSERR_NODRIVER = 0x88780078;
inline constexpr Result DSERR_ALREADYINITIALIZED = 0x88780082;
inline constexpr Result DSERR_BUFFERLOST = 0x88780096;
inline constexpr Result DSERR_OTHERAPPHASPRIO = 0x887800A0;
inline constexpr Result DSERR_UNINITIALIZED = 0x887800AA;
inline constexpr Result DSERR_BUFFERTOOSMALL = 0x887800B4;
inline constexpr Result DSERR_DS8_REQUIRED = 0x887800BE;
inline constexpr Result DSERR_SENDLOOP = 0x887800C8;
inline constexpr Result DSERR_BADSENDBUFFERGUID = 0x887800D2;
inline constexpr Result DSERR_FXUNAVAILABLE = 0x887800DC;
inline constexpr Result DSERR_OBJECTNOTFOUND = 0x88781161;

// The low byte of a speaker setting.
inline constexpr std::uint32_t DSSPEAKER_DIRECTOUT = 0;
inline constexpr std::uint32_t DSSPEAKER_HEADPHONE = 1;
inline constexpr std::uint32_t DSSPEAKER_MONO = 2;
inline constexpr std::uint32_t DSSPEAKER_QUAD = 3;
inline constexpr std::uint32_t DSSPEAKER_STEREO = 4;
inline constexpr std::uint32_t DSSPEAKER_SURROUND = 5;
inline constexpr std::uint32_t DSSPEAKER_5POINT1 = 6;
inline constexpr std::uint32_t DSSPEAKER_7POINT1 = 7;
inline constexpr std::uint32_t DSSPEAKER_7POINT1_SURROUND = 8;
inline constexpr std::uint32_t DSSPEAKER_5POINT1_SURROUND = 9;

inline constexpr std::uint32_t DSCAPS_CONTINUOUSRATE = 0x10;
inline constexpr std::uint32_t DSCAPS_EMULDRIVER = 0x20;
inline constexpr std::uint32_t DSBCAPS_GLOBALFOCUS = 0x8000;
inline constexpr std::uint32_t DSBCAPS_GETCURRENTPOSITION2 = 0x10000;
inline constexpr std::uint32_t DSBPLAY_LOOPING = 1;
inline constexpr std::uint32_t DSSCL_PRIORITY = 2;
inline constexpr std::uint16_t WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

struct GUID {
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::array<std::uint8_t, 8> Data4{};
    bool operator==(const GUID&) const = default;
};

inline constexpr GUID KSDATAFORMAT_SUBTYPE_PCM{
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr GUID DS3DALG_DEFAULT{};

/// What a device can do. The caller sets dwSize before it asks.
struct DSCAPS {
    std::uint32_t dwSize = 0;
    std::uint32_t dwFlags = 0;                   ///< of the DSCAPS_ constants
    std::uint32_t dwMinSecondarySampleRate = 0;  ///< Hz
    std::uint32_t dwMaxSecondarySampleRate = 0;  ///< Hz
    std::array<std::uint32_t, 20> dwMixing{};    ///< counts of hardware voices and memory; none here
};
static_assert(sizeof(DSCAPS) == 96);

struct WAVEFORMATEXTENSIBLE {
    struct {
        std::uint16_t wFormatTag = 0;
        std::uint16_t nChannels = 0;
        std::uint32_t nSamplesPerSec = 0;  ///< frames a second
        std::uint32_t nAvgBytesPerSec = 0;
        std::uint16_t nBlockAlign = 0;  ///< bytes of a frame
        std::uint16_t wBitsPerSample = 0;
        std::uint16_t cbSize = 0;  ///< bytes of what follows
    } Format;
    std::uint16_t wValidBitsPerSample = 0;
    std::uint32_t dwChannelMask = 0;  ///< a bit for each speaker, in the order of the channels
    GUID SubFormat;
};

struct DSBUFFERDESC {
    std::uint32_t dwSize = 0;  ///< 36: the published size, with the pointer in four bytes
    std::uint32_t dwFlags = 0;
    std::uint32_t dwBufferBytes = 0;  ///< of the ring
    std::uint32_t dwReserved = 0;
    const WAVEFORMATEXTENSIBLE* lpwfxFormat = nullptr;  ///< borrowed for the call
    GUID guid3DAlgorithm;
};

/// A looping ring on an output.
class IDirectSoundBuffer {
public:
    IDirectSoundBuffer() = default;
    IDirectSoundBuffer(const IDirectSoundBuffer&) = delete;
    IDirectSoundBuffer& operator=(const IDirectSoundBuffer&) = delete;

    /// Both cursors in bytes from the start of the ring, whole frames. Between them is what the output has
    /// taken, or will have taken before the next look. Allocates and locks nothing.
    virtual Result GetCurrentPosition(std::uint32_t* playCursor, std::uint32_t* writeCursor) = 0;
    /// Starts at the play cursor; `flags` is DSBPLAY_LOOPING.
    virtual Result Play(std::uint32_t reserved, std::uint32_t priority, std::uint32_t flags) = 0;
    virtual Result Stop() = 0;
    /// Gives the place of `bytes` bytes from `offset` on as one piece or, around the end of the ring, two; a
    /// second piece that isn't needed is null with 0 bytes. Allocates and locks nothing, as Unlock.
    virtual Result Lock(std::uint32_t offset, std::uint32_t bytes, void** first, std::uint32_t* firstBytes,
                        void** second, std::uint32_t* secondBytes, std::uint32_t flags) = 0;
    /// Ends a Lock, with the pieces it gave: their content is now to be played.
    virtual Result Unlock(void* first, std::uint32_t firstBytes, void* second, std::uint32_t secondBytes) = 0;
    /// Stops and deletes the object.
    virtual void Release() = 0;

protected:
    virtual ~IDirectSoundBuffer() = default;
};

/// A window as a number, 0 for none.
using WindowHandle = std::uintptr_t;

/// An open device.
class IDirectSound8 {
public:
    IDirectSound8() = default;
    IDirectSound8(const IDirectSound8&) = delete;
    IDirectSound8& operator=(const IDirectSound8&) = delete;

    /// `window` is one of the application, or the desktop; `level` is DSSCL_PRIORITY.
    virtual Result SetCooperativeLevel(WindowHandle window, std::uint32_t level) = 0;
    virtual Result GetCaps(DSCAPS* caps) = 0;
    /// The low byte is one of the DSSPEAKER_ constants.
    virtual Result GetSpeakerConfig(std::uint32_t* config) = 0;
    /// The ring, silent and stopped, owned by the caller, who ends it with Release.
    virtual Result CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer) = 0;
    /// Deletes the object.
    virtual void Release() = 0;

protected:
    virtual ~IDirectSound8() = default;
};

/// Ends an owned object of these interfaces.
struct Releaser {
    template <typename T>
    void operator()(T* object) const {
        object->Release();
    }
};

using SoundDevicePtr = std::unique_ptr<IDirectSound8, Releaser>;
using SoundBufferPtr = std::unique_ptr<IDirectSoundBuffer, Releaser>;

/// Gets each device: the driver's identifier, null for the primary driver, the description for people and the
/// name of the driver's module. False ends the enumeration. All three are borrowed for the call.
using DeviceCallback =
    std::function<bool(const char* identifier, const char* description, const char* module)>;

}  // namespace platform
