#pragma once

// How an effect names its parameters: one row a parameter, shared by the setters and getters of all forms.
// The tables are constants of the effects' sources; EffectProcessorParameters reads them. Not for other
// callers.

#include <array>
#include <cstdint>
#include <span>
#include <type_traits>

#include "goal/state/effectprocessorparameters.h"
#include "slib/exception.h"

namespace goal {

/// Whether a parameter that is a float may be set and read as an integer too.
enum class Form : std::uint8_t { Float, FloatOrInteger };

/// Reaches one field of a parameter class.
template <typename Value>
struct Accessor {
    Value (*get)(const EffectProcessorParameters&);
    void (*set)(EffectProcessorParameters&, Value);
};

using Vector = std::array<float, 3>;

struct FloatParameter {
    std::int32_t name;
    Accessor<float> field;
    float minimum, maximum;  ///< in the AL unit, both allowed
    Form form = Form::Float;
    double unit = 1;  ///< the stored value of one AL unit
};

/// The AL values are 0, 1, ...; each means the code at its place.
struct IntegerParameter {
    std::int32_t name;
    Accessor<std::int32_t> field;
    std::span<const std::int32_t> codes;
};

/// Three floats whose length may be 1 at most, but for rounding.
struct VectorParameter {
    std::int32_t name;
    Accessor<Vector> field;
};

struct ParameterTable {
    const char* source;  ///< the source path that an assertion names
    std::span<const FloatParameter> floats;
    std::span<const IntegerParameter> integers;
    std::span<const VectorParameter> vectors;
};

/// The codes of a boolean.
inline constexpr std::array<std::int32_t, 2> booleanCodes{0, 1};

/// Makes the rows of the effect whose class is Record, from pointers to its fields.
template <typename Record>
struct RowsOf {
    template <auto member>
    static constexpr FloatParameter Float(std::int32_t name, float minimum, float maximum,
                                          Form form = Form::Float, double unit = 1) {
        return {name, Access<member, float>(), minimum, maximum, form, unit};
    }

    template <auto member>
    static constexpr IntegerParameter Integer(std::int32_t name, std::span<const std::int32_t> codes) {
        return {name, Access<member, std::int32_t>(), codes};
    }

    template <auto member>
    static constexpr VectorParameter Vector(std::int32_t name) {
        return {name, Access<member, goal::Vector>()};
    }

private:
    template <auto member, typename Value>
    static Value Get(const EffectProcessorParameters& parameters) {
        return static_cast<Value>(static_cast<const Record&>(parameters).*member);
    }

    template <auto member, typename Value>
    static void Set(EffectProcessorParameters& parameters, Value value) {
        auto& field = static_cast<Record&>(parameters).*member;
        field = static_cast<std::remove_reference_t<decltype(field)>>(value);
    }

    template <auto member, typename Value>
    static constexpr Accessor<Value> Access() {
        return {Get<member, Value>, Set<member, Value>};
    }
};

/// The body of assign: copies `other` into `target`, which must be of the same class.
template <typename Record>
void AssignSameClass(Record& target, const EffectProcessorParameters& other) {
    const auto* same = dynamic_cast<const Record*>(&other);
    if (same == nullptr)
        throw slib::BadParameterException("The parameters of one effect can't be assigned to another.");
    target = *same;
}

}  // namespace goal
