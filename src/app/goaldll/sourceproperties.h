#pragma once

// The properties of a source, by their tokens, as the al* calls set and get them. Called by those with a live
// source, under apiMutex and the lock that AccessToSet or AccessToGet names.
//
// Setters return an AL error code: AL_INVALID_ENUM for a parameter that the form doesn't have,
// AL_INVALID_VALUE for a value out of its range; then nothing changes, and nothing is ever clamped. Getters
// return one too, and then leave the output as it was. Memory that runs out is a slib::OutOfMemoryException,
// with nothing changed.

#include "AL/al.h"
#include "app/goaldll/alcall.h"
#include "goal/context.h"

namespace goal {

/// The lock that a change or a read of the parameter needs.
Access AccessToSet(ALenum parameter);
Access AccessToGet(ALenum parameter);

/// One value.
int SetFloat(const SourceAccess& source, ALenum parameter, float value);
int SetInteger(const SourceAccess& source, ALenum parameter, ALint value);

/// As many values as the parameter has.
int SetFloats(const SourceAccess& source, ALenum parameter, const float* values);
int SetIntegers(const SourceAccess& source, ALenum parameter, const ALint* values);

/// Three values: a vector, or in the second form also AL_AUXILIARY_SEND_FILTER with slot, send index and
/// filter.
///
/// The slot's name is kept as it is given, whether such a slot exists or not: the send is silent for as long
/// as there is none, and feeds the slot from the block on from which there is one. The filter is copied: a
/// change of the filter object is heard when it is set again. A send index may pass ALC_MAX_AUXILIARY_SENDS;
/// one of 65536 and above fails like a lack of memory.
int SetVector(const SourceAccess& source, ALenum parameter, const float* values);
int SetTriple(const SourceAccess& source, ALenum parameter, const ALint* values);

int GetFloat(const SourceAccess& source, ALenum parameter, float* value);
int GetInteger(const SourceAccess& source, ALenum parameter, ALint* value);
int GetFloats(const SourceAccess& source, ALenum parameter, float* values);
int GetIntegers(const SourceAccess& source, ALenum parameter, ALint* values);

/// The three vectors; integers are cut.
int GetVector(const SourceAccess& source, ALenum parameter, float* values);
int GetVector(const SourceAccess& source, ALenum parameter, ALint* values);

}  // namespace goal
