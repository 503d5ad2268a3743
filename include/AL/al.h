#ifndef AL_AL_H
#define AL_AL_H

/* OpenAL 1.1: types, tokens and calls. For games, in C99 and C++. Every call may be made from any thread; the
 * calls are serialised. A call that fails records one of the error codes below for alGetError.
 *
 * A program that loads the library by hand defines AL_NO_PROTOTYPES before it includes this header: then only
 * the types, the tokens and the LPAL* pointer types are declared. A program may define AL_API and AL_APIENTRY
 * itself. */

#ifdef __cplusplus
extern "C" {
#endif

#ifndef AL_API
#if defined(AL_LIBTYPE_STATIC)
#define AL_API
#elif defined(_WIN32)
#define AL_API __declspec(dllimport)
#elif defined(__GNUC__)
#define AL_API __attribute__((visibility("default")))
#else
#define AL_API extern
#endif
#endif

#ifndef AL_APIENTRY
#ifdef _WIN32
#define AL_APIENTRY __cdecl
#else
#define AL_APIENTRY
#endif
#endif

/* The older spelling of the same, and the marks by which programs tell versions apart. */
#ifndef OPENAL
#define OPENAL
#endif
#ifndef ALAPI
#define ALAPI AL_API
#endif
#ifndef ALAPIENTRY
#define ALAPIENTRY AL_APIENTRY
#endif
#define AL_VERSION_1_0
#define AL_VERSION_1_1

typedef char ALboolean;          /* 8 bits, AL_FALSE or AL_TRUE */
typedef char ALchar;             /* a byte of a text */
typedef signed char ALbyte;      /* 8 bits */
typedef unsigned char ALubyte;   /* 8 bits */
typedef short ALshort;           /* 16 bits */
typedef unsigned short ALushort; /* 16 bits */
typedef int ALint;               /* 32 bits */
typedef unsigned int ALuint;     /* 32 bits; names of objects, 0 for none */
typedef int ALsizei;             /* 32 bits, a count or a size in bytes, not negative */
typedef int ALenum;              /* 32 bits, one of the tokens below */
typedef float ALfloat;           /* 32-bit IEEE 754 */
typedef double ALdouble;         /* 64-bit IEEE 754 */
typedef void ALvoid;

#define AL_INVALID (-1)
#define AL_NONE 0
#define AL_FALSE 0
#define AL_TRUE 1

/* Properties of sources. Distances are in the program's own unit, velocities in that unit per second, gains
 * are linear factors, cone angles full angles in degrees. */
#define AL_SOURCE_RELATIVE 0x202   /* AL_TRUE: position and directions are the listener's own */
#define AL_CONE_INNER_ANGLE 0x1001 /* 0 to 360, default 360 */
#define AL_CONE_OUTER_ANGLE 0x1002 /* 0 to 360, default 360 */
#define AL_PITCH 0x1003            /* factor on the frequency, default 1 */
#define AL_POSITION 0x1004         /* three values; of the listener too */
#define AL_DIRECTION 0x1005        /* three values; 0, 0, 0 for a source that sends in all directions */
#define AL_VELOCITY 0x1006         /* three values; of the listener too */
#define AL_LOOPING 0x1007          /* AL_TRUE or AL_FALSE */
#define AL_BUFFER 0x1009           /* the name of the one buffer to play, 0 for none */
#define AL_GAIN 0x100A             /* 0 and above, default 1; of the listener too */
#define AL_MIN_GAIN 0x100D         /* 0 to 1, default 0 */
#define AL_MAX_GAIN 0x100E         /* 0 to 1, default 1 */
#define AL_ORIENTATION 0x100F      /* six values: the at vector, then the up vector; of the listener too */
#define AL_SOURCE_STATE 0x1010     /* AL_INITIAL, AL_PLAYING, AL_PAUSED or AL_STOPPED; read only */
#define AL_INITIAL 0x1011
#define AL_PLAYING 0x1012
#define AL_PAUSED 0x1013
#define AL_STOPPED 0x1014
#define AL_BUFFERS_QUEUED 0x1015     /* buffers in the queue; read only */
#define AL_BUFFERS_PROCESSED 0x1016  /* buffers of the queue that have been played; read only */
#define AL_REFERENCE_DISTANCE 0x1020 /* the distance at which the gain is 1, default 1 */
#define AL_ROLLOFF_FACTOR 0x1021     /* default 1 */
#define AL_CONE_OUTER_GAIN 0x1022    /* 0 to 1, default 0 */
#define AL_MAX_DISTANCE 0x1023       /* the distance beyond which the clamped models attenuate no further */
#define AL_SEC_OFFSET 0x1024         /* play position in seconds */
#define AL_SAMPLE_OFFSET 0x1025      /* play position in frames */
#define AL_BYTE_OFFSET 0x1026        /* play position in bytes */
#define AL_SOURCE_TYPE 0x1027        /* AL_STATIC, AL_STREAMING or AL_UNDETERMINED; read only */
#define AL_STATIC 0x1028
#define AL_STREAMING 0x1029
#define AL_UNDETERMINED 0x1030

/* Sample formats: 8-bit samples are unsigned, 16-bit samples signed in the machine's byte order, channels
 * interleaved. */
#define AL_FORMAT_MONO8 0x1100
#define AL_FORMAT_MONO16 0x1101
#define AL_FORMAT_STEREO8 0x1102
#define AL_FORMAT_STEREO16 0x1103

/* Properties of buffers, and the states that OpenAL 1.1 names for them. */
#define AL_FREQUENCY 0x2001 /* Hz */
#define AL_BITS 0x2002      /* bits of a sample */
#define AL_CHANNELS 0x2003  /* channels */
#define AL_SIZE 0x2004      /* bytes */
#define AL_UNUSED 0x2010
#define AL_PENDING 0x2011
#define AL_PROCESSED 0x2012

/* Error codes. */
#define AL_NO_ERROR 0
#define AL_INVALID_NAME 0xA001
#define AL_INVALID_ENUM 0xA002
#define AL_ILLEGAL_ENUM AL_INVALID_ENUM
#define AL_INVALID_VALUE 0xA003
#define AL_INVALID_OPERATION 0xA004
#define AL_ILLEGAL_COMMAND AL_INVALID_OPERATION
#define AL_OUT_OF_MEMORY 0xA005

/* Texts of alGetString. */
#define AL_VENDOR 0xB001
#define AL_VERSION 0xB002
#define AL_RENDERER 0xB003
#define AL_EXTENSIONS 0xB004

/* The global state. */
#define AL_DOPPLER_FACTOR 0xC000   /* default 1 */
#define AL_DOPPLER_VELOCITY 0xC001 /* default 1 */
#define AL_SPEED_OF_SOUND 0xC003   /* distance units per second, default 343.3 */
#define AL_DISTANCE_MODEL 0xD000   /* one of the following or AL_NONE, default AL_INVERSE_DISTANCE_CLAMPED */
#define AL_INVERSE_DISTANCE 0xD001
#define AL_INVERSE_DISTANCE_CLAMPED 0xD002
#define AL_LINEAR_DISTANCE 0xD003
#define AL_LINEAR_DISTANCE_CLAMPED 0xD004
#define AL_EXPONENT_DISTANCE 0xD005
#define AL_EXPONENT_DISTANCE_CLAMPED 0xD006

#ifndef AL_NO_PROTOTYPES

/** Switches a capability on or off. There are none to switch: every value gives AL_INVALID_ENUM. */
AL_API void AL_APIENTRY alEnable(ALenum capability);
AL_API void AL_APIENTRY alDisable(ALenum capability);
AL_API ALboolean AL_APIENTRY alIsEnabled(ALenum capability);

/** A static, NUL-terminated text that is never freed: the text of an error code, AL_VENDOR, AL_VERSION,
 *  AL_RENDERER or AL_EXTENSIONS (names separated by blanks). Null for any other parameter. */
AL_API const ALchar* AL_APIENTRY alGetString(ALenum param);
/** Read one value of the global state; the four forms without v return it. */
AL_API void AL_APIENTRY alGetBooleanv(ALenum param, ALboolean* values);
AL_API void AL_APIENTRY alGetIntegerv(ALenum param, ALint* values);
AL_API void AL_APIENTRY alGetFloatv(ALenum param, ALfloat* values);
AL_API void AL_APIENTRY alGetDoublev(ALenum param, ALdouble* values);
AL_API ALboolean AL_APIENTRY alGetBoolean(ALenum param);
AL_API ALint AL_APIENTRY alGetInteger(ALenum param);
AL_API ALfloat AL_APIENTRY alGetFloat(ALenum param);
AL_API ALdouble AL_APIENTRY alGetDouble(ALenum param);

/** Returns the first error since the last call, and clears it. There is one error slot for the process. */
AL_API ALenum AL_APIENTRY alGetError(void);

/** True when AL_EXTENSIONS names the extension; upper and lower case are the same. */
AL_API ALboolean AL_APIENTRY alIsExtensionPresent(const ALchar* extname);
/** The entry point of an al* function by its exact name, null when there is none. */
AL_API void* AL_APIENTRY alGetProcAddress(const ALchar* fname);
/** The value of an AL_ token by its exact name, 0 with AL_INVALID_VALUE when it is unknown. */
AL_API ALenum AL_APIENTRY alGetEnumValue(const ALchar* ename);

/** Listener properties: AL_GAIN, AL_POSITION, AL_VELOCITY and AL_ORIENTATION. */
AL_API void AL_APIENTRY alListenerf(ALenum param, ALfloat value);
AL_API void AL_APIENTRY alListener3f(ALenum param, ALfloat value1, ALfloat value2, ALfloat value3);
AL_API void AL_APIENTRY alListenerfv(ALenum param, const ALfloat* values);
AL_API void AL_APIENTRY alListeneri(ALenum param, ALint value);
AL_API void AL_APIENTRY alListener3i(ALenum param, ALint value1, ALint value2, ALint value3);
AL_API void AL_APIENTRY alListeneriv(ALenum param, const ALint* values);
AL_API void AL_APIENTRY alGetListenerf(ALenum param, ALfloat* value);
AL_API void AL_APIENTRY alGetListener3f(ALenum param, ALfloat* value1, ALfloat* value2, ALfloat* value3);
AL_API void AL_APIENTRY alGetListenerfv(ALenum param, ALfloat* values);
AL_API void AL_APIENTRY alGetListeneri(ALenum param, ALint* value);
AL_API void AL_APIENTRY alGetListener3i(ALenum param, ALint* value1, ALint* value2, ALint* value3);
AL_API void AL_APIENTRY alGetListeneriv(ALenum param, ALint* values);

/** Writes the names of n new sources to sources; deletes n sources, all or none. */
AL_API void AL_APIENTRY alGenSources(ALsizei n, ALuint* sources);
AL_API void AL_APIENTRY alDeleteSources(ALsizei n, const ALuint* sources);
AL_API ALboolean AL_APIENTRY alIsSource(ALuint source);

/** Source properties; the tokens above give their units. */
AL_API void AL_APIENTRY alSourcef(ALuint source, ALenum param, ALfloat value);
AL_API void AL_APIENTRY alSource3f(ALuint source, ALenum param, ALfloat value1, ALfloat value2,
                                   ALfloat value3);
AL_API void AL_APIENTRY alSourcefv(ALuint source, ALenum param, const ALfloat* values);
AL_API void AL_APIENTRY alSourcei(ALuint source, ALenum param, ALint value);
AL_API void AL_APIENTRY alSource3i(ALuint source, ALenum param, ALint value1, ALint value2, ALint value3);
AL_API void AL_APIENTRY alSourceiv(ALuint source, ALenum param, const ALint* values);
AL_API void AL_APIENTRY alGetSourcef(ALuint source, ALenum param, ALfloat* value);
AL_API void AL_APIENTRY alGetSource3f(ALuint source, ALenum param, ALfloat* value1, ALfloat* value2,
                                      ALfloat* value3);
AL_API void AL_APIENTRY alGetSourcefv(ALuint source, ALenum param, ALfloat* values);
AL_API void AL_APIENTRY alGetSourcei(ALuint source, ALenum param, ALint* value);
AL_API void AL_APIENTRY alGetSource3i(ALuint source, ALenum param, ALint* value1, ALint* value2,
                                      ALint* value3);
AL_API void AL_APIENTRY alGetSourceiv(ALuint source, ALenum param, ALint* values);

/** Change the state of n sources in one step: all are valid, or none changes. */
AL_API void AL_APIENTRY alSourcePlayv(ALsizei n, const ALuint* sources);
AL_API void AL_APIENTRY alSourceStopv(ALsizei n, const ALuint* sources);
AL_API void AL_APIENTRY alSourceRewindv(ALsizei n, const ALuint* sources);
AL_API void AL_APIENTRY alSourcePausev(ALsizei n, const ALuint* sources);
AL_API void AL_APIENTRY alSourcePlay(ALuint source);
AL_API void AL_APIENTRY alSourceStop(ALuint source);
AL_API void AL_APIENTRY alSourceRewind(ALuint source);
AL_API void AL_APIENTRY alSourcePause(ALuint source);

/** Appends n buffers to the queue of a source; all must share one format and frequency. */
AL_API void AL_APIENTRY alSourceQueueBuffers(ALuint source, ALsizei n, const ALuint* buffers);
/** Takes the n oldest played buffers out of the queue and writes their names to buffers. */
AL_API void AL_APIENTRY alSourceUnqueueBuffers(ALuint source, ALsizei n, ALuint* buffers);

/** Writes the names of n new buffers to buffers; deletes n buffers, all or none. */
AL_API void AL_APIENTRY alGenBuffers(ALsizei n, ALuint* buffers);
AL_API void AL_APIENTRY alDeleteBuffers(ALsizei n, const ALuint* buffers);
AL_API ALboolean AL_APIENTRY alIsBuffer(ALuint buffer);
/** Copies size bytes of interleaved samples into the buffer; freq is in Hz. The caller keeps data. */
AL_API void AL_APIENTRY alBufferData(ALuint buffer, ALenum format, const ALvoid* data, ALsizei size,
                                     ALsizei freq);

/** Buffer properties: none can be set; AL_FREQUENCY, AL_BITS, AL_CHANNELS and AL_SIZE can be read. */
AL_API void AL_APIENTRY alBufferf(ALuint buffer, ALenum param, ALfloat value);
AL_API void AL_APIENTRY alBuffer3f(ALuint buffer, ALenum param, ALfloat value1, ALfloat value2,
                                   ALfloat value3);
AL_API void AL_APIENTRY alBufferfv(ALuint buffer, ALenum param, const ALfloat* values);
AL_API void AL_APIENTRY alBufferi(ALuint buffer, ALenum param, ALint value);
AL_API void AL_APIENTRY alBuffer3i(ALuint buffer, ALenum param, ALint value1, ALint value2, ALint value3);
AL_API void AL_APIENTRY alBufferiv(ALuint buffer, ALenum param, const ALint* values);
AL_API void AL_APIENTRY alGetBufferf(ALuint buffer, ALenum param, ALfloat* value);
AL_API void AL_APIENTRY alGetBuffer3f(ALuint buffer, ALenum param, ALfloat* value1, ALfloat* value2,
                                      ALfloat* value3);
AL_API void AL_APIENTRY alGetBufferfv(ALuint buffer, ALenum param, ALfloat* values);
AL_API void AL_APIENTRY alGetBufferi(ALuint buffer, ALenum param, ALint* value);
AL_API void AL_APIENTRY alGetBuffer3i(ALuint buffer, ALenum param, ALint* value1, ALint* value2,
                                      ALint* value3);
AL_API void AL_APIENTRY alGetBufferiv(ALuint buffer, ALenum param, ALint* values);

/** Scales the Doppler shift; 0 turns it off, 1 is natural. */
AL_API void AL_APIENTRY alDopplerFactor(ALfloat value);
/** Scales the speed of sound, for programs of OpenAL 1.0. */
AL_API void AL_APIENTRY alDopplerVelocity(ALfloat value);
/** The speed of sound in distance units per second. */
AL_API void AL_APIENTRY alSpeedOfSound(ALfloat value);
/** AL_NONE or one of the six AL_*_DISTANCE tokens. */
AL_API void AL_APIENTRY alDistanceModel(ALenum distanceModel);

#endif

/* Pointers to these calls, as alGetProcAddress gives them. */
typedef void(AL_APIENTRY* LPALENABLE)(ALenum capability);
typedef void(AL_APIENTRY* LPALDISABLE)(ALenum capability);
typedef ALboolean(AL_APIENTRY* LPALISENABLED)(ALenum capability);
typedef const ALchar*(AL_APIENTRY* LPALGETSTRING)(ALenum param);
typedef void(AL_APIENTRY* LPALGETBOOLEANV)(ALenum param, ALboolean* values);
typedef void(AL_APIENTRY* LPALGETINTEGERV)(ALenum param, ALint* values);
typedef void(AL_APIENTRY* LPALGETFLOATV)(ALenum param, ALfloat* values);
typedef void(AL_APIENTRY* LPALGETDOUBLEV)(ALenum param, ALdouble* values);
typedef ALboolean(AL_APIENTRY* LPALGETBOOLEAN)(ALenum param);
typedef ALint(AL_APIENTRY* LPALGETINTEGER)(ALenum param);
typedef ALfloat(AL_APIENTRY* LPALGETFLOAT)(ALenum param);
typedef ALdouble(AL_APIENTRY* LPALGETDOUBLE)(ALenum param);
typedef ALenum(AL_APIENTRY* LPALGETERROR)(void);
typedef ALboolean(AL_APIENTRY* LPALISEXTENSIONPRESENT)(const ALchar* extname);
typedef void*(AL_APIENTRY* LPALGETPROCADDRESS)(const ALchar* fname);
typedef ALenum(AL_APIENTRY* LPALGETENUMVALUE)(const ALchar* ename);
typedef void(AL_APIENTRY* LPALLISTENERF)(ALenum param, ALfloat value);
typedef void(AL_APIENTRY* LPALLISTENER3F)(ALenum param, ALfloat value1, ALfloat value2, ALfloat value3);
typedef void(AL_APIENTRY* LPALLISTENERFV)(ALenum param, const ALfloat* values);
typedef void(AL_APIENTRY* LPALLISTENERI)(ALenum param, ALint value);
typedef void(AL_APIENTRY* LPALLISTENER3I)(ALenum param, ALint value1, ALint value2, ALint value3);
typedef void(AL_APIENTRY* LPALLISTENERIV)(ALenum param, const ALint* values);
typedef void(AL_APIENTRY* LPALGETLISTENERF)(ALenum param, ALfloat* value);
typedef void(AL_APIENTRY* LPALGETLISTENER3F)(ALenum param, ALfloat* value1, ALfloat* value2, ALfloat* value3);
typedef void(AL_APIENTRY* LPALGETLISTENERFV)(ALenum param, ALfloat* values);
typedef void(AL_APIENTRY* LPALGETLISTENERI)(ALenum param, ALint* value);
typedef void(AL_APIENTRY* LPALGETLISTENER3I)(ALenum param, ALint* value1, ALint* value2, ALint* value3);
typedef void(AL_APIENTRY* LPALGETLISTENERIV)(ALenum param, ALint* values);
typedef void(AL_APIENTRY* LPALGENSOURCES)(ALsizei n, ALuint* sources);
typedef void(AL_APIENTRY* LPALDELETESOURCES)(ALsizei n, const ALuint* sources);
typedef ALboolean(AL_APIENTRY* LPALISSOURCE)(ALuint source);
typedef void(AL_APIENTRY* LPALSOURCEF)(ALuint source, ALenum param, ALfloat value);
typedef void(AL_APIENTRY* LPALSOURCE3F)(ALuint source, ALenum param, ALfloat value1, ALfloat value2,
                                        ALfloat value3);
typedef void(AL_APIENTRY* LPALSOURCEFV)(ALuint source, ALenum param, const ALfloat* values);
typedef void(AL_APIENTRY* LPALSOURCEI)(ALuint source, ALenum param, ALint value);
typedef void(AL_APIENTRY* LPALSOURCE3I)(ALuint source, ALenum param, ALint value1, ALint value2,
                                        ALint value3);
typedef void(AL_APIENTRY* LPALSOURCEIV)(ALuint source, ALenum param, const ALint* values);
typedef void(AL_APIENTRY* LPALGETSOURCEF)(ALuint source, ALenum param, ALfloat* value);
typedef void(AL_APIENTRY* LPALGETSOURCE3F)(ALuint source, ALenum param, ALfloat* value1, ALfloat* value2,
                                           ALfloat* value3);
typedef void(AL_APIENTRY* LPALGETSOURCEFV)(ALuint source, ALenum param, ALfloat* values);
typedef void(AL_APIENTRY* LPALGETSOURCEI)(ALuint source, ALenum param, ALint* value);
typedef void(AL_APIENTRY* LPALGETSOURCE3I)(ALuint source, ALenum param, ALint* value1, ALint* value2,
                                           ALint* value3);
typedef void(AL_APIENTRY* LPALGETSOURCEIV)(ALuint source, ALenum param, ALint* values);
typedef void(AL_APIENTRY* LPALSOURCEPLAYV)(ALsizei n, const ALuint* sources);
typedef void(AL_APIENTRY* LPALSOURCESTOPV)(ALsizei n, const ALuint* sources);
typedef void(AL_APIENTRY* LPALSOURCEREWINDV)(ALsizei n, const ALuint* sources);
typedef void(AL_APIENTRY* LPALSOURCEPAUSEV)(ALsizei n, const ALuint* sources);
typedef void(AL_APIENTRY* LPALSOURCEPLAY)(ALuint source);
typedef void(AL_APIENTRY* LPALSOURCESTOP)(ALuint source);
typedef void(AL_APIENTRY* LPALSOURCEREWIND)(ALuint source);
typedef void(AL_APIENTRY* LPALSOURCEPAUSE)(ALuint source);
typedef void(AL_APIENTRY* LPALSOURCEQUEUEBUFFERS)(ALuint source, ALsizei n, const ALuint* buffers);
typedef void(AL_APIENTRY* LPALSOURCEUNQUEUEBUFFERS)(ALuint source, ALsizei n, ALuint* buffers);
typedef void(AL_APIENTRY* LPALGENBUFFERS)(ALsizei n, ALuint* buffers);
typedef void(AL_APIENTRY* LPALDELETEBUFFERS)(ALsizei n, const ALuint* buffers);
typedef ALboolean(AL_APIENTRY* LPALISBUFFER)(ALuint buffer);
typedef void(AL_APIENTRY* LPALBUFFERDATA)(ALuint buffer, ALenum format, const ALvoid* data, ALsizei size,
                                          ALsizei freq);
typedef void(AL_APIENTRY* LPALBUFFERF)(ALuint buffer, ALenum param, ALfloat value);
typedef void(AL_APIENTRY* LPALBUFFER3F)(ALuint buffer, ALenum param, ALfloat value1, ALfloat value2,
                                        ALfloat value3);
typedef void(AL_APIENTRY* LPALBUFFERFV)(ALuint buffer, ALenum param, const ALfloat* values);
typedef void(AL_APIENTRY* LPALBUFFERI)(ALuint buffer, ALenum param, ALint value);
typedef void(AL_APIENTRY* LPALBUFFER3I)(ALuint buffer, ALenum param, ALint value1, ALint value2,
                                        ALint value3);
typedef void(AL_APIENTRY* LPALBUFFERIV)(ALuint buffer, ALenum param, const ALint* values);
typedef void(AL_APIENTRY* LPALGETBUFFERF)(ALuint buffer, ALenum param, ALfloat* value);
typedef void(AL_APIENTRY* LPALGETBUFFER3F)(ALuint buffer, ALenum param, ALfloat* value1, ALfloat* value2,
                                           ALfloat* value3);
typedef void(AL_APIENTRY* LPALGETBUFFERFV)(ALuint buffer, ALenum param, ALfloat* values);
typedef void(AL_APIENTRY* LPALGETBUFFERI)(ALuint buffer, ALenum param, ALint* value);
typedef void(AL_APIENTRY* LPALGETBUFFER3I)(ALuint buffer, ALenum param, ALint* value1, ALint* value2,
                                           ALint* value3);
typedef void(AL_APIENTRY* LPALGETBUFFERIV)(ALuint buffer, ALenum param, ALint* values);
typedef void(AL_APIENTRY* LPALDOPPLERFACTOR)(ALfloat value);
typedef void(AL_APIENTRY* LPALDOPPLERVELOCITY)(ALfloat value);
typedef void(AL_APIENTRY* LPALSPEEDOFSOUND)(ALfloat value);
typedef void(AL_APIENTRY* LPALDISTANCEMODEL)(ALenum distanceModel);

#ifdef __cplusplus
}
#endif

#endif
