#include "platform/outputdevice.h"

#include <exception>
#include <new>

#include "slib/exception.h"

namespace platform {
namespace {

constexpr std::uint32_t sampleBytes = 4;

Result ReadShape(const DSBUFFERDESC* description, RingShape& shape) {
    if (description == nullptr || description->lpwfxFormat == nullptr) return DSERR_INVALIDPARAM;
    const auto& format = description->lpwfxFormat->Format;
    if (format.wFormatTag != WAVE_FORMAT_EXTENSIBLE || format.wBitsPerSample != 8 * sampleBytes ||
        description->lpwfxFormat->SubFormat != KSDATAFORMAT_SUBTYPE_PCM || format.nChannels == 0 ||
        format.nChannels > mostOutputChannels || format.nBlockAlign != sampleBytes * format.nChannels ||
        format.nSamplesPerSec < lowestRate || format.nSamplesPerSec > highestRate)
        return DSERR_BADFORMAT;
    if (description->dwBufferBytes == 0 || description->dwBufferBytes % format.nBlockAlign != 0)
        return DSERR_INVALIDPARAM;
    shape = {.rate = format.nSamplesPerSec,
             .channels = format.nChannels,
             .channelMask = description->lpwfxFormat->dwChannelMask,
             .frames = description->dwBufferBytes / format.nBlockAlign};
    return DS_OK;
}

}  // namespace

Result OutputDevice::SetCooperativeLevel(WindowHandle window, std::uint32_t level) {
    if (window == 0) return DSERR_INVALIDPARAM;
    hasLevel = level >= DSSCL_PRIORITY;
    return DS_OK;
}

Result OutputDevice::GetCaps(DSCAPS* caps) {
    if (caps == nullptr || caps->dwSize != sizeof(DSCAPS)) return DSERR_INVALIDPARAM;
    *caps = {.dwSize = sizeof(DSCAPS),
             .dwFlags = DSCAPS_CONTINUOUSRATE,
             .dwMinSecondarySampleRate = lowestRate,
             .dwMaxSecondarySampleRate = highestRate};
    return DS_OK;
}

Result OutputDevice::GetSpeakerConfig(std::uint32_t* config) {
    if (config == nullptr) return DSERR_INVALIDPARAM;
    *config = speakerSetting;
    return DS_OK;
}

Result OutputDevice::CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer) {
    if (buffer == nullptr) return DSERR_INVALIDPARAM;
    *buffer = nullptr;
    if (!hasLevel) return DSERR_PRIOLEVELNEEDED;
    RingShape shape;
    if (const Result result = ReadShape(description, shape); result != DS_OK) return result;
    try {
        SoundBufferPtr made;
        const Result result = MakeBuffer(shape, made);
        *buffer = made.release();
        return result;
    } catch (const std::bad_alloc&) {
        return DSERR_OUTOFMEMORY;
    } catch (const std::exception&) {
        return DSERR_GENERIC;
    }
}

}  // namespace platform
