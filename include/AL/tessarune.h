#ifndef AL_TESSARUNE_H
#define AL_TESSARUNE_H

/* What Tessarune has beyond OpenAL 1.1 and EFX 1.0, and with the three headers of those everything that the
 * library exports. For games, in C99 and C++; threads and errors are those of al.h.
 *
 * The calls belong to extensions: a program asks for the extension, then fetches the calls with
 * alGetProcAddress or alcGetProcAddress. A program that links them instead defines AL_ALEXT_PROTOTYPES before
 * it includes this header. */

#include "al.h"
#include "alc.h"
#include "efx.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Marks of the AL extensions, for #ifdef. alIsExtensionPresent tells whether the running library has one. */
#define AL_EXT_BFORMAT 1
#define AL_EXT_DOUBLE 1
#define AL_EXT_EXPONENT_DISTANCE 1
#define AL_EXT_FLOAT32 1
#define AL_EXT_FOLDBACK 1
#define AL_EXT_IMA4 1
#define AL_EXT_LINEAR_DISTANCE 1
#define AL_EXT_MCFORMATS 1
#define AL_EXT_MULAW 1
#define AL_EXT_MULAW_BFORMAT 1
#define AL_EXT_MULAW_MCFORMATS 1
#define AL_EXT_OFFSET 1
#define AL_EXT_SOURCE_RADIUS 1
#define AL_EXT_STEREO_ANGLES 1

/* Marks of the ALC extensions; alcIsExtensionPresent asks for them. alc.h and efx.h have the marks of what
 * they hold. */
#define ALC_ENUMERATION_EXT 1
#define ALC_EXT_DEDICATED 1
#define ALC_EXT_DEFAULT_FILTER_ORDER 1
#define ALC_EXT_STATIC_BUFFER 1

/* Sample formats. Channels are interleaved; bytes are those of one frame, all channels together. */

/* AL_EXT_MCFORMATS: 8-bit unsigned, 16-bit signed, and 32-bit float samples. Channel order: quad is front
 * left, front right, back left, back right; rear is back left, back right; 5.1 is front left, front right,
 * front centre, bass, side left, side right; 6.1 is 5.1 and then back centre; 7.1 is front left, front right,
 * front centre, bass, back left, back right, side left, side right. */
#define AL_FORMAT_QUAD8 0x1204   /* 4 bytes */
#define AL_FORMAT_QUAD16 0x1205  /* 8 bytes */
#define AL_FORMAT_QUAD32 0x1206  /* 16 bytes */
#define AL_FORMAT_REAR8 0x1207   /* 2 bytes */
#define AL_FORMAT_REAR16 0x1208  /* 4 bytes */
#define AL_FORMAT_REAR32 0x1209  /* 8 bytes */
#define AL_FORMAT_51CHN8 0x120A  /* 6 bytes */
#define AL_FORMAT_51CHN16 0x120B /* 12 bytes */
#define AL_FORMAT_51CHN32 0x120C /* 24 bytes */
#define AL_FORMAT_61CHN8 0x120D  /* 7 bytes */
#define AL_FORMAT_61CHN16 0x120E /* 14 bytes */
#define AL_FORMAT_61CHN32 0x120F /* 28 bytes */
#define AL_FORMAT_71CHN8 0x1210  /* 8 bytes */
#define AL_FORMAT_71CHN16 0x1211 /* 16 bytes */
#define AL_FORMAT_71CHN32 0x1212 /* 32 bytes */

/* AL_EXT_IMA4: IMA ADPCM in blocks of 65 frames, 36 bytes a block in mono and 72 in stereo. */
#define AL_FORMAT_MONO_IMA4 0x1300
#define AL_FORMAT_STEREO_IMA4 0x1301

/* AL_EXT_FLOAT32 and AL_EXT_DOUBLE: full scale is -1 to 1. */
#define AL_FORMAT_MONO_FLOAT32 0x10010      /* 4 bytes */
#define AL_FORMAT_STEREO_FLOAT32 0x10011    /* 8 bytes */
#define AL_FORMAT_MONO_DOUBLE_EXT 0x10012   /* 8 bytes */
#define AL_FORMAT_STEREO_DOUBLE_EXT 0x10013 /* 16 bytes */

/* AL_EXT_MULAW, AL_EXT_MULAW_MCFORMATS and AL_EXT_MULAW_BFORMAT: ITU-T G.711 mu-law, one byte a sample. */
#define AL_FORMAT_MONO_MULAW 0x10014
#define AL_FORMAT_STEREO_MULAW 0x10015
#define AL_FORMAT_QUAD_MULAW 0x10021
#define AL_FORMAT_REAR_MULAW 0x10022
#define AL_FORMAT_51CHN_MULAW 0x10023
#define AL_FORMAT_61CHN_MULAW 0x10024
#define AL_FORMAT_71CHN_MULAW 0x10025
#define AL_FORMAT_BFORMAT2_MULAW 0x10031
#define AL_FORMAT_BFORMAT3_MULAW 0x10032

