#include "app/goaldll/sourceproperties.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "app/goaldll/numbers.h"
#include "app/goaldll/sourceoffset.h"
#include "app/goaldll/sourceplay.h"
#include "app/goaldll/standarderrors.h"

namespace goal {
namespace {

// ---- Tables ----

enum class Unit { Plain, FullAngle };  // a full angle in degrees is kept as a half-angle in radians

struct FloatProperty {
    ALenum parameter;
    float SourceBaseParameters::*field;
    float greatest;  // the least is 0
    Unit unit;
    bool hasIntegerForm;
};

constexpr float unlimited = std::numeric_limits<float>::infinity();

using Base = SourceBaseParameters;

constexpr std::array<FloatProperty, 14> floatProperties{{
    {AL_GAIN, &Base::gain, unlimited, Unit::Plain, false},
    {AL_MIN_GAIN, &Base::minGain, 1, Unit::Plain, false},
    {AL_MAX_GAIN, &Base::maxGain, 1, Unit::Plain, false},
    {AL_PITCH, &Base::pitch, unlimited, Unit::Plain, false},
    {AL_REFERENCE_DISTANCE, &Base::referenceDistance, unlimited, Unit::Plain, true},
    {AL_ROLLOFF_FACTOR, &Base::rolloffFactor, unlimited, Unit::Plain, true},
    {AL_MAX_DISTANCE, &Base::maxDistance, unlimited, Unit::Plain, true},
    {AL_CONE_OUTER_GAIN, &Base::coneOuterGain, 1, Unit::Plain, false},
    {AL_CONE_INNER_ANGLE, &Base::coneInnerHalfAngle, 360, Unit::FullAngle, true},
    {AL_CONE_OUTER_ANGLE, &Base::coneOuterHalfAngle, 360, Unit::FullAngle, true},
    {AL_SOURCE_RADIUS, &Base::radius, unlimited, Unit::Plain, false},
    {AL_AIR_ABSORPTION_FACTOR, &Base::airAbsorptionFactor, 10, Unit::Plain, false},
    {AL_ROOM_ROLLOFF_FACTOR, &Base::roomRolloffFactor, 10, Unit::Plain, false},
    {AL_CONE_OUTER_GAINHF, &Base::coneOuterGainHF, 1, Unit::Plain, false},
}};

struct FlagProperty {
    ALenum parameter;
    bool SourceBaseParameters::*field;
};

constexpr std::array<FlagProperty, 5> flagProperties{{
    {AL_SOURCE_RELATIVE, &Base::relative},
    {AL_LOOPING, &Base::looping},
    {AL_DIRECT_FILTER_GAINHF_AUTO, &Base::directFilterGainHFAuto},
    {AL_AUXILIARY_SEND_FILTER_GAIN_AUTO, &Base::auxSendFilterGainAuto},
    {AL_AUXILIARY_SEND_FILTER_GAINHF_AUTO, &Base::auxSendFilterGainHFAuto},
}};

struct VectorProperty {
    ALenum parameter;
    Vector3 SourceBaseParameters::*field;
};

constexpr std::array<VectorProperty, 3> vectorProperties{{
    {AL_POSITION, &Base::position},
    {AL_VELOCITY, &Base::velocity},
    {AL_DIRECTION, &Base::direction},
}};

ALint CurrentBuffer(const SourceAccess& source) {
    const Source& seen = source.PlayState();
    return seen.queueIndex < seen.queue.size ? static_cast<ALint>(seen.queue[seen.queueIndex]->name) : 0;
}

ALint State(const SourceAccess& source) {
    return static_cast<ALint>(source.PlayState().state);
}

ALint Type(const SourceAccess& source) {
    return static_cast<ALint>(source.PlayState().sourceType);
}

ALint QueueLength(const SourceAccess& source) {
    return static_cast<ALint>(source.PlayState().queue.size);
}

ALint ProcessedCount(const SourceAccess& source) {
    const Source& seen = source.PlayState();
    if (seen.state == SourceState::Initial) return 0;
    if (seen.state == SourceState::Stopped) return QueueLength(source);
    return source.Target().looping ? 0 : static_cast<ALint>(seen.queueIndex);
}

// What the renderer has a part in.
struct PlayQuery {
    ALenum parameter;
    ALint (*read)(const SourceAccess& source);
};

constexpr std::array<PlayQuery, 5> playQueries{{
    {AL_BUFFER, CurrentBuffer},
    {AL_SOURCE_STATE, State},
    {AL_SOURCE_TYPE, Type},
    {AL_BUFFERS_QUEUED, QueueLength},
    {AL_BUFFERS_PROCESSED, ProcessedCount},
}};

template <typename Table>
auto FindRow(const Table& table, ALenum parameter) -> decltype(table.data()) {
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const auto& r) { return r.parameter == parameter; });
    return row != table.end() ? &*row : nullptr;
}

// ---- Values ----

