#include "tests/support/allocationcounter.h"

#include "tests/support/replacedallocation.h"

std::size_t testing_support::AllocationsOfThisThread() {
    return allocations;
}
