#include "goal/fx/compressorparameters.h"

#include "AL/efx.h"
#include "goal/state/parametertable.h"

namespace goal::fx {
namespace {

using Row = RowsOf<CompressorParameters>;

constexpr std::array integers{
    Row::Integer<&CompressorParameters::isOn>(AL_COMPRESSOR_ONOFF, booleanCodes),
};

constexpr ParameterTable table{"goal/fx/compressor", {}, integers, {}};

}  // namespace

CompressorParameters::CompressorParameters() : EffectProcessorParameters(AL_EFFECT_COMPRESSOR, table) {}

void CompressorParameters::getName(std::string& name) const {
    name = "Compressor";
}

std::unique_ptr<EffectProcessorParameters> CompressorParameters::clone() const {
    return std::make_unique<CompressorParameters>(*this);
}

void CompressorParameters::assign(const EffectProcessorParameters& other) {
    AssignSameClass(*this, other);
}

}  // namespace goal::fx