// One degree of a full angle as a half-angle in radians, and the other way.
constexpr float halfRadiansPerDegree = 0.008726646F;
constexpr float degreesPerHalfRadian = 114.59156F;
// Degrees that the way there and back may lose, so that whole ones read as they were set.
constexpr float angleSlack = 0.001F;

int SetRow(const SourceAccess& source, const FloatProperty& row, float value) {
    if (!(value >= 0 && value <= row.greatest)) return AL_INVALID_VALUE;
    source.ChangeParameters().*row.field =
        row.unit == Unit::FullAngle ? std::min(value * halfRadiansPerDegree, pi) : value;
    return AL_NO_ERROR;
}

float GetRow(const SourceAccess& source, const FloatProperty& row) {
    const float value = source.Target().*row.field;
    return row.unit == Unit::FullAngle ? value * degreesPerHalfRadian : value;
}

int SetFlag(const SourceAccess& source, bool SourceBaseParameters::*field, ALint value) {
    if (value != AL_FALSE && value != AL_TRUE) return AL_INVALID_VALUE;
    source.ChangeParameters().*field = value == AL_TRUE;
    return AL_NO_ERROR;
}

template <typename T>
int SetOrientation(const SourceAccess& source, const T* values) {
    Source& target = source.ChangeParameters();
    target.orientationAt = ToVector(values);
    target.orientationUp = ToVector(values + 3);
    return AL_NO_ERROR;
}

template <typename T>
int WriteOrientation(const SourceAccess& source, T* values) {
    WriteVector(source.Target().orientationAt, values);
    WriteVector(source.Target().orientationUp, values + 3);
    return AL_NO_ERROR;
}

template <typename T>
int WriteNamedVector(const SourceAccess& source, ALenum parameter, T* values) {
    const VectorProperty* const row = FindRow(vectorProperties, parameter);
    if (row == nullptr) return AL_INVALID_ENUM;
    WriteVector(source.Target().*row->field, values);
    return AL_NO_ERROR;
}

int SetStereoAngles(const SourceAccess& source, const float* values) {
    Source& target = source.ChangeParameters();
    target.stereoAngles = {values[0], values[1]};
    target.hasStereoAngles = std::isfinite(values[0]) && std::isfinite(values[1]);
    return AL_NO_ERROR;
}

// ---- Filters ----

// Beyond any number of sends that a game could use, and few enough that the memory for them is there.
constexpr ALint sendLimit = 65536;
constexpr ALint standardSends = 4;  // as ALC_MAX_AUXILIARY_SENDS says

// A copy of the live filter of that name; 0 for none at all.
bool CopyFilter(const SourceAccess& source, ALuint name, FilterParameters& filter) {
    filter = FilterParameters();
    if (name == 0) return true;
    const auto& filters = SharedState(source.context).filters;
    if (!IsLive(filters, name)) return false;
    filter = filters[name - 1];
    return true;
}

int SetDirectFilter(const SourceAccess& source, ALuint name) {
    FilterParameters filter;
    if (!CopyFilter(source, name, filter)) return AL_INVALID_VALUE;
    Source& target = source.ChangeParameters();
    target.directFilterName = name;
    target.directFilter = filter;
    return AL_NO_ERROR;
}

// Of the slot that has the name, or that will be the next to have it.
std::uint32_t SerialOf(const SuspendedState& state, ALuint slotName) {
    if (slotName == 0 || slotName > state.slots.size) return 0;
    const AuxSlotParameters& slot = state.slots[slotName - 1];
    return slot.deleted ? slot.serial + 1 : slot.serial;
}

int SetSend(const SourceAccess& source, ALuint slotName, ALint index, ALuint filterName) {
    SourceBaseParameters::AuxSend send{slotName, filterName, {}, SerialOf(source.state, slotName)};
    if (index < 0 || !CopyFilter(source, filterName, send.filter)) return AL_INVALID_VALUE;
    const bool isOfStandard =
        index < standardSends && (slotName == 0 || IsLive(source.state.slots, slotName));
    if (!isOfStandard && IsStandardInForce()) return AL_INVALID_VALUE;
    if (index >= sendLimit) throw slib::OutOfMemoryException();
    const auto place = static_cast<std::uint32_t>(index);
    const BufferQueue& queue = source.PlayState().queue;
    if (place >= source.Target().sends.size && queue.size > 0)
        source.PrepareFor(queue[0]->channels, place + 1);
    Source& target = source.ChangeParameters();
    if (place >= target.sends.size) target.sends.resizePreserving(place + 1, {});
    target.sends[place] = send;
    return AL_NO_ERROR;
}

}  // namespace

Access AccessToSet(ALenum parameter) {
    const bool wantsAll = parameter == AL_BUFFER || parameter == AL_DIRECT_FILTER ||
                          parameter == AL_AUXILIARY_SEND_FILTER || IsOffset(parameter);
    return wantsAll ? Access::WriteAll : Access::Write;
}

Access AccessToGet(ALenum parameter) {
    const bool isMoved = FindRow(playQueries, parameter) != nullptr || IsOffset(parameter);
    return isMoved ? Access::ReadMoved : Access::Read;
}

