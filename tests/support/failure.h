#pragma once

// The text that a call fails with.

#include <string>

#include "slib/exception.h"

namespace testing_support {

/// Empty when nothing is thrown. Other exceptions pass.
template <typename Exception = slib::BadDataException, typename Call>
std::string Failure(const Call& call) {
    try {
        call();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "";
}

}  // namespace testing_support
