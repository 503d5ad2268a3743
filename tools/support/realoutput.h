#pragma once

// Whether anybody hears what a game plays now, by the same decision that the library takes. One thread.

#include "slib/log.h"

namespace tool {

/// True when a sound server or a sound card answers, which an output by the setting "Auto" plays to.
[[nodiscard]] bool DoesOutputAnswer(slib::Log& log);

}  // namespace tool
