#pragma once

// What all contexts and calls of the process share: the one device, the configuration, and the two outer
// locks.

#include "goal/bufferpool.h"
#include "goal/machinery.h"
#include "orb3core/sharedconfiguration.h"
#include "slib/log.h"
#include "slib/mutex.h"

namespace goal {

struct Context;

/// The one device. Buffers live in it and outlive a context. Guarded by apiMutex.
struct Device {
    BufferPool bufferPool;
    Context* context = nullptr;
};

/// Lock order: contextLifetimeMutex, apiMutex, then a context's stateMutex, then its timingMutex; the
/// configuration's mutex is taken below any of these, for single reads.
struct Engine {
    /// `log` and `machinery` are borrowed and outlive the engine.
    Engine(slib::Log* log, Machinery* machinery) : log(log), machinery(machinery), configuration(log) {}

    slib::Log* log;
    Machinery* machinery;
    slib::Mutex contextLifetimeMutex;  ///< the coming and going of contexts
    slib::Mutex apiMutex;              ///< serialises all calls of all of the game's threads
    orb3::SharedConfiguration configuration;
    Device device;
};

}  // namespace goal