/* AL_EXT_BFORMAT: first-order B-format, W X Y without height (2D) and W X Y Z with it (3D). */
#define AL_FORMAT_BFORMAT2D_8 0x20021       /* 3 bytes */
#define AL_FORMAT_BFORMAT2D_16 0x20022      /* 6 bytes */
#define AL_FORMAT_BFORMAT2D_FLOAT32 0x20023 /* 12 bytes */
#define AL_FORMAT_BFORMAT3D_8 0x20031       /* 4 bytes */
#define AL_FORMAT_BFORMAT3D_16 0x20032      /* 8 bytes */
#define AL_FORMAT_BFORMAT3D_FLOAT32 0x20033 /* 16 bytes */

/* AL_EXT_STEREO_ANGLES: where the two channels of a stereo source stand. Two floats for alSourcefv and
 * alGetSourcefv, left and right, in radians from straight ahead, positive to the left. NaN brings the default
 * angles back. */
#define AL_STEREO_ANGLES 0x1030

/* AL_EXT_SOURCE_RADIUS: the size of a source that surrounds a listener who comes near, in distance units, 0
 * and above; 0, the default, is a point. */
#define AL_SOURCE_RADIUS 0x1031

/* ALC_EXT_DEDICATED: effects that send what comes into their slot to one output, not into the sound field. */
#define AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT 0x9000
#define AL_EFFECT_DEDICATED_DIALOGUE 0x9001
#define AL_DEDICATED_GAIN 0x0001 /* parameter of both, linear gain, default 1 */

/* ALC_EXT_DEFAULT_FILTER_ORDER: the order, 1 or 2, of the sections that source and send filters are made of.
 * A key of the attribute list of alcCreateContext, and an integer of alcGetIntegerv. */
#define ALC_DEFAULT_FILTER_ORDER 0x1100

/* AL_EXT_FOLDBACK: what the callback is told, and the channels that foldback writes. */
#define AL_FOLDBACK_MODE_MONO 0x4101   /* one float a frame */
#define AL_FOLDBACK_MODE_STEREO 0x4102 /* two floats a frame, left, then right */
#define AL_FOLDBACK_EVENT_START 0x4111 /* foldback has begun; the block index is 0 */
#define AL_FOLDBACK_EVENT_BLOCK 0x4112 /* the block of that index is full */
#define AL_FOLDBACK_EVENT_STOP 0x4113  /* foldback has ended; the index is 0 */

/** Called by foldback with one of the three events and the index of a block of the ring. Runs on a thread of
 * the library's own that does nothing time-critical, one call at a time and in order, so it may take its
 * time; but the ring goes on filling meanwhile and overwrites blocks that aren't read soon enough. */
typedef void(AL_APIENTRY* LPALFOLDBACKCALLBACK)(ALenum event, ALsizei blockIndex);

#ifdef AL_ALEXT_PROTOTYPES

/** As alBufferData, but without a copy: the program keeps the size bytes at data valid and unchanged until
 * the buffer has been deleted or given other data. Those calls fail with AL_INVALID_OPERATION as long as the
 * renderer may still read the bytes, up to one block after the last source let go of them; try again then.
 * freq is in Hz. */
AL_API void AL_APIENTRY alBufferDataStatic(ALuint buffer, ALenum format, ALvoid* data, ALsizei size,
                                           ALsizei freq);

/** Starts to write the mix into a ring of blockCount blocks of blockFrames frames each. blockCount must be
 * above 1, and the ring must hold at least two blocks of the renderer, else AL_INVALID_VALUE. buffer holds
 * blockCount * blockFrames frames of interleaved floats by mode, and is cleared at once. The program owns
 * buffer, and keeps it and callback valid until the callback has been given AL_FOLDBACK_EVENT_STOP.
 * AL_INVALID_OPERATION when foldback already runs. */
AL_API void AL_APIENTRY alRequestFoldbackStart(ALenum mode, ALsizei blockCount, ALsizei blockFrames,
                                               ALfloat* buffer, LPALFOLDBACKCALLBACK callback);

/** Asks foldback to end. The ring is still written to until AL_FOLDBACK_EVENT_STOP arrives, which comes at
 * the renderer's next block, or with the end of the context. A foldback that has not begun yet ends without
 * an event. */
AL_API void AL_APIENTRY alRequestFoldbackStop(void);

/** Writes the version of the library, without waiting. None of the pointers may be null. */
ALC_API void ALC_APIENTRY tsrGetVersion(ALCint* major, ALCint* minor, ALCint* patch);

#endif

/* Pointers to these calls: the first three from alGetProcAddress, the last from alcGetProcAddress. */
typedef void(AL_APIENTRY* LPALBUFFERDATASTATIC)(ALuint buffer, ALenum format, ALvoid* data, ALsizei size,
                                                ALsizei freq);
typedef void(AL_APIENTRY* LPALREQUESTFOLDBACKSTART)(ALenum mode, ALsizei blockCount, ALsizei blockFrames,
                                                    ALfloat* buffer, LPALFOLDBACKCALLBACK callback);
typedef void(AL_APIENTRY* LPALREQUESTFOLDBACKSTOP)(void);
typedef void(ALC_APIENTRY* LPTSRGETVERSION)(ALCint* major, ALCint* minor, ALCint* patch);

#ifdef __cplusplus
}
#endif

#endif
