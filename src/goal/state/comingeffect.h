#pragma once

// A running effect on its way to a slot. It is built outside all locks, since the renderer takes them once a
// block and some effects take milliseconds:
//
//     Note, with stateMutex held ──> Build, without ──> Send, with stateMutex held
//
// Made by the thread that wants the effect.

#include <cstdint>
#include <memory>

#include "goal/state/enginestate.h"

namespace goal {

class ComingEffect {
public:
    /// Copies what is to be built so that the renderer can run the slot `index` as it is `wanted`; nothing
    /// when it can do so already, or has no run. With stateMutex held; throws slib::OutOfMemoryException.
    void Note(const RenderSnapshot& snapshot, ApplicationState& application, std::uint32_t index,
              const AuxSlotParameters& wanted);

    bool IsToBeBuilt() const { return builder != nullptr; }

    /// Builds what was noted. Without a lock; throws slib::OutOfMemoryException.
    void Build();

    /// Hands what was built over to the renderer for the slot of this serial number, unless that has begun
    /// another run meanwhile. With stateMutex held; throws slib::OutOfMemoryException.
    void Send(ApplicationState& application, std::uint32_t index, std::uint32_t serial);

private:
    EffectParametersPtr parameters;
    std::shared_ptr<const EffectBuilder> builder;  // null where nothing is to be built
    std::unique_ptr<RunningEffect> running;
};

}  // namespace goal