int SetFloat(const SourceAccess& source, ALenum parameter, float value) {
    if (const FloatProperty* const row = FindRow(floatProperties, parameter))
        return SetRow(source, *row, value);
    if (IsOffset(parameter)) return SetOffset(source, parameter, static_cast<double>(value));
    return AL_INVALID_ENUM;
}

int SetInteger(const SourceAccess& source, ALenum parameter, ALint value) {
    if (const FlagProperty* const row = FindRow(flagProperties, parameter))
        return SetFlag(source, row->field, value);
    const FloatProperty* const row = FindRow(floatProperties, parameter);
    if (row != nullptr && row->hasIntegerForm) return SetRow(source, *row, static_cast<float>(value));
    if (IsOffset(parameter)) return SetOffset(source, parameter, value);
    if (parameter == AL_BUFFER) return SetBuffer(source, static_cast<ALuint>(value));
    if (parameter == AL_DIRECT_FILTER) return SetDirectFilter(source, static_cast<ALuint>(value));
    return parameter == AL_SOURCE_STATE ? AL_INVALID_OPERATION : AL_INVALID_ENUM;
}

int SetFloats(const SourceAccess& source, ALenum parameter, const float* values) {
    if (FindRow(vectorProperties, parameter) != nullptr) return SetVector(source, parameter, values);
    if (parameter == AL_ORIENTATION) return SetOrientation(source, values);
    if (parameter == AL_STEREO_ANGLES) return SetStereoAngles(source, values);
    return SetFloat(source, parameter, values[0]);
}

int SetIntegers(const SourceAccess& source, ALenum parameter, const ALint* values) {
    if (FindRow(vectorProperties, parameter) != nullptr || parameter == AL_AUXILIARY_SEND_FILTER)
        return SetTriple(source, parameter, values);
    if (parameter == AL_ORIENTATION) return SetOrientation(source, values);
    return SetInteger(source, parameter, values[0]);
}

int SetVector(const SourceAccess& source, ALenum parameter, const float* values) {
    const VectorProperty* const row = FindRow(vectorProperties, parameter);
    if (row == nullptr) return AL_INVALID_ENUM;
    source.ChangeParameters().*row->field = ToVector(values);
    return AL_NO_ERROR;
}

int SetTriple(const SourceAccess& source, ALenum parameter, const ALint* values) {
    if (parameter == AL_AUXILIARY_SEND_FILTER)
        return SetSend(source, static_cast<ALuint>(values[0]), values[1], static_cast<ALuint>(values[2]));
    return SetVector(source, parameter, ToVector(values).data());
}

int GetFloat(const SourceAccess& source, ALenum parameter, float* value) {
    const FloatProperty* const row = FindRow(floatProperties, parameter);
    if (row == nullptr && !IsOffset(parameter)) return AL_INVALID_ENUM;
    *value = row != nullptr ? GetRow(source, *row) : static_cast<float>(GetOffset(source, parameter));
    return AL_NO_ERROR;
}

int GetInteger(const SourceAccess& source, ALenum parameter, ALint* value) {
    const FloatProperty* const number = FindRow(floatProperties, parameter);
    if (const FlagProperty* const flag = FindRow(flagProperties, parameter))
        *value = source.Target().*flag->field ? AL_TRUE : AL_FALSE;
    else if (number != nullptr && number->hasIntegerForm)
        *value = CutToInteger(GetRow(source, *number) + (number->unit == Unit::FullAngle ? angleSlack : 0));
    else if (const PlayQuery* const query = FindRow(playQueries, parameter))
        *value = query->read(source);
    else if (IsOffset(parameter))
        *value = CutToInteger(GetOffset(source, parameter) + (parameter == AL_SEC_OFFSET ? 0.5 : 0));
    else if (parameter == AL_DIRECT_FILTER)
        *value = static_cast<ALint>(source.Target().directFilterName);
    else
        return AL_INVALID_ENUM;
    return AL_NO_ERROR;
}

int GetFloats(const SourceAccess& source, ALenum parameter, float* values) {
    if (FindRow(vectorProperties, parameter) != nullptr) return GetVector(source, parameter, values);
    if (parameter == AL_ORIENTATION) return WriteOrientation(source, values);
    if (parameter != AL_STEREO_ANGLES) return GetFloat(source, parameter, values);
    std::copy(source.Target().stereoAngles.begin(), source.Target().stereoAngles.end(), values);
    return AL_NO_ERROR;
}

int GetIntegers(const SourceAccess& source, ALenum parameter, ALint* values) {
    if (FindRow(vectorProperties, parameter) != nullptr) return GetVector(source, parameter, values);
    if (parameter == AL_ORIENTATION) return WriteOrientation(source, values);
    return GetInteger(source, parameter, values);
}

int GetVector(const SourceAccess& source, ALenum parameter, float* values) {
    return WriteNamedVector(source, parameter, values);
}

int GetVector(const SourceAccess& source, ALenum parameter, ALint* values) {
    return WriteNamedVector(source, parameter, values);
}

}  // namespace goal
