#pragma once

// Counts the allocations of a thread, for a program that links allocationcounter.cpp: it replaces operator
// new.

#include <cstddef>

namespace testing_support {

std::size_t AllocationsOfThisThread();

}  // namespace testing_support
