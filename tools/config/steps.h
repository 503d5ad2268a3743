#pragma once

// What the functions that take long tell, for the terminal. One thread.

#include "tools/manage/report.h"
#include "tools/support/progress.h"

namespace tool {

/// `progress` is borrowed.
inline StepReport StepsOf(Progress& progress) {
    return [&progress](std::size_t number, std::size_t all, const std::string& name) {
        progress.Step(number, all, name);
    };
}

}  // namespace tool
