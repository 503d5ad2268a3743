#include "allocationcounter.h"

#include "replacedallocation.h"

std::size_t testing_support::AllocationsOfThisThread() {
    return allocations;
}
