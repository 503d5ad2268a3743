#pragma once

// What all contexts and calls of the process share: the one device, the configuration, and the two outer
// locks.

#include <utility>

#include "goal/blockgate.h"
#include "goal/machinery.h"
#include "goal/sound/bufferpool.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/retirelist.h"

namespace goal {

struct Context;

/// The one device. Buffers live in it and outlive a context.
struct Device {
    BufferPool bufferPool;
    Context* context = nullptr;
};

/// Lock order: contextLifetimeMutex, apiMutex, then a context's stateMutex, then its timingMutex; the
/// configuration's mutex is taken below any of these, for single reads.
struct Engine {
    /// `log` and `machinery` are borrowed and outlive the engine. `autoselect` chooses the settings of a
    /// first start.
    Engine(slib::Log* log, Machinery* machinery, orb3::Autoselect autoselect = {})
        : log(log), machinery(machinery), configuration(log, std::move(autoselect)) {}

    slib::Log* log;
    Machinery* machinery;
    slib::Mutex contextLifetimeMutex;  ///< the coming and going of contexts
    slib::Mutex apiMutex;              ///< serialises all calls of all of the game's threads
    orb3::SharedConfiguration configuration;
    Device device SLIB_GUARDED_BY(apiMutex);
    BlockGate gate;            ///< of the server's blocks
    slib::RetireList retired;  ///< what the server has done with; every call frees it
};

}  // namespace goal
