#pragma once

// The watch on the stored configuration: a change that another process makes there reaches a running game. So
// does what it is asked to record.
//
//     store ──every two seconds──> document ── differs from the one in force? ──> pending configuration
//                                                                                 ──> the server restarts

#include "goal/recordingdesk.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "slib/mutex.h"
#include "slib/thread.h"

namespace goal {

/// One for each context, from its beginning to its end. It and the server share the pending configuration and
/// its flag, and nothing else. A document that is missing, half written or wrong changes nothing and isn't
/// logged.
class ConfigMonitor : public slib::Thread {
public:
    /// Starts at once. Both are borrowed and outlive this object. Throws what Thread::Start throws.
    ConfigMonitor(orb3::SharedConfiguration& shared, RecordingDesk& recordings);
    /// Stops the thread; waits for a check that is under way.
    ~ConfigMonitor() override;

    /// One look at the store: gives the stored document to the server when it differs from the configuration
    /// in force. While nothing has been loaded there is nothing to compare with, and nothing is done. Throws
    /// slib::BadDataException when there is no document that can be used.
    static void CheckConfiguration(orb3::SharedConfiguration& shared);

private:
    void Run() override;

    orb3::SharedConfiguration& shared;
    RecordingDesk& recordings;
    slib::Semaphore stopping;
};

}  // namespace goal
