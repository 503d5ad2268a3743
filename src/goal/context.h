#pragma once

// One context: the state that a game sets, in its three records, and the server that renders it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "goal/blockgate.h"
#include "goal/configmonitor.h"
#include "goal/engine.h"
#include "goal/foldbackmanager.h"
#include "goal/recordingdesk.h"
#include "goal/serverthread.h"
#include "goal/state/enginestate.h"
#include "slib/mutex.h"

namespace goal {

/// Made by alcCreateContext, destroyed by alcDestroyContext. The monitor stops first, then the server, before
/// the state that it renders goes.
struct Context {
    /// Nothing runs yet; see ServerThread::Start. `engine` outlives the context.
    explicit Context(Engine& engine);
    /// With apiMutex held, after End.
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Ends the threads, of which the server needs apiMutex to reach its end: not to be held here, unless the
    /// server failed to start. A second time does nothing.
    void End();

    Engine& engine;
    std::size_t place = 0;       ///< in the device's table; set before the start
    const std::uint64_t number;  ///< of all contexts of the process; none has it twice

    slib::Mutex timingMutex;                              ///< what the server sets when a run begins:
    double sampleRate SLIB_GUARDED_BY(timingMutex) = 0;   ///< Hz
    double refreshRate SLIB_GUARDED_BY(timingMutex) = 0;  ///< blocks per second
    std::uint32_t blockFrames SLIB_GUARDED_BY(timingMutex) = 0;

    bool suspendUsed SLIB_GUARDED_BY(stateMutex) = false;  ///< set by the first alcSuspendContext
    std::int32_t filterOrderAttribute = 0;  ///< 1 or 2, or 0 when the game named none; set before the start

    RenderSnapshot snapshot;  ///< the server's own; no lock, but for what the record says
    ApplicationState application SLIB_GUARDED_BY(stateMutex);
    slib::Mutex stateMutex;
    std::uint32_t suspendCount = 0;  ///< guarded by apiMutex, as is the record that follows
    SuspendedState suspended;

    BlockGate gate;  ///< of the server's blocks
    FoldbackManager foldback;
    RecordingDesk recordings;
    ServerThread server;
    std::unique_ptr<ConfigMonitor> monitor;  ///< null where nothing is to be watched
};

/// The application state where the analysis can't tell what holds it: what only the game sets is read under
/// apiMutex alone, which keeps other calls away, and the lock for the rest depends on what a call does.
inline ApplicationState& SharedState(Context& context) SLIB_UNCHECKED_LOCKS {
    return context.application;
}
inline const ApplicationState& SharedState(const Context& context) SLIB_UNCHECKED_LOCKS {
    return context.application;
}

/// Notes for each buffer whose memory is the game's whether the coming snapshot may refer to it. With
/// apiMutex held.
void MarkBufferUsage(Context& context) SLIB_REQUIRES(context.engine.apiMutex);

/// The record that calls read and write, with apiMutex held: the suspended state while the context is
/// suspended, else the application state, which to change needs stateMutex.
inline SuspendedState& TargetState(Context& context) {
    return context.suspendCount > 0 ? context.suspended : SharedState(context);
}

/// True when `name` is that of an entry of `table` which isn't deleted.
template <typename Table>
bool IsLive(const Table& table, std::uint32_t name) {
    return name != 0 && name <= table.size && !table[name - 1].deleted;
}

/// One live source as a call sees it, for the length of the call, with apiMutex held. A change through it
/// also sets the flags by which the next copy, or the end of the suspension, finds the change.
class SourceAccess {
public:
    SourceAccess(Engine& engine, Context& context, std::uint32_t index)
        : engine(engine), context(context), state(TargetState(context)), index(index) {}

    /// The source in the record of TargetState: all that only the game sets.
    Source& Target() const { return state.sources[index]; }

    /// The source whose `position`, `queueIndex`, `queue`, `sourceType` and `state` hold. While the context
    /// is suspended the renderer still moves the application state's, until the game changes it. With
    /// stateMutex held.
    Source& PlayState() const { return FollowsRenderer() ? SharedState(context).sources[index] : Target(); }

    /// Target(), to change base parameters of.
    Source& ChangeParameters() const {
        state.touched.Insert(index);
        Target().parametersDirty = true;
        return Target();
    }

    /// Target(), to change the play state of: it has it as PlayState() did, and from here on what the
    /// renderer reports of it no longer counts. With stateMutex held.
    Source& ChangePlayState() const {
        state.touched.Insert(index);
        if (FollowsRenderer()) CopyPlayState(Target(), PlayState());
        Target().stateChanged = true;
        return Target();
    }

    /// PlayState(), to change what needs no restart of the source's memory: a pause, or the type. With
    /// stateMutex held.
    Source& TouchPlayState() const {
        (FollowsRenderer() ? SharedState(context) : state).touched.Insert(index);
        return PlayState();
    }

    /// Gives PlayState() another queue and current buffer, without a restart, and Target() the same. Returns
    /// the old queue. With stateMutex held. Throws slib::OutOfMemoryException and then changes nothing.
    BufferQueue ReplaceQueue(BufferQueue queue, std::uint32_t queueIndex) const {
        BufferQueue shared;
        if (FollowsRenderer()) shared = queue;
        Source& source = TouchPlayState();
        if (FollowsRenderer()) {
            Target().queue = std::move(shared);
            Target().queueIndex = queueIndex;
        }
        source.queueIndex = queueIndex;
        source.queueDirty = true;
        return std::exchange(source.queue, std::move(queue));
    }

    /// Mark, and builds what the renderer needs of the source to play it, the last that can fail. With
    /// stateMutex held. Throws slib::OutOfMemoryException.
    void PrepareToPlay() const {
        Mark();
        const Source& source = PlayState();
        if (context.suspendCount > 0 || source.queue.size == 0) return;
        PrepareVoice(SharedState(context), index, source.queue[0]->channels, source.sends.size, false);
    }

    /// Builds what the renderer needs of the source, where that plays, for other counts of channels or sends.
    /// With stateMutex held. Throws slib::OutOfMemoryException.
    void PrepareFor(std::uint32_t channels, std::uint32_t sends) const {
        if (index < SharedState(context).sources.size)
            PrepareShape(context.snapshot, SharedState(context), index, channels, sends);
    }

    /// Marks the source in both records, after which none of the changes above throws. For a call that
    /// changes many sources or none. Throws slib::OutOfMemoryException.
    void Mark() const {
        state.touched.Insert(index);
        if (FollowsRenderer()) SharedState(context).touched.Insert(index);
    }

    Engine& engine;
    Context& context;
    SuspendedState& state;  ///< of TargetState
    const std::uint32_t index;

private:
    bool FollowsRenderer() const {
        return context.suspendCount > 0 && !Target().stateChanged &&
               index < SharedState(context).sources.size;
    }
};

}  // namespace goal
