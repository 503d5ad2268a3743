#include "goal/state/effectprocessorparameters.h"

#include <algorithm>
#include <cmath>

#include "goal/state/parametertable.h"

namespace goal {
namespace {

// Lets a unit vector through that was rounded on its way.
constexpr double maximumSquaredLength = 1.00001;

template <typename Row>
const Row* Find(std::span<const Row> rows, std::int32_t name) {
    const auto found = std::ranges::find(rows, name, &Row::name);
    return found == rows.end() ? nullptr : &*found;
}

bool IsAllowed(const FloatParameter& row, float value) {
    return value >= row.minimum && value <= row.maximum;  // false for what is not a number
}

bool IsAllowedVector(const Vector& v) {
    const double x = v[0], y = v[1], z = v[2];
    return x * x + y * y + z * z <= maximumSquaredLength;
}

// The value in the AL unit.
double ValueOf(const FloatParameter& row, const EffectProcessorParameters& parameters) {
    return double{row.field.get(parameters)} / row.unit;
}

}  // namespace

bool EffectProcessorParameters::setParameteri(std::int32_t parameter, std::int32_t value) {
    if (const auto* row = Find(parameterTable->integers, parameter)) {
        if (value < 0 || static_cast<std::size_t>(value) >= row->codes.size()) return false;
        row->field.set(*this, row->codes[static_cast<std::size_t>(value)]);
        return true;
    }
    const auto* row = Find(parameterTable->floats, parameter);
    return row != nullptr && row->form == Form::FloatOrInteger &&
           setParameterf(parameter, static_cast<float>(value));
}

bool EffectProcessorParameters::setParameteriv(std::int32_t parameter, const std::int32_t* values) {
    return values != nullptr && setParameteri(parameter, values[0]);
}

bool EffectProcessorParameters::setParameterf(std::int32_t parameter, float value) {
    const auto* row = Find(parameterTable->floats, parameter);
    if (row == nullptr || !IsAllowed(*row, value)) return false;
    row->field.set(*this, static_cast<float>(value * row->unit));
    return true;
}

bool EffectProcessorParameters::setParameterfv(std::int32_t parameter, const float* values) {
    if (values == nullptr) return false;
    const auto* row = Find(parameterTable->vectors, parameter);
    if (row == nullptr) return setParameterf(parameter, values[0]);
    const Vector vector{values[0], values[1], values[2]};
    if (!IsAllowedVector(vector)) return false;
    row->field.set(*this, vector);
    return true;
}

bool EffectProcessorParameters::getParameteri(std::int32_t parameter, std::int32_t* value) const {
    if (value == nullptr) return false;
    if (const auto* row = Find(parameterTable->integers, parameter)) {
        const auto code = std::ranges::find(row->codes, row->field.get(*this));
        if (code == row->codes.end()) slib::ThrowUnreachable(parameterTable->source, __LINE__);
        *value = static_cast<std::int32_t>(code - row->codes.begin());
        return true;
    }
    const auto* row = Find(parameterTable->floats, parameter);
    if (row == nullptr || row->form != Form::FloatOrInteger) return false;
    *value = static_cast<std::int32_t>(std::floor(ValueOf(*row, *this) + 0.5));
    return true;
}

bool EffectProcessorParameters::getParameteriv(std::int32_t parameter, std::int32_t* values) const {
    return getParameteri(parameter, values);
}

bool EffectProcessorParameters::getParameterf(std::int32_t parameter, float* value) const {
    const auto* row = Find(parameterTable->floats, parameter);
    if (value == nullptr || row == nullptr) return false;
    *value = static_cast<float>(ValueOf(*row, *this));
    return true;
}

bool EffectProcessorParameters::getParameterfv(std::int32_t parameter, float* values) const {
    const auto* row = Find(parameterTable->vectors, parameter);
    if (values == nullptr || row == nullptr) return getParameterf(parameter, values);
    std::ranges::copy(row->field.get(*this), values);
    return true;
}

}  // namespace goal
