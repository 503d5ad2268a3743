#pragma once

// How far a long work is, for the person before the terminal: a line on standard error that comes after a
// second and is gone at the end. Nothing where standard error is no terminal. The programs make one around a
// work, on the thread that does it; a thread of its own writes the line.

#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "slib/mutex.h"
#include "slib/thread.h"

namespace tool {

class Progress : private slib::Thread {
public:
    /// "Designing decoders" is shown as "Designing decoders ... 3 s". Within another one nothing is shown of
    /// it. `descriptor` is borrowed.
    explicit Progress(std::string work, std::chrono::milliseconds patience = std::chrono::seconds(1),
                      int descriptor = STDERR_FILENO);
    ~Progress() override;

    /// The step that begins now, of so many: "Designing decoders, 3 of 12: Quad ... 3 s".
    void Step(std::size_t number, std::size_t all, const std::string& name);

    /// Erases the line of whichever there is, until it is written anew, for something else to be printed.
    static void Hide();

private:
    using Clock = std::chrono::steady_clock;

    void Run() override;
    void Show();

    const std::string work;
    const std::chrono::milliseconds patience;
    const int descriptor;
    const Clock::time_point begin = Clock::now();
    bool isFirst = false;  // within no other
    slib::Semaphore ending;
    slib::Mutex mutex;
    std::string step SLIB_GUARDED_BY(mutex);
};

}  // namespace tool
