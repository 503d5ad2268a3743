#pragma once

// How the effects make their states. Called by createState on the server's thread.

#include <memory>
#include <new>
#include <utility>

#include "goal/fx/effectprocessorstate.h"
#include "slib/exception.h"

namespace goal::fx {

/// A new State from the arguments of its constructor. Throws slib::OutOfMemoryException.
template <typename State, typename... Arguments>
[[nodiscard]] std::unique_ptr<EffectProcessorState> MakeState(Arguments&&... arguments) {
    try {
        return std::make_unique<State>(std::forward<Arguments>(arguments)...);
    } catch (const std::bad_alloc&) {
        throw slib::OutOfMemoryException();
    }
}

}  // namespace goal::fx
