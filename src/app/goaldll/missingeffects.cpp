#include "app/goaldll/missingeffects.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <string>

#include "AL/efx.h"

namespace goal {
namespace {

struct MissingEffect {
    std::int32_t type;
    const char* name;
    std::atomic_flag isNoted;
};

std::array<MissingEffect, 4> missing{{{AL_EFFECT_FREQUENCY_SHIFTER, "AL_EFFECT_FREQUENCY_SHIFTER", {}},
                                      {AL_EFFECT_VOCAL_MORPHER, "AL_EFFECT_VOCAL_MORPHER", {}},
                                      {AL_EFFECT_PITCH_SHIFTER, "AL_EFFECT_PITCH_SHIFTER", {}},
                                      {AL_EFFECT_AUTOWAH, "AL_EFFECT_AUTOWAH", {}}}};

void Note(Process& process, MissingEffect& effect) noexcept {
    if (effect.isNoted.test_and_set()) return;
    try {
        const std::string name = effect.name;
        process.log.Write(
            "The game asks for " + name + ", an effect that isn't supported. What is sent to it isn't heard.",
            false);
    } catch (const std::exception&) {  // no memory: the next time
        effect.isNoted.clear();
    }
}

}  // namespace

void NoteEffectType(Process& process, std::int32_t type) noexcept {
    const auto found = std::ranges::find(missing, type, &MissingEffect::type);
    if (found != missing.end()) Note(process, *found);
}

void NoteEffectName(Process& process, std::string_view name) noexcept {
    const auto found = std::ranges::find(missing, name, &MissingEffect::name);
    if (found != missing.end()) Note(process, *found);
}

}  // namespace goal
