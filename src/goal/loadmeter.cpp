#include "goal/loadmeter.h"

namespace goal {

std::optional<double> LoadMeter::Note(double now, double waited) {
    ++blocks;
    const double passed = now - startTime;
    if (windows > 0 && passed < window) return std::nullopt;
    std::optional<double> share;
    if (windows > 1) share = (passed - (waited - startWaited)) / (blocks * blockSeconds);
    ++windows;
    startTime = now;
    startWaited = waited;
    blocks = 0;
    return share;
}

}  // namespace goal
