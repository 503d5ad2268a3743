/* A program in C99 that links the library as a game does. A call whose type differs from its pointer type, or
 * that the library doesn't export, keeps it from building. */

#define AL_ALEXT_PROTOTYPES 1

#include "AL/al.h"
#include "AL/alc.h"
#include "AL/efx.h"
#include "AL/tessarune.h"

#include <stdio.h>
#include <string.h>

LPALENABLE to_alEnable = alEnable;
LPALDISABLE to_alDisable = alDisable;
LPALISENABLED to_alIsEnabled = alIsEnabled;
LPALGETSTRING to_alGetString = alGetString;
LPALGETBOOLEANV to_alGetBooleanv = alGetBooleanv;
LPALGETINTEGERV to_alGetIntegerv = alGetIntegerv;
LPALGETFLOATV to_alGetFloatv = alGetFloatv;
LPALGETDOUBLEV to_alGetDoublev = alGetDoublev;
LPALGETBOOLEAN to_alGetBoolean = alGetBoolean;
LPALGETINTEGER to_alGetInteger = alGetInteger;
LPALGETFLOAT to_alGetFloat = alGetFloat;
LPALGETDOUBLE to_alGetDouble = alGetDouble;
LPALGETERROR to_alGetError = alGetError;
LPALISEXTENSIONPRESENT to_alIsExtensionPresent = alIsExtensionPresent;
LPALGETPROCADDRESS to_alGetProcAddress = alGetProcAddress;
LPALGETENUMVALUE to_alGetEnumValue = alGetEnumValue;
LPALLISTENERF to_alListenerf = alListenerf;
LPALLISTENER3F to_alListener3f = alListener3f;
LPALLISTENERFV to_alListenerfv = alListenerfv;
LPALLISTENERI to_alListeneri = alListeneri;
LPALLISTENER3I to_alListener3i = alListener3i;
LPALLISTENERIV to_alListeneriv = alListeneriv;
LPALGETLISTENERF to_alGetListenerf = alGetListenerf;
LPALGETLISTENER3F to_alGetListener3f = alGetListener3f;
LPALGETLISTENERFV to_alGetListenerfv = alGetListenerfv;
LPALGETLISTENERI to_alGetListeneri = alGetListeneri;
LPALGETLISTENER3I to_alGetListener3i = alGetListener3i;
LPALGETLISTENERIV to_alGetListeneriv = alGetListeneriv;
LPALGENSOURCES to_alGenSources = alGenSources;
LPALDELETESOURCES to_alDeleteSources = alDeleteSources;
LPALISSOURCE to_alIsSource = alIsSource;
LPALSOURCEF to_alSourcef = alSourcef;
LPALSOURCE3F to_alSource3f = alSource3f;
LPALSOURCEFV to_alSourcefv = alSourcefv;
LPALSOURCEI to_alSourcei = alSourcei;
LPALSOURCE3I to_alSource3i = alSource3i;
LPALSOURCEIV to_alSourceiv = alSourceiv;
LPALGETSOURCEF to_alGetSourcef = alGetSourcef;
LPALGETSOURCE3F to_alGetSource3f = alGetSource3f;
LPALGETSOURCEFV to_alGetSourcefv = alGetSourcefv;
LPALGETSOURCEI to_alGetSourcei = alGetSourcei;
LPALGETSOURCE3I to_alGetSource3i = alGetSource3i;
LPALGETSOURCEIV to_alGetSourceiv = alGetSourceiv;
LPALSOURCEPLAYV to_alSourcePlayv = alSourcePlayv;
LPALSOURCESTOPV to_alSourceStopv = alSourceStopv;
LPALSOURCEREWINDV to_alSourceRewindv = alSourceRewindv;
LPALSOURCEPAUSEV to_alSourcePausev = alSourcePausev;
LPALSOURCEPLAY to_alSourcePlay = alSourcePlay;
LPALSOURCESTOP to_alSourceStop = alSourceStop;
LPALSOURCEREWIND to_alSourceRewind = alSourceRewind;
LPALSOURCEPAUSE to_alSourcePause = alSourcePause;
LPALSOURCEQUEUEBUFFERS to_alSourceQueueBuffers = alSourceQueueBuffers;
LPALSOURCEUNQUEUEBUFFERS to_alSourceUnqueueBuffers = alSourceUnqueueBuffers;
LPALGENBUFFERS to_alGenBuffers = alGenBuffers;
LPALDELETEBUFFERS to_alDeleteBuffers = alDeleteBuffers;
LPALISBUFFER to_alIsBuffer = alIsBuffer;
LPALBUFFERDATA to_alBufferData = alBufferData;
LPALBUFFERDATASTATIC to_alBufferDataStatic = alBufferDataStatic;
LPALBUFFERF to_alBufferf = alBufferf;
LPALBUFFER3F to_alBuffer3f = alBuffer3f;
LPALBUFFERFV to_alBufferfv = alBufferfv;
LPALBUFFERI to_alBufferi = alBufferi;
LPALBUFFER3I to_alBuffer3i = alBuffer3i;
LPALBUFFERIV to_alBufferiv = alBufferiv;
LPALGETBUFFERF to_alGetBufferf = alGetBufferf;
LPALGETBUFFER3F to_alGetBuffer3f = alGetBuffer3f;
LPALGETBUFFERFV to_alGetBufferfv = alGetBufferfv;
LPALGETBUFFERI to_alGetBufferi = alGetBufferi;
LPALGETBUFFER3I to_alGetBuffer3i = alGetBuffer3i;
LPALGETBUFFERIV to_alGetBufferiv = alGetBufferiv;
LPALDOPPLERFACTOR to_alDopplerFactor = alDopplerFactor;
LPALDOPPLERVELOCITY to_alDopplerVelocity = alDopplerVelocity;
LPALSPEEDOFSOUND to_alSpeedOfSound = alSpeedOfSound;
LPALDISTANCEMODEL to_alDistanceModel = alDistanceModel;
LPALGENEFFECTS to_alGenEffects = alGenEffects;
LPALDELETEEFFECTS to_alDeleteEffects = alDeleteEffects;
LPALISEFFECT to_alIsEffect = alIsEffect;
LPALEFFECTI to_alEffecti = alEffecti;
LPALEFFECTIV to_alEffectiv = alEffectiv;
LPALEFFECTF to_alEffectf = alEffectf;
LPALEFFECTFV to_alEffectfv = alEffectfv;
LPALGETEFFECTI to_alGetEffecti = alGetEffecti;
LPALGETEFFECTIV to_alGetEffectiv = alGetEffectiv;
LPALGETEFFECTF to_alGetEffectf = alGetEffectf;
LPALGETEFFECTFV to_alGetEffectfv = alGetEffectfv;
LPALGENFILTERS to_alGenFilters = alGenFilters;
LPALDELETEFILTERS to_alDeleteFilters = alDeleteFilters;
LPALISFILTER to_alIsFilter = alIsFilter;
LPALFILTERI to_alFilteri = alFilteri;
LPALFILTERIV to_alFilteriv = alFilteriv;
LPALFILTERF to_alFilterf = alFilterf;
LPALFILTERFV to_alFilterfv = alFilterfv;
LPALGETFILTERI to_alGetFilteri = alGetFilteri;
LPALGETFILTERIV to_alGetFilteriv = alGetFilteriv;
LPALGETFILTERF to_alGetFilterf = alGetFilterf;
LPALGETFILTERFV to_alGetFilterfv = alGetFilterfv;
LPALGENAUXILIARYEFFECTSLOTS to_alGenAuxiliaryEffectSlots = alGenAuxiliaryEffectSlots;
LPALDELETEAUXILIARYEFFECTSLOTS to_alDeleteAuxiliaryEffectSlots = alDeleteAuxiliaryEffectSlots;
LPALISAUXILIARYEFFECTSLOT to_alIsAuxiliaryEffectSlot = alIsAuxiliaryEffectSlot;
LPALAUXILIARYEFFECTSLOTI to_alAuxiliaryEffectSloti = alAuxiliaryEffectSloti;
LPALAUXILIARYEFFECTSLOTIV to_alAuxiliaryEffectSlotiv = alAuxiliaryEffectSlotiv;
LPALAUXILIARYEFFECTSLOTF to_alAuxiliaryEffectSlotf = alAuxiliaryEffectSlotf;
LPALAUXILIARYEFFECTSLOTFV to_alAuxiliaryEffectSlotfv = alAuxiliaryEffectSlotfv;
LPALGETAUXILIARYEFFECTSLOTI to_alGetAuxiliaryEffectSloti = alGetAuxiliaryEffectSloti;
LPALGETAUXILIARYEFFECTSLOTIV to_alGetAuxiliaryEffectSlotiv = alGetAuxiliaryEffectSlotiv;
LPALGETAUXILIARYEFFECTSLOTF to_alGetAuxiliaryEffectSlotf = alGetAuxiliaryEffectSlotf;
LPALGETAUXILIARYEFFECTSLOTFV to_alGetAuxiliaryEffectSlotfv = alGetAuxiliaryEffectSlotfv;
LPALREQUESTFOLDBACKSTART to_alRequestFoldbackStart = alRequestFoldbackStart;
LPALREQUESTFOLDBACKSTOP to_alRequestFoldbackStop = alRequestFoldbackStop;
LPALCCREATECONTEXT to_alcCreateContext = alcCreateContext;
LPALCMAKECONTEXTCURRENT to_alcMakeContextCurrent = alcMakeContextCurrent;
LPALCPROCESSCONTEXT to_alcProcessContext = alcProcessContext;
LPALCSUSPENDCONTEXT to_alcSuspendContext = alcSuspendContext;
LPALCDESTROYCONTEXT to_alcDestroyContext = alcDestroyContext;
LPALCGETCURRENTCONTEXT to_alcGetCurrentContext = alcGetCurrentContext;
LPALCGETCONTEXTSDEVICE to_alcGetContextsDevice = alcGetContextsDevice;
LPALCOPENDEVICE to_alcOpenDevice = alcOpenDevice;
LPALCCLOSEDEVICE to_alcCloseDevice = alcCloseDevice;
LPALCGETERROR to_alcGetError = alcGetError;
LPALCISEXTENSIONPRESENT to_alcIsExtensionPresent = alcIsExtensionPresent;
LPALCGETPROCADDRESS to_alcGetProcAddress = alcGetProcAddress;
LPALCGETENUMVALUE to_alcGetEnumValue = alcGetEnumValue;
LPALCGETSTRING to_alcGetString = alcGetString;
LPALCGETINTEGERV to_alcGetIntegerv = alcGetIntegerv;
LPTSRGETVERSION to_tsrGetVersion = tsrGetVersion;
LPALCCAPTUREOPENDEVICE to_alcCaptureOpenDevice = alcCaptureOpenDevice;
LPALCCAPTURECLOSEDEVICE to_alcCaptureCloseDevice = alcCaptureCloseDevice;
LPALCCAPTURESTART to_alcCaptureStart = alcCaptureStart;
LPALCCAPTURESTOP to_alcCaptureStop = alcCaptureStop;
LPALCCAPTURESAMPLES to_alcCaptureSamples = alcCaptureSamples;

int main(void) {
    ALCint version[3] = {-1, -1, -1};
    const ALchar* standard = to_alGetString(AL_VERSION);
    if (standard == NULL || strcmp(standard, "1.1") != 0) {
        fprintf(stderr, "AL_VERSION isn't 1.1.\n");
        return 1;
    }
    to_tsrGetVersion(&version[0], &version[1], &version[2]);
    if (version[0] < 2 || version[1] < 0 || version[2] < 0) {
        fprintf(stderr, "The version of the library is %d.%d.%d.\n", version[0], version[1], version[2]);
        return 1;
    }
    return 0;
}
