#pragma once

// The file of a recording while a game runs. The game's threads put records into a queue, and a thread of its
// own writes them a hundredth of a second later, so that no call waits for the disk and a crash loses next to
// nothing:
//
//     game's threads:  Append, AppendSamples ──> queue, bounded ──> thread "Recorder": digests, file
//
// What doesn't fit (a queue that is full, the limit, a disk that is full) stops the recording, and the end of
// the file tells how much is missing.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "app/recording/records.h"
#include "platform/gamefile.h"
#include "slib/mutex.h"
#include "slib/thread.h"

namespace recorder {

class Tape : public slib::Thread {
public:
    /// Makes a file at `path`, or where one is there already at "path-2", "path-3" and so on, of about
    /// `limit` bytes at most. Throws slib::OperatingSystemErrnoException, and what Thread::Start throws.
    Tape(const std::string& path, std::uint64_t limit);
    /// End must have been called.
    ~Tape() override = default;

    /// True when nothing more is recorded; from then on CountMissing gets what is left out. Any thread.
    bool IsStopped() const { return isStopped.load(std::memory_order_relaxed); }
    void CountMissing() { missing.fetch_add(1, std::memory_order_relaxed); }

    /// Puts whole records into the queue, of which one is a call. Any thread, one at a time. False when the
    /// recording has stopped. Throws std::bad_alloc.
    [[nodiscard]] bool Append(std::string_view records);
    /// The next samples. As Append.
    [[nodiscard]] bool AppendSamples(const void* bytes, std::size_t size);
    /// Any thread; the first reason counts.
    void StopFor(recording::Reason why);

    /// Asks for the end: what is in the queue is still written. From a handler of a signal, too.
    void RequestLast();
    /// True when that is over.
    [[nodiscard]] bool WaitForLast(std::uint32_t milliseconds) { return over.WaitFor(milliseconds); }
    /// As RequestLast, and waits for the thread.
    void End();

private:
    struct Chunk {
        std::string bytes;
        std::uint32_t calls = 0;
        bool isSamples = false;
    };

    void Run() override;
    void Open();
    void WriteQueue();
    void WriteChunk(const Chunk& chunk);
    void CutOff(recording::Reason why);
    std::string SamplesRecord(const std::string& bytes);
    void WriteEnd();
    bool Put(std::string_view bytes);
    bool MakeRoom(std::size_t bytes) SLIB_REQUIRES(queueMutex);

    const std::string path;
    const std::uint64_t limit;

    std::atomic<bool> isStopped{false};
    std::atomic<recording::Reason> reason{recording::Reason::Limit};
    std::atomic<std::uint64_t> missing{0};
    std::atomic<bool> isLast{false};
    slib::Semaphore wake;
    slib::Semaphore over;

    slib::Mutex queueMutex;
    std::deque<Chunk> queue SLIB_GUARDED_BY(queueMutex);
    std::size_t queuedBytes SLIB_GUARDED_BY(queueMutex) = 0;

    // The thread's own.
    std::string name;
    std::unique_ptr<platform::GameFile> file;
    std::uint64_t written = 0;                                    // bytes
    bool isCutOff = false;                                        // nothing more is written but the end
    std::map<std::array<std::uint8_t, 16>, std::uint64_t> known;  // samples by their digests
    std::uint64_t samples = 0;
};

}  // namespace recorder
