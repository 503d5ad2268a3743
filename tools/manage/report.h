#pragma once

// How far a long work is, told to whoever watches it, who may want it no more. Functions that design decoders
// call it; on the thread that they were called on.

#include <cstddef>
#include <functional>
#include <string>

#include "slib/exception.h"

namespace tool {

/// Before each step: its number from 1, of how many, and what is done now ("order 2"). What it throws ends
/// the work, with nothing stored.
using StepReport = std::function<void(std::size_t number, std::size_t all, const std::string& name)>;

/// The person wants the work no more.
class Cancelled : public slib::StringException {
public:
    Cancelled() : StringException("It was cancelled. Nothing was stored.") {}
};

}  // namespace tool
