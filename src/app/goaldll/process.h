#pragma once

// The state of the process behind the exported calls: alive from the load of the library to its unload, and
// usable even beyond, by a game's threads that are still inside a call while another one ends the process.

#include <atomic>
#include <string>
#include <string_view>

#include "app/goaldll/capture.h"
#include "app/goaldll/ending.h"
#include "goal/context.h"
#include "goal/engine.h"
#include "goal/outputmachinery.h"
#include "orb3core/store/registrylog.h"

namespace goal {

/// An error slot. The first code stays until it is taken. Any thread.
class ErrorSlot {
public:
    void Record(int newCode) {
        int none = 0;
        code.compare_exchange_strong(none, newCode);
    }

    /// The code, 0 for none; the slot is empty afterwards.
    int Take() { return code.exchange(0); }

private:
    std::atomic<int> code{0};
};

/// One for the process.
struct Process {
    Process();

    ggui::RegistryLog log;
    OutputMachinery machinery;
    Engine engine;
    CaptureDevices captures;
    bool isCaptureOn SLIB_GUARDED_BY(engine.apiMutex) = false;           ///< the game may record
    Context* currentContext SLIB_GUARDED_BY(engine.apiMutex) = nullptr;  ///< as the game gave it
    ErrorSlot alcError;
    ErrorSlot alError;
    /// Of alcGetString; built at the first query.
    std::string deviceList SLIB_GUARDED_BY(engine.configuration.configurationMutex);
    bool isUnloading SLIB_GUARDED_BY(engine.apiMutex) = false;  ///< no context comes into being any more
    int callsUnderWay SLIB_GUARDED_BY(engine.apiMutex) = 0;
    Ending ending;  ///< prepared while there is a context

    /// Records `code` in the slot of the ALC or the AL calls, and logs "Game ALC call failed: " or "Game AL
    /// call failed: " and `text` when logging is verbose. Never throws.
    void FailAlc(std::string_view text, int code) noexcept;
    void FailAl(std::string_view text, int code) noexcept;

    /// Writes `prefix` and `text` as an error line when logging is verbose, or always when `always` is set.
    /// False when there was no memory for that. Never throws.
    bool LogCallFailure(const char* prefix, std::string_view text, bool always) noexcept;

    /// Ends the context, if there is one, closes what is recorded from, and gives back all memory. What is
    /// called afterwards finds a device that makes no context.
    void ShutDown();

    /// In a child that the game forked, before anything else runs there. No thread of ours exists in it.
    /// Where there was neither a context, a capture device nor a call under way all is as it was in the
    /// parent; otherwise the memory may be in the middle of a change by a thread that is gone, and every call
    /// is refused from then on.
    void ContinueInChild() noexcept;
};

Process& TheProcess();

/// The context that calls work on: the current one, as long as it is the device's. Whatever else a game made
/// current counts as none.
inline Context* CurrentContext(Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
    Context* const context = process.engine.device.context;
    return context == process.currentContext ? context : nullptr;
}

/// Before the first context: lets the end of the library know that it is the end of the process too.
void NoteExit();

/// True once `exit` was called after NoteExit: threads of ours may outlast the library's end then.
bool HasExitBegun();

/// Stops and frees the device's context, which isn't current any more; null does nothing. Until its server
/// has ended it stays the device's, so that what the server may still read isn't freed by other calls. The
/// caller doesn't hold apiMutex.
void DestroyContext(Process& process, Context* context) SLIB_REQUIRES(process.engine.contextLifetimeMutex);

}  // namespace goal
