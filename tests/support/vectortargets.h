#pragma once

// Runs on every vector target of the processor, for tests of what must not depend on it.

#include <gtest/gtest.h>

#include <optional>

#include "hwy/targets.h"

namespace testing_support {

/// Calls `body` on each target, and leaves what the machine has.
template <typename Body>
void OnEveryTarget(const Body& body) {
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        body();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// What `make` gives has to be the same to the bit on every target.
template <typename Make>
void ExpectSameOnEveryTarget(const Make& make) {
    std::optional<decltype(make())> expected;
    OnEveryTarget([&] {
        const auto made = make();
        if (!expected) expected = made;
        EXPECT_EQ(made, *expected);
    });
}

}  // namespace testing_support
