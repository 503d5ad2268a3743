#pragma once

// The vector targets of this machine, one after the other.

#include <hwy/targets.h>

#include <cstdint>
#include <vector>

namespace testing_support {

/// Calls `work` with the name of each target that the machine has and the kernels were built for, while they
/// run on it, from the plainest one on.
template <typename Work>
void OnEachVectorTarget(const Work& work) {
    std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
    for (auto target = targets.rbegin(); target != targets.rend(); ++target) {
        hwy::SetSupportedTargetsForTest(*target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        work(hwy::TargetName(*target));
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace testing_support
