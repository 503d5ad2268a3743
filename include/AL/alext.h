#ifndef AL_ALEXT_H
#define AL_ALEXT_H

/* The name by which programs look for the header of the extensions. All that Tessarune offers is in
 * tessarune.h, and in efx.h, which that brings along; here are only names by which other programs know the
 * same things. */

#include "al.h"
#include "alc.h"
#include "efx.h"
#include "tessarune.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Marks of extensions in the spelling that programs test for. */
#define AL_EXT_float32 AL_EXT_FLOAT32
#define AL_EXT_double AL_EXT_DOUBLE
#define AL_EXT_STATIC_BUFFER ALC_EXT_STATIC_BUFFER

/* ALC_EXT_STATIC_BUFFER. */
typedef void(AL_APIENTRY* PFNALBUFFERDATASTATICPROC)(const ALint buffer, ALenum format, ALvoid* data,
                                                     ALsizei size, ALsizei freq);

#ifdef __cplusplus
}
#endif

#endif
