#pragma once

// Runs on every vector target of the processor, for tests of what must not depend on it.

#include <gtest/gtest.h>

#include <optional>

#include "hwy/targets.h"

namespace testing_support {

/// What `make` gives has to be the same to the bit on every target.
template <typename Make>
void ExpectSameOnEveryTarget(const Make& make) {
    std::optional<decltype(make())> expected;
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        const auto made = make();
        if (!expected) expected = made;
        EXPECT_EQ(made, *expected) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace testing_support
