#pragma once

// What a program that plays may want to know of its output. Any thread; no lock.

#include <atomic>
#include <cstdint>

namespace platform {

struct OutputNews {
    std::atomic<bool> hasChanged{false};          ///< the output would be opened differently now
    std::atomic<std::uint32_t> returns{0};        ///< of one that had gone away, or was replaced
    std::atomic<bool> isAway{false};              ///< it went away, and is looked for: nothing is heard
    std::atomic<std::uint32_t> interruptions{0};  ///< of the sound so far, since something was late
    std::atomic<bool> isPatient{false};           ///< it waits for what is late, however long that takes
};

}  // namespace platform
