#pragma once

// The log that keeps its last 100 lines in the configuration store, for all processes of the user together.

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "slib/log.h"
#include "slib/mutex.h"

namespace ggui {

/// Writes lines like "I2012-03-04 05:06:07.89 Tessarune: Rendering started." into the ring "/Log/000" to
/// "/Log/099" of the user's store; "/Log/Index" is the slot written last. The first 25 errors of a process
/// are kept, the 26th becomes "[Suppressing further errors.]", and later ones go nowhere; other lines never
/// stop.
///
/// Lines go through a queue to a thread "Log", which is there while there is something to write, and for half
/// a second more. Whoever logs waits for no file. What can't be written for now stays in the queue; lines
/// that find it full are counted, and one line says how many there were. Where the system gives no thread the
/// next line asks again, and Flush and Close write on the calling thread. A child that the game forked has no
/// such thread, and writes each line itself, taking no lock that another thread may have held at the fork.
class RegistryLog : public slib::Log {
public:
    /// So many lines wait at most.
    static constexpr std::size_t mostWaiting = 1000;
    /// For that long the end waits for a lock that another process holds.
    static constexpr std::chrono::milliseconds longestFlush{500};

    /// `root` is the store's root, `program` the name in each line.
    RegistryLog(std::string root, const std::string& program);
    /// Closes it.
    ~RegistryLog() override;

    /// Any thread, with any locks. Throws std::bad_alloc and nothing else.
    void Write(const std::string& text, bool isError) override;

    /// Writes all lines that are waiting, on the calling thread; false when that took longer than `atMost`.
    bool Flush(std::chrono::milliseconds atMost = longestFlush);

    /// Ends the thread, flushes and gives back all memory. Later lines are lost. The caller holds no lock
    /// that a thread which logs may wait for.
    void Close();

private:
    class Writer;

    bool CountError(std::string& line, const std::string& time);
    void WriteAtOnce(std::string line, const std::string& time, bool isError);
    void Wake() SLIB_REQUIRES(mutex);
    bool WriteWaiting();
    void TakeWaiting() SLIB_REQUIRES(writing);
    bool MayEnd();

    const pid_t owner;
    const std::string root;
    const std::string name;  // " program: "

    slib::Mutex writing;  // the work on the file; taken before the other
    std::vector<std::string> taken SLIB_GUARDED_BY(writing);

    slib::Mutex mutex;                      // the order of the lines, too
    std::atomic<std::uint32_t> errorCount;  // changes under it, but for a forked child
    std::vector<std::string> waiting SLIB_GUARDED_BY(mutex);
    std::size_t takenCount SLIB_GUARDED_BY(mutex) = 0;      // the lines in `taken`
    std::uint64_t leftOutCount SLIB_GUARDED_BY(mutex) = 0;  // since the last of `waiting`
    std::unique_ptr<Writer> writer SLIB_GUARDED_BY(mutex);
    bool isEnding SLIB_GUARDED_BY(mutex) = false;  // no thread is started any more
    bool isClosed SLIB_GUARDED_BY(mutex) = false;
};

}  // namespace ggui
