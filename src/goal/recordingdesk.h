#pragma once

// Where what a person asks to be recorded meets what a context renders. The monitor brings requests, the
// server's thread opens and closes the runs and, with the decoder's, brings the blocks:
//
//     monitor ──Ask──> desk <──BeginRun, EndRun── server
//                       │ one recorder for each signal, while there are a request and a run
//     blocks ──Tap──────┘
//
// A run that begins anew, as with other settings, goes into files of its own.

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "goal/recordingrequest.h"
#include "goal/soundrecorder.h"
#include "numeric/bus.h"
#include "orb3core/decoder/outputtap.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/realtime.h"

namespace goal {

/// What a run makes.
struct RunShape {
    std::uint32_t rate = 0;         ///< Hz
    std::uint32_t blockFrames = 0;  ///< of a block
    unsigned order = 1;             ///< of the bus
    std::uint32_t outputs = 0;      ///< of the decoder
};

/// A recorder's way to the thread that makes its blocks, which never waits for it.
class RecorderTap : public orb3::OutputTap {
public:
    /// Null where nothing is recorded. Returns when no block goes to the one before any more, within the time
    /// of a copy. Not the thread that makes the blocks.
    void Set(SoundRecorder* other);

    /// Whether somebody records.
    bool IsInUse() const SLIB_NONBLOCKING { return recorder.load(std::memory_order_relaxed) != nullptr; }

    void Take(const float* block) SLIB_NONBLOCKING override;
    void Take(const hcml::ac::Bus& block) SLIB_NONBLOCKING;

private:
    template <typename Work>
    void WithRecorder(const Work& work);

    std::atomic<SoundRecorder*> recorder{nullptr};
    std::atomic<bool> isBusy{false};
};

class RecordingDesk {
public:
    /// `log` is borrowed.
    explicit RecordingDesk(slib::Log* log) : log(log) {}
    ~RecordingDesk() { Ask({}); }

    /// The monitor's thread. The same request again changes nothing; none ends the recording.
    void Ask(const std::optional<RecordingRequest>& request) noexcept;

    /// The server's thread, between whose calls blocks come.
    void BeginRun(const RunShape& shape) noexcept;
    void EndRun() noexcept;

    RecorderTap field, output;

private:
    void Open() SLIB_REQUIRES(mutex);
    void Close() SLIB_REQUIRES(mutex);

    slib::Log* const log;
    slib::Mutex mutex;
    std::optional<RecordingRequest> wanted SLIB_GUARDED_BY(mutex);
    std::optional<RunShape> run SLIB_GUARDED_BY(mutex);
    std::unique_ptr<SoundRecorder> fieldRecorder SLIB_GUARDED_BY(mutex);
    std::unique_ptr<SoundRecorder> outputRecorder SLIB_GUARDED_BY(mutex);
};

}  // namespace goal
