// The al* calls that are about no object: switches, queries, texts, look-ups and the four global values.

#include <array>
#include <optional>
#include <string>

#include "app/goaldll/alcall.h"
#include "app/goaldll/alenums.h"
#include "app/goaldll/alprocs.h"
#include "app/goaldll/extensions.h"
#include "app/goaldll/missingeffects.h"
#include "app/goaldll/numbers.h"
#include "app/goaldll/standarderrors.h"
#include "goal/version.h"

namespace {

using goal::Access;
using goal::DistanceModel;
using goal::GlobalParameters;
using goal::Process;
using goal::SuspendedState;

// There are no capabilities to switch.
void RefuseCapability() {
    goal::ContextCall(Access::Read, true, [](Process&, goal::Context&) { return AL_INVALID_ENUM; });
}

// ---- State ----

struct GlobalValue {
    ALenum parameter;
    float GlobalParameters::*field;
};

constexpr std::array<GlobalValue, 3> globalValues{{
    {AL_DOPPLER_FACTOR, &GlobalParameters::dopplerFactor},
    {AL_DOPPLER_VELOCITY, &GlobalParameters::dopplerVelocity},
    {AL_SPEED_OF_SOUND, &GlobalParameters::speedOfSound},
}};

// What a state query returns, as a number and as a boolean.
struct StateValue {
    double number;
    bool isTrue;
};

std::optional<StateValue> FindState(const GlobalParameters& state, ALenum parameter) {
    if (parameter == AL_DISTANCE_MODEL)
        return StateValue{static_cast<double>(state.distanceModel),
                          state.distanceModel == DistanceModel::InverseClamped};
    for (const GlobalValue& row : globalValues)
        if (row.parameter == parameter) return StateValue{state.*row.field, state.*row.field != 0};
    return std::nullopt;
}

template <typename T, typename Convert>
void GetState(ALenum parameter, T* value, const Convert& convert) {
    goal::StateCall(Access::Read, goal::ArePresent(value), [&](const SuspendedState& state) -> int {
        const std::optional<StateValue> found = FindState(state, parameter);
        if (!found) return AL_INVALID_ENUM;
        *value = static_cast<T>(convert(*found));
        return AL_NO_ERROR;
    });
}

void SetGlobalValue(float GlobalParameters::*field, float value, bool mayBeZero = true) {
    goal::StateCall(Access::Write, true, [&](SuspendedState& state) -> int {
        if (!(value >= 0) || (value == 0 && !mayBeZero)) return AL_INVALID_VALUE;
        state.*field = value;
        return AL_NO_ERROR;
    });
}

// ---- Texts ----

struct TextRow {
    ALenum parameter;
    const char* text;
};

constexpr std::array<TextRow, 8> texts{{
    {AL_NO_ERROR, "There is no current error."},
    {AL_INVALID_NAME, "Invalid name parameter."},
    {AL_INVALID_ENUM, "Invalid enum parameter value."},
    {AL_INVALID_VALUE, "Invalid parameter."},
    {AL_INVALID_OPERATION, "Illegal call."},
    {AL_OUT_OF_MEMORY, "Unable to allocate memory."},
    {AL_VENDOR, "Hollowbrook Labs"},
    {AL_VERSION, "1.1"},
}};

// Lasts to the last instruction of the process, as a game may keep the pointer.
const char* RendererText() {
    static const auto text = [] {
        std::array<char, 40> made{};
        ("Tessarune v" + std::string(goal::versionText)).copy(made.data(), made.size() - 1);
        return made;
    }();
    return text.data();
}

const char* FindText(ALenum parameter) {
    if (parameter == AL_RENDERER) return RendererText();
    if (parameter == AL_EXTENSIONS) return goal::AlExtensions().text;
    for (const TextRow& row : texts)
        if (row.parameter == parameter) return row.text;
    return nullptr;
}

}  // namespace

AL_API void AL_APIENTRY alEnable(ALenum) {
    RefuseCapability();
}

AL_API void AL_APIENTRY alDisable(ALenum) {
    RefuseCapability();
}

AL_API ALboolean AL_APIENTRY alIsEnabled(ALenum) {
    RefuseCapability();
    return AL_FALSE;
}

AL_API ALenum AL_APIENTRY alGetError(void) {
    if (goal::CallFrame::IsRefused()) return goal::TheProcess().alError.Take();
    return goal::AlCallFor<ALenum>(AL_NO_ERROR, [](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        return process.AlErrors().Take();
    });
}

