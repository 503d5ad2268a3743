#pragma once

// What a game sets on an effect: a plain, copyable record that travels to the renderer in the
// snapshot. The game's threads set and read it under the API mutex; the server's thread reads its own copy.
// The running effect is another object.

#include <cstdint>
#include <memory>
#include <string>

namespace goal {

struct ParameterTable;

class EffectProcessorState;
struct RenderContext;

/// What the room of an effect does to all sends into it.
struct RoomOfSends {
    float airAbsorptionGainHF = 1;  ///< per metre
    float roomRolloffFactor = 0;
};

/// The parameters of one effect. A class of an effect holds the values as fields and names them in a
/// ParameterTable, through which all calls here work. Parameters are AL tokens of that effect.
///
/// A setter returns false, and keeps the old value, when the effect has no such parameter in that form or the
/// value is out of its range; it never clamps. A getter returns false, and leaves the target as it was, when
/// the effect has no such parameter in that form. A null pointer returns false.
class EffectProcessorParameters {
public:
    std::int32_t effectType;  ///< an AL_EFFECT_ value

    virtual ~EffectProcessorParameters() = default;

    virtual void getName(std::string& name) const = 0;
    [[nodiscard]] virtual std::unique_ptr<EffectProcessorParameters> clone() const = 0;
    /// Takes over all fields of `other`. Throws slib::BadParameterException when that is of another class.
    virtual void assign(const EffectProcessorParameters& other) = 0;

    /// A running effect of this type, with clean memory. Called on the server's thread. Throws
    /// slib::OutOfMemoryException.
    [[nodiscard]] virtual std::unique_ptr<EffectProcessorState> createState(
        const RenderContext& context) const = 0;

    virtual bool setParameteri(std::int32_t parameter, std::int32_t value);
    /// Takes the first value.
    virtual bool setParameteriv(std::int32_t parameter, const std::int32_t* values);
    virtual bool setParameterf(std::int32_t parameter, float value);
    /// Takes three values for a vector parameter, all or none of them, else the first.
    virtual bool setParameterfv(std::int32_t parameter, const float* values);
    /// Rounds where a parameter is a float in its other form.
    virtual bool getParameteri(std::int32_t parameter, std::int32_t* value) const;
    virtual bool getParameteriv(std::int32_t parameter, std::int32_t* values) const;
    virtual bool getParameterf(std::int32_t parameter, float* value) const;
    virtual bool getParameterfv(std::int32_t parameter, float* values) const;

    /// The neutral values for effects that aren't rooms.
    virtual RoomOfSends SendRoom() const { return {}; }

protected:
    /// `table` lives as long as the program.
    EffectProcessorParameters(std::int32_t effectType, const ParameterTable& table)
        : effectType(effectType), parameterTable(&table) {}
    EffectProcessorParameters(const EffectProcessorParameters&) = default;
    EffectProcessorParameters& operator=(const EffectProcessorParameters&) = default;

private:
    const ParameterTable* parameterTable;
};

}  // namespace goal
