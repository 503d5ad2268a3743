// The al* calls on filter objects. A filter does nothing by itself: its values reach a path of a source by
// copy. Filters are never suspended, so a change acts at once.

#include <algorithm>
#include <array>
#include <cstdint>

#include "AL/al.h"
#include "AL/efx.h"
#include "app/goaldll/efxcall.h"
#include "slib/exception.h"

namespace goal {
namespace {

using Filter = FilterParametersWithDeletedFlag;

auto& Filters(Context& context) {
    return SharedState(context).filters;
}

template <typename Work>
void FilterCall(ALuint name, Access access, bool pointersPresent, const Work& work) noexcept {
    EntryCall(Filters, name, access, pointersPresent, work);
}

// A type has its gains, each under a parameter of its own.
struct GainRow {
    FilterType type;
    ALenum parameter;
    float FilterParameters::*gain;
};

constexpr std::array gainRows = std::to_array<GainRow>({
    {FilterType::LowPass, AL_LOWPASS_GAIN, &FilterParameters::gain},
    {FilterType::LowPass, AL_LOWPASS_GAINHF, &FilterParameters::gainHF},
    {FilterType::HighPass, AL_HIGHPASS_GAIN, &FilterParameters::gain},
    {FilterType::HighPass, AL_HIGHPASS_GAINLF, &FilterParameters::gainLF},
    {FilterType::BandPass, AL_BANDPASS_GAIN, &FilterParameters::gain},
    {FilterType::BandPass, AL_BANDPASS_GAINLF, &FilterParameters::gainLF},
    {FilterType::BandPass, AL_BANDPASS_GAINHF, &FilterParameters::gainHF},
});

// Null when the type has no such gain.
const GainRow* FindGain(const Filter& filter, ALenum parameter) {
    const auto* const found = std::ranges::find_if(
        gainRows, [&](const GainRow& row) { return row.type == filter.type && row.parameter == parameter; });
    return found != gainRows.end() ? found : nullptr;
}

// The code for a parameter that the type doesn't have.
int UnknownParameter(const Filter& filter) {
    return filter.type == FilterType::BandPass ? AL_INVALID_ENUM : CodeOf(Fault::UnknownParameterOfFilter);
}

int ChangeType(Filter& filter, ALint type) {
    if (type < AL_FILTER_NULL || type > AL_FILTER_BANDPASS) return AL_INVALID_VALUE;
    filter.type = static_cast<FilterType>(type);
    filter.gain = filter.gainHF = filter.gainLF = 1;
    return AL_NO_ERROR;
}

// The type as a float is rounded.
int ChangeType(Filter& filter, ALfloat type) {
    const double rounded = double{type} + 0.5;
    const bool isInRange =
        rounded > -1 && rounded < AL_FILTER_BANDPASS + 1;  // false for what is not a number
    return isInRange ? ChangeType(filter, static_cast<ALint>(rounded)) : AL_INVALID_VALUE;
}

int SetInteger(Filter& filter, ALenum parameter, ALint value) {
    return parameter == AL_FILTER_TYPE ? ChangeType(filter, value) : CodeOf(Fault::UnknownParameterOfFilter);
}

int SetFloat(Filter& filter, ALenum parameter, ALfloat value) {
    if (parameter == AL_FILTER_TYPE) return ChangeType(filter, value);
    const GainRow* const row = FindGain(filter, parameter);
    if (row == nullptr) return UnknownParameter(filter);
    if (!IsGain(value)) return AL_INVALID_VALUE;
    filter.*row->gain = value;
    return AL_NO_ERROR;
}

void GetInteger(ALuint name, ALenum parameter, ALint* value) noexcept {
    FilterCall(name, Access::Read, ArePresent(value), [&](const Filter& filter) -> int {
        if (parameter != AL_FILTER_TYPE) return AL_INVALID_ENUM;
        *value = static_cast<ALint>(filter.type);
        return AL_NO_ERROR;
    });
}

int ReadFloat(const Filter& filter, ALenum parameter, ALfloat* value) {
    if (parameter == AL_FILTER_TYPE) {
        *value = static_cast<ALfloat>(filter.type);
        return AL_NO_ERROR;
    }
    if (filter.type == FilterType::None && AllowsStandard()) return AL_INVALID_ENUM;
    if (filter.type == FilterType::None) slib::ThrowUnreachable("goaldll/efx_interface", __LINE__);
    const GainRow* const row = FindGain(filter, parameter);
    if (row == nullptr) return UnknownParameter(filter);
    *value = filter.*row->gain;
    return AL_NO_ERROR;
}

void GetFloat(ALuint name, ALenum parameter, ALfloat* value) noexcept {
    FilterCall(name, Access::Read, ArePresent(value),
               [&](const Filter& filter) { return ReadFloat(filter, parameter, value); });
}

}  // namespace
}  // namespace goal

using goal::Access;
using goal::Filter;

AL_API void AL_APIENTRY alGenFilters(ALsizei n, ALuint* filters) {
    goal::GenCall(goal::Filters, n, filters, Access::WriteAll, n >= 0 && filters != nullptr,
                  [](goal::Context&, std::uint32_t, const Filter*) { return Filter(); });
}

AL_API void AL_APIENTRY alDeleteFilters(ALsizei n, const ALuint* filters) {
    goal::DeleteCall(goal::Filters, n, filters, Access::WriteAll, n >= 0 && filters != nullptr,
                     [](Filter&) {});
}

AL_API ALboolean AL_APIENTRY alIsFilter(ALuint filter) {
    return goal::IsCall(goal::Filters, filter);
}

AL_API void AL_APIENTRY alFilteri(ALuint filter, ALenum parameter, ALint value) {
    goal::FilterCall(filter, Access::WriteAll, true,
                     [&](Filter& entry) { return goal::SetInteger(entry, parameter, value); });
}

AL_API void AL_APIENTRY alFilteriv(ALuint filter, ALenum parameter, const ALint* values) {
    goal::FilterCall(filter, Access::WriteAll, goal::ArePresent(values),
                     [&](Filter& entry) { return goal::SetInteger(entry, parameter, values[0]); });
}

AL_API void AL_APIENTRY alFilterf(ALuint filter, ALenum parameter, ALfloat value) {
    goal::FilterCall(filter, Access::WriteAll, true,
                     [&](Filter& entry) { return goal::SetFloat(entry, parameter, value); });
}

AL_API void AL_APIENTRY alFilterfv(ALuint filter, ALenum parameter, const ALfloat* values) {
    goal::FilterCall(filter, Access::WriteAll, goal::ArePresent(values),
                     [&](Filter& entry) { return goal::SetFloat(entry, parameter, values[0]); });
}

AL_API void AL_APIENTRY alGetFilteri(ALuint filter, ALenum parameter, ALint* value) {
    goal::GetInteger(filter, parameter, value);
}

AL_API void AL_APIENTRY alGetFilteriv(ALuint filter, ALenum parameter, ALint* values) {
    goal::GetInteger(filter, parameter, values);
}

AL_API void AL_APIENTRY alGetFilterf(ALuint filter, ALenum parameter, ALfloat* value) {
    goal::GetFloat(filter, parameter, value);
}

AL_API void AL_APIENTRY alGetFilterfv(ALuint filter, ALenum parameter, ALfloat* values) {
    goal::GetFloat(filter, parameter, values);
}
