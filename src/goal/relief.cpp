#include "goal/relief.h"

#include <algorithm>

namespace goal {

orb3::GoalConfig Relief::Of(orb3::GoalConfig settings) const {
    settings.order = std::min(settings.order, highestOrder.value_or(settings.order));
    if (isReverbPlain) SetEffectsQuality(settings, orb3::EffectsQuality::Low);
    return settings;
}

std::string Relief::Increase(int order, const orb3::GoalConfig& settings) {
    std::string what;
    if (order > 1) {
        highestOrder = order - 1;
        what = "order " + std::to_string(order - 1);
    } else if (GetEffectsQuality(settings) != orb3::EffectsQuality::Low) {
        isReverbPlain = true;
        what = "low effects quality";
    } else if (!isWithoutEffects) {
        isWithoutEffects = true;
        what = "no effects";
    }
    return what.empty() ? what : "Restarting with " + what + ", since this machine can't keep up.";
}

}  // namespace goal