AL_API const ALchar* AL_APIENTRY alGetString(ALenum parameter) {
    return goal::AlCallFor<const ALchar*>(nullptr,
                                          [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
                                              const char* const text = FindText(parameter);
                                              if (text == nullptr) process.AlErrors().Record(AL_INVALID_ENUM);
                                              return text;
                                          });
}

AL_API void AL_APIENTRY alGetBooleanv(ALenum parameter, ALboolean* value) {
    GetState(parameter, value, [](const StateValue& state) { return state.isTrue ? AL_TRUE : AL_FALSE; });
}

AL_API void AL_APIENTRY alGetIntegerv(ALenum parameter, ALint* value) {
    GetState(parameter, value, [](const StateValue& state) { return goal::CutToInteger(state.number); });
}

AL_API void AL_APIENTRY alGetFloatv(ALenum parameter, ALfloat* value) {
    GetState(parameter, value, [](const StateValue& state) { return state.number; });
}

AL_API void AL_APIENTRY alGetDoublev(ALenum parameter, ALdouble* value) {
    GetState(parameter, value, [](const StateValue& state) { return state.number; });
}

AL_API ALboolean AL_APIENTRY alGetBoolean(ALenum parameter) {
    ALboolean value = AL_FALSE;
    alGetBooleanv(parameter, &value);
    return value;
}

AL_API ALint AL_APIENTRY alGetInteger(ALenum parameter) {
    ALint value = 0;
    alGetIntegerv(parameter, &value);
    return value;
}

AL_API ALfloat AL_APIENTRY alGetFloat(ALenum parameter) {
    ALfloat value = 0;
    alGetFloatv(parameter, &value);
    return value;
}

AL_API ALdouble AL_APIENTRY alGetDouble(ALenum parameter) {
    ALdouble value = 0;
    alGetDoublev(parameter, &value);
    return value;
}

AL_API void AL_APIENTRY alDopplerFactor(ALfloat value) {
    SetGlobalValue(&GlobalParameters::dopplerFactor, value);
}

AL_API void AL_APIENTRY alDopplerVelocity(ALfloat value) {
    SetGlobalValue(&GlobalParameters::dopplerVelocity, value);
}

AL_API void AL_APIENTRY alSpeedOfSound(ALfloat value) {
    SetGlobalValue(&GlobalParameters::speedOfSound, value, !goal::IsStandardInForce());
}

AL_API void AL_APIENTRY alDistanceModel(ALenum model) {
    goal::StateCall(Access::Write, true, [&](SuspendedState& state) -> int {
        const bool isKnown =
            model == AL_NONE || (model >= AL_INVERSE_DISTANCE && model <= AL_EXPONENT_DISTANCE_CLAMPED);
        if (!isKnown) return AL_INVALID_ENUM;
        state.distanceModel = static_cast<DistanceModel>(model);
        return AL_NO_ERROR;
    });
}

AL_API ALboolean AL_APIENTRY alIsExtensionPresent(const ALchar* name) {
    return goal::AlCallFor<ALboolean>(
        AL_FALSE, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALboolean {
            if (name != nullptr) return goal::AlExtensions().contains(name) ? AL_TRUE : AL_FALSE;
            process.AlErrors().Record(AL_INVALID_VALUE);
            return AL_FALSE;
        });
}

AL_API void* AL_APIENTRY alGetProcAddress(const ALchar* name) {
    return goal::AlCallFor<void*>(
        nullptr, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> void* {
            if (name == nullptr) {
                process.AlErrors().Record(AL_INVALID_VALUE);
                return nullptr;
            }
            if (const goal::ProcRow* const row = goal::Find(goal::AlProcs(), name)) return row->entry;
            process.LogCallFailure(
                "Game call failed: ", "Unsupported function '" + std::string(name) + "' could not be found.",
                false);
            return nullptr;
        });
}

AL_API ALenum AL_APIENTRY alGetEnumValue(const ALchar* name) {
    return goal::AlCallFor<ALenum>(0, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALenum {
        if (name != nullptr) {
            if (const goal::EnumRow* const row = goal::Find(goal::AlEnums(), name)) return row->value;
            goal::NoteEffectName(process, name);
            if (process.profile.Allows(goal::GameSwitch::QuietLookups)) return 0;
        }
        process.AlErrors().Record(AL_INVALID_VALUE);
        return 0;
    });
}
