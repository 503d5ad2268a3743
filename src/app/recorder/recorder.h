#pragma once

// What stands behind the exported calls of the recorder: the library that they are passed on to, and the
// recording. Alive from load to unload, and usable beyond, by threads that are still inside a call. The file
// is made at the first call.
//
// Calls are passed on one at a time, which the library does anyway, so that their order in the file is that
// in which it took them. Only those that may wait for threads of the library's (a context that comes or goes)
// are passed on side by side with others, and written down when they are over: the game's foldback callback
// may make calls meanwhile, and be waited for.

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/recorder/tape.h"
#include "app/recording/bytes.h"
#include "app/recording/calltable.h"
#include "slib/mutex.h"

namespace recorder {

class Recorder {
public:
    /// Opens the library beside this one and reads what the environment says of the recording. Nothing is
    /// written yet.
    Recorder();

    /// True while calls are to be written down. Any thread; no lock.
    bool IsOn() const { return state.load(std::memory_order_acquire) != State::Off; }
    /// The library's function, null where there is none.
    void* Function(std::size_t index) const { return functions[index].load(std::memory_order_relaxed); }
    /// What the library gave for a name: ours in its place, where the table knows the name.
    void* EntryFor(const char* name, void* function);

    /// Writes one call down, if the recording is on: `encode` writes its arguments and result. Under the lock
    /// of a Turn. Never throws.
    template <typename Encode>
    void Note(std::size_t index, const Encode& encode) noexcept {
        if (!IsTaking()) return;
        try {
            BeginCall(index);
            encode();
            EndCall(index);
        } catch (...) {
            LoseCall();
        }
    }

    // For encoders.
    void PutHandle(const void* handle);
    void PutSamples(const void* bytes, std::size_t size);
    recording::ByteWriter writer;  ///< of the call under way

    /// In a child that the game forked: nothing is recorded there, if anything was before.
    void ContinueInChild() noexcept;
    /// Ends the recording. As `exit` calls it: from anywhere, without a lock, and within that time.
    void EndWithin(std::uint32_t milliseconds);
    /// Ends the recording and closes the library, for an unload.
    void Close();

    slib::Mutex mutex;             ///< the calls, and all that follows
    int depth = 0;                 ///< of calls inside calls: the library makes some of its own
    std::atomic<int> underWay{0};  ///< calls

private:
    enum class State { Ready, On, Off };

    void Begin();
    bool IsTaking() noexcept;
    void BeginCall(std::size_t index);
    void EndCall(std::size_t index);
    void LoseCall() noexcept;
    void PutNote(const char* name, const std::string& value);
    void PutTime();
    void PutThread();

    void* library = nullptr;
    std::array<std::atomic<void*>, recording::callCount> functions{};
    std::string path;
    std::uint64_t limit = 0;
    std::atomic<State> state{State::Off};
    std::unique_ptr<Tape> tape;

    std::string records;   // what comes before the call under way, and that
    std::string prologue;  // what comes before the first
    std::array<std::uint64_t, recording::callCount> numbers{};  // of functions and 1, 0 for none yet
    std::uint64_t functionCount = 0;
    std::vector<pthread_t> threads;
    std::size_t thread = 0;
    std::map<const void*, std::uint64_t> handles;
    std::uint64_t samples = 0;
    std::int64_t start = 0, last = 0;  // microseconds
};

Recorder& TheRecorder();

/// Our function of a row, for GetProcAddress. Defined with the exported ones (entries.cmake).
void* EntryOf(std::size_t index);

/// Before the first context, and the recording: lets the end of this library know that it is the end of the
/// process too.
void NoteExit();

/// True once `exit` was called after NoteExit: threads may outlast this library's end then.
bool HasExitBegun();

}  // namespace recorder
