#pragma once

// The program tessarune-config as a process of its own, for what plays sound: the page's server loads no
// library of sound itself. On a job's thread.

#include <string>
#include <vector>

#include "tools/page/api/api.h"

namespace page {

/// Runs it with these words and waits for its end. Throws tool::WrongUse with its sentence where it calls
/// that, slib::BadStateException where it fails, and tool::Cancelled where the person doesn't want it any
/// more, once it is gone.
void RunConfig(const std::vector<std::string>& words, const Report& report);

}  // namespace page
