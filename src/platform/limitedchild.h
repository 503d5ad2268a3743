#pragma once

// Work on what strangers wrote, such as the parsing of a file by a library that wasn't made for hostile ones:
// in a child process that can do little harm, and whose end is nothing to this one. For programs; never in a
// game.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace platform {

struct ChildLimits {
    std::uint64_t memory = std::uint64_t{2} << 30;  ///< bytes of address space; none below a sanitizer
    unsigned processorSeconds = 20;
    std::size_t replyLength = std::size_t{1} << 28;  ///< bytes
    std::chrono::milliseconds patience{60000};       ///< until the child is ended
};

struct ChildOutcome {
    enum class End {
        Reply,    ///< `text` is what the work returned
        Refusal,  ///< the work threw, and `text` says why
        Failure,  ///< `text` is what ended the child: "signal 11", "its time was over" and the like
    };
    End end = End::Failure;
    std::string text;
};

/// Runs `work` in a forked child, which writes no file and leaves no core. No other thread of the process may
/// hold a lock that the work takes, as it would stay held in the child; those of the C library's memory and
/// streams are free there. A child that hangs all the same is ended when its time is over. Throws
/// slib::OperatingSystemErrnoException when there can be no child.
ChildOutcome RunInLimitedChild(const std::function<std::string()>& work, const ChildLimits& limits = {});

}  // namespace platform
