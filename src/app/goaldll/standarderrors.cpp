#include "app/goaldll/standarderrors.h"

#include <array>

#include "AL/al.h"

namespace goal {
namespace {

struct Codes {
    int usual;
    int standard;
};

// In the order of Fault.
constexpr std::array<Codes, 9> codes{{
    {AL_INVALID_VALUE, AL_INVALID_OPERATION},
    {AL_INVALID_VALUE, AL_INVALID_NAME},
    {AL_INVALID_VALUE, AL_INVALID_NAME},
    {AL_INVALID_OPERATION, AL_INVALID_VALUE},
    {AL_INVALID_NAME, AL_INVALID_OPERATION},
    {AL_INVALID_OPERATION, AL_INVALID_VALUE},
    {AL_INVALID_ENUM, AL_INVALID_VALUE},
    {AL_INVALID_VALUE, AL_INVALID_ENUM},
    {AL_INVALID_VALUE, AL_OUT_OF_MEMORY},
}};

}  // namespace

int CodeOf(Fault fault) noexcept {
    const Codes& row = codes[static_cast<std::size_t>(fault)];
    return AllowsStandard() ? row.standard : row.usual;
}

}  // namespace goal
