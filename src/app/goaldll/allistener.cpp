// The alListener* and alGetListener* calls.

#include <array>

#include "app/goaldll/alcall.h"
#include "app/goaldll/numbers.h"

namespace {

using goal::Access;
using goal::GlobalParameters;
using goal::SuspendedState;
using goal::Vector3;

float GlobalParameters::*FindNumber(ALenum parameter) {
    if (parameter == AL_GAIN) return &GlobalParameters::listenerGain;
    return parameter == AL_METERS_PER_UNIT ? &GlobalParameters::metersPerUnit : nullptr;
}

Vector3 GlobalParameters::*FindVector(ALenum parameter) {
    if (parameter == AL_POSITION) return &GlobalParameters::listenerPosition;
    return parameter == AL_VELOCITY ? &GlobalParameters::listenerVelocity : nullptr;
}

int SetNumber(GlobalParameters& state, ALenum parameter, float value) {
    const auto field = FindNumber(parameter);
    if (field == nullptr) return AL_INVALID_ENUM;
    if (!(value >= 0)) return AL_INVALID_VALUE;
    state.*field = value;
    return AL_NO_ERROR;
}

int SetVector(GlobalParameters& state, ALenum parameter, const Vector3& value) {
    const auto field = FindVector(parameter);
    if (field == nullptr) return AL_INVALID_ENUM;
    state.*field = value;
    return AL_NO_ERROR;
}

// The forms that take a pointer to as many values as the parameter has.
template <typename T>
void SetValues(ALenum parameter, const T* values) {
    goal::StateCall(Access::Write, goal::ArePresent(values), [&](SuspendedState& state) -> int {
        if (parameter == AL_GAIN) return SetNumber(state, parameter, static_cast<float>(values[0]));
        if (FindVector(parameter) != nullptr) return SetVector(state, parameter, goal::ToVector(values));
        if (parameter != AL_ORIENTATION) return AL_INVALID_ENUM;
        state.listenerAt = goal::ToVector(values);
        state.listenerUp = goal::ToVector(values + 3);
        return AL_NO_ERROR;
    });
}

template <typename T>
int GetVector(const GlobalParameters& state, ALenum parameter, T* values) {
    const auto field = FindVector(parameter);
    if (field == nullptr) return AL_INVALID_ENUM;
    goal::WriteVector(state.*field, values);
    return AL_NO_ERROR;
}

template <typename T>
int GetVectors(const GlobalParameters& state, ALenum parameter, T* values) {
    if (parameter != AL_ORIENTATION) return GetVector(state, parameter, values);
    goal::WriteVector(state.listenerAt, values);
    goal::WriteVector(state.listenerUp, values + 3);
    return AL_NO_ERROR;
}

template <typename T>
void GetThree(ALenum parameter, T* x, T* y, T* z) {
    goal::StateCall(Access::Read, goal::ArePresent(x, y, z), [&](const SuspendedState& state) -> int {
        std::array<T, 3> values{};
        const int code = GetVector(state, parameter, values.data());
        if (code != AL_NO_ERROR) return code;
        *x = values[0];
        *y = values[1];
        *z = values[2];
        return AL_NO_ERROR;
    });
}

}  // namespace

AL_API void AL_APIENTRY alListenerf(ALenum parameter, ALfloat value) {
    goal::StateCall(Access::Write, true,
                    [&](SuspendedState& state) { return SetNumber(state, parameter, value); });
}

AL_API void AL_APIENTRY alListener3f(ALenum parameter, ALfloat x, ALfloat y, ALfloat z) {
    goal::StateCall(Access::Write, true, [&](SuspendedState& state) {
        return SetVector(state, parameter, {x, y, z});
    });
}

AL_API void AL_APIENTRY alListenerfv(ALenum parameter, const ALfloat* values) {
    SetValues(parameter, values);
}

AL_API void AL_APIENTRY alListeneri(ALenum, ALint) {
    goal::StateCall(Access::Read, true, [](const SuspendedState&) { return AL_INVALID_ENUM; });
}

AL_API void AL_APIENTRY alListener3i(ALenum parameter, ALint x, ALint y, ALint z) {
    const std::array<ALint, 3> values{x, y, z};
    goal::StateCall(Access::Write, true, [&](SuspendedState& state) {
        return SetVector(state, parameter, goal::ToVector(values.data()));
    });
}

AL_API void AL_APIENTRY alListeneriv(ALenum parameter, const ALint* values) {
    SetValues(parameter, values);
}

AL_API void AL_APIENTRY alGetListenerf(ALenum parameter, ALfloat* value) {
    goal::StateCall(Access::Read, goal::ArePresent(value), [&](const SuspendedState& state) -> int {
        const auto field = FindNumber(parameter);
        if (field == nullptr) return AL_INVALID_ENUM;
        *value = state.*field;
        return AL_NO_ERROR;
    });
}

AL_API void AL_APIENTRY alGetListener3f(ALenum parameter, ALfloat* x, ALfloat* y, ALfloat* z) {
    GetThree(parameter, x, y, z);
}

AL_API void AL_APIENTRY alGetListenerfv(ALenum parameter, ALfloat* values) {
    goal::StateCall(Access::Read, goal::ArePresent(values), [&](const SuspendedState& state) -> int {
        if (parameter != AL_GAIN) return GetVectors(state, parameter, values);
        *values = state.listenerGain;
        return AL_NO_ERROR;
    });
}

AL_API void AL_APIENTRY alGetListeneri(ALenum, ALint* value) {
    goal::StateCall(Access::Read, goal::ArePresent(value),
                    [](const SuspendedState&) { return AL_INVALID_ENUM; });
}

AL_API void AL_APIENTRY alGetListener3i(ALenum parameter, ALint* x, ALint* y, ALint* z) {
    GetThree(parameter, x, y, z);
}

AL_API void AL_APIENTRY alGetListeneriv(ALenum parameter, ALint* values) {
    goal::StateCall(Access::Read, goal::ArePresent(values),
                    [&](const SuspendedState& state) { return GetVectors(state, parameter, values); });
}
