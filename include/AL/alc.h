#ifndef AL_ALC_H
#define AL_ALC_H

/* ALC 1.1: devices and contexts, with capture and the enumeration of all devices. For games, in C99 and C++.
 * Every call may be made from any thread; the calls are serialised. A call that fails records one of the
 * error codes below for alcGetError.
 *
 * A program that loads the library by hand defines ALC_NO_PROTOTYPES before it includes this header: then
 * only the types, the tokens and the LPALC* pointer types are declared. A program may define ALC_API and
 * ALC_APIENTRY itself. */

#ifdef __cplusplus
extern "C" {
#endif

#ifndef ALC_API
#if defined(AL_LIBTYPE_STATIC)
#define ALC_API
#elif defined(_WIN32)
#define ALC_API __declspec(dllimport)
#elif defined(__GNUC__)
#define ALC_API __attribute__((visibility("default")))
#else
#define ALC_API extern
#endif
#endif

#ifndef ALC_APIENTRY
#ifdef _WIN32
#define ALC_APIENTRY __cdecl
#else
#define ALC_APIENTRY
#endif
#endif

/* The older spelling of the same, and the mark by which programs tell the version. */
#ifndef ALCAPI
#define ALCAPI ALC_API
#endif
#ifndef ALCAPIENTRY
#define ALCAPIENTRY ALC_APIENTRY
#endif
#define ALC_VERSION_0_1 1

typedef struct ALCdevice ALCdevice;   /* opaque, owned by the library */
typedef struct ALCcontext ALCcontext; /* opaque, from alcCreateContext to alcDestroyContext */

typedef char ALCboolean;          /* 8 bits, ALC_FALSE or ALC_TRUE */
typedef char ALCchar;             /* a byte of a text */
typedef signed char ALCbyte;      /* 8 bits */
typedef unsigned char ALCubyte;   /* 8 bits */
typedef short ALCshort;           /* 16 bits */
typedef unsigned short ALCushort; /* 16 bits */
typedef int ALCint;               /* 32 bits */
typedef unsigned int ALCuint;     /* 32 bits */
typedef int ALCsizei;             /* 32 bits, a count, not negative */
typedef int ALCenum;              /* 32 bits, one of the tokens below */
typedef float ALCfloat;           /* 32-bit IEEE 754 */
typedef double ALCdouble;         /* 64-bit IEEE 754 */
typedef void ALCvoid;

#define ALC_INVALID 0
#define ALC_FALSE 0
#define ALC_TRUE 1

/* Keys of the attribute list, also read by alcGetIntegerv. */
#define ALC_FREQUENCY 0x1007      /* mixing rate in Hz */
#define ALC_REFRESH 0x1008        /* blocks per second */
#define ALC_SYNC 0x1009           /* ALC_TRUE for a context that is driven by hand */
#define ALC_MONO_SOURCES 0x1010   /* number of mono sources */
#define ALC_STEREO_SOURCES 0x1011 /* number of stereo sources */

/* Error codes. */
#define ALC_NO_ERROR 0
#define ALC_INVALID_DEVICE 0xA001
#define ALC_INVALID_CONTEXT 0xA002
#define ALC_INVALID_ENUM 0xA003
#define ALC_INVALID_VALUE 0xA004
#define ALC_OUT_OF_MEMORY 0xA005

/* Integers of alcGetIntegerv. */
#define ALC_MAJOR_VERSION 0x1000
#define ALC_MINOR_VERSION 0x1001
#define ALC_ATTRIBUTES_SIZE 0x1002 /* integers that ALC_ALL_ATTRIBUTES asks for */
#define ALC_ALL_ATTRIBUTES 0x1003

/* Texts of alcGetString. */
#define ALC_DEFAULT_DEVICE_SPECIFIER 0x1004
#define ALC_DEVICE_SPECIFIER 0x1005 /* the device's name; with a null device the list of all names */
#define ALC_EXTENSIONS 0x1006       /* names separated by blanks */

/* ALC_EXT_CAPTURE. */
#define ALC_EXT_CAPTURE 1
#define ALC_CAPTURE_DEVICE_SPECIFIER 0x310
#define ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER 0x311
#define ALC_CAPTURE_SAMPLES 0x312 /* frames captured and not yet read */

/* ALC_ENUMERATE_ALL_EXT. */
#define ALC_ENUMERATE_ALL_EXT 1
#define ALC_DEFAULT_ALL_DEVICES_SPECIFIER 0x1012
#define ALC_ALL_DEVICES_SPECIFIER 0x1013

#ifndef ALC_NO_PROTOTYPES

/** Creates the one context of the device and starts its renderer, which takes as long as preparing the
 *  output. attrlist is null or a list of key and value pairs that ends with a 0; it is read during the
 *  call only. The caller owns the context until alcDestroyContext. Null on failure. */
ALC_API ALCcontext* ALC_APIENTRY alcCreateContext(ALCdevice* device, const ALCint* attrlist);
/** Makes a context, or none, the one that all al* calls of the process act on. */
ALC_API ALCboolean ALC_APIENTRY alcMakeContextCurrent(ALCcontext* context);
/** Ends what alcSuspendContext began: the changes made since reach the renderer together. */
ALC_API void ALC_APIENTRY alcProcessContext(ALCcontext* context);
/** Gathers all further changes until as many calls of alcProcessContext follow. */
ALC_API void ALC_APIENTRY alcSuspendContext(ALCcontext* context);
/** Stops the renderer and frees the context. Buffers stay with the device. */
ALC_API void ALC_APIENTRY alcDestroyContext(ALCcontext* context);
ALC_API ALCcontext* ALC_APIENTRY alcGetCurrentContext(void);
ALC_API ALCdevice* ALC_APIENTRY alcGetContextsDevice(ALCcontext* context);

/** The device; every name, null included, opens the same one. The library owns it. */
ALC_API ALCdevice* ALC_APIENTRY alcOpenDevice(const ALCchar* devicename);
/** True when the device has no context any more; false with ALC_INVALID_DEVICE otherwise. */
ALC_API ALCboolean ALC_APIENTRY alcCloseDevice(ALCdevice* device);

/** Returns the first error since the last call, and clears it. There is one error slot for the process. */
ALC_API ALCenum ALC_APIENTRY alcGetError(ALCdevice* device);

/** True when ALC_EXTENSIONS names the extension; upper and lower case are the same. */
ALC_API ALCboolean ALC_APIENTRY alcIsExtensionPresent(ALCdevice* device, const ALCchar* extname);
/** The entry point of an alc* function by its exact name, null when there is none. */
ALC_API ALCvoid* ALC_APIENTRY alcGetProcAddress(ALCdevice* device, const ALCchar* funcname);
/** The value of an ALC_ token by its exact name, 0 with ALC_INVALID_ENUM when it is unknown. */
ALC_API ALCenum ALC_APIENTRY alcGetEnumValue(ALCdevice* device, const ALCchar* enumname);

/** A static text that is never freed. Lists of devices hold several names, each ended by a NUL, with a
 *  further NUL at the end. */
ALC_API const ALCchar* ALC_APIENTRY alcGetString(ALCdevice* device, ALCenum param);
/** Writes at most size integers to values. */
ALC_API void ALC_APIENTRY alcGetIntegerv(ALCdevice* device, ALCenum param, ALCsizei size, ALCint* values);

/** Capture: frequency in Hz, buffersize and samples in frames. There is no capture device here: opening
 *  one gives null. */
ALC_API ALCdevice* ALC_APIENTRY alcCaptureOpenDevice(const ALCchar* devicename, ALCuint frequency,
                                                     ALCenum format, ALCsizei buffersize);
ALC_API ALCboolean ALC_APIENTRY alcCaptureCloseDevice(ALCdevice* device);
ALC_API void ALC_APIENTRY alcCaptureStart(ALCdevice* device);
ALC_API void ALC_APIENTRY alcCaptureStop(ALCdevice* device);
ALC_API void ALC_APIENTRY alcCaptureSamples(ALCdevice* device, ALCvoid* buffer, ALCsizei samples);

#endif

/* Pointers to these calls, as alcGetProcAddress gives them. */
typedef ALCcontext*(ALC_APIENTRY* LPALCCREATECONTEXT)(ALCdevice* device, const ALCint* attrlist);
typedef ALCboolean(ALC_APIENTRY* LPALCMAKECONTEXTCURRENT)(ALCcontext* context);
typedef void(ALC_APIENTRY* LPALCPROCESSCONTEXT)(ALCcontext* context);
typedef void(ALC_APIENTRY* LPALCSUSPENDCONTEXT)(ALCcontext* context);
typedef void(ALC_APIENTRY* LPALCDESTROYCONTEXT)(ALCcontext* context);
typedef ALCcontext*(ALC_APIENTRY* LPALCGETCURRENTCONTEXT)(void);
typedef ALCdevice*(ALC_APIENTRY* LPALCGETCONTEXTSDEVICE)(ALCcontext* context);
typedef ALCdevice*(ALC_APIENTRY* LPALCOPENDEVICE)(const ALCchar* devicename);
typedef ALCboolean(ALC_APIENTRY* LPALCCLOSEDEVICE)(ALCdevice* device);
typedef ALCenum(ALC_APIENTRY* LPALCGETERROR)(ALCdevice* device);
typedef ALCboolean(ALC_APIENTRY* LPALCISEXTENSIONPRESENT)(ALCdevice* device, const ALCchar* extname);
typedef ALCvoid*(ALC_APIENTRY* LPALCGETPROCADDRESS)(ALCdevice* device, const ALCchar* funcname);
typedef ALCenum(ALC_APIENTRY* LPALCGETENUMVALUE)(ALCdevice* device, const ALCchar* enumname);
typedef const ALCchar*(ALC_APIENTRY* LPALCGETSTRING)(ALCdevice* device, ALCenum param);
typedef void(ALC_APIENTRY* LPALCGETINTEGERV)(ALCdevice* device, ALCenum param, ALCsizei size, ALCint* values);
typedef ALCdevice*(ALC_APIENTRY* LPALCCAPTUREOPENDEVICE)(const ALCchar* devicename, ALCuint frequency,
                                                         ALCenum format, ALCsizei buffersize);
typedef ALCboolean(ALC_APIENTRY* LPALCCAPTURECLOSEDEVICE)(ALCdevice* device);
typedef void(ALC_APIENTRY* LPALCCAPTURESTART)(ALCdevice* device);
typedef void(ALC_APIENTRY* LPALCCAPTURESTOP)(ALCdevice* device);
typedef void(ALC_APIENTRY* LPALCCAPTURESAMPLES)(ALCdevice* device, ALCvoid* buffer, ALCsizei samples);

#ifdef __cplusplus
}
#endif

#endif
