#include "goal/state/comingeffect.h"

#include <utility>

namespace goal {

void ComingEffect::Note(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
                        const AuxSlotParameters& wanted) {
    application.comingEffects.Reserve(index + 1);
    if (!wanted.effect || wanted.deleted || IsServed(snapshot, application, index, wanted)) return;
    AssignEffect(parameters, wanted.effect);
    builder = application.effectBuilder;
}

void ComingEffect::Build() {
    if (builder != nullptr) running = builder->Build(*parameters);
}

void ComingEffect::Send(ApplicationState& application, std::uint32_t index, std::uint32_t serial) {
    if (running == nullptr || builder != application.effectBuilder) return;
    application.comingEffects.Reserve(index + 1);
    running->slotSerial = serial;
    application.comingEffects[index] = std::move(running);
}

}  // namespace goal
