#pragma once

// A connection of a client, read and written against a clock: a client that is slow, or says nothing, loses
// it. For one worker at a time.

#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

#include "tools/page/server/descriptor.h"
#include "tools/page/server/endsignal.h"

namespace page {

class Channel {
public:
    using Clock = std::chrono::steady_clock;

    /// Takes the socket, which doesn't block. `ending`, which outlives it, ends all waiting.
    Channel(Descriptor socket, const EndSignal& ending);

    /// Bytes from now on, of which `most` may come until then: for the head of a request, and for its body.
    void Expect(std::size_t most, std::chrono::milliseconds patience);

    /// As `read` of the system: 0 at the end, and below 0 when the time or what may come is over.
    ssize_t Read(char* bytes, std::size_t count);

    /// All of it, or below 0.
    ssize_t Write(const char* bytes, std::size_t count);

    /// Says that nothing more comes, and takes what the client still sends for a moment, as it would
    /// otherwise lose the answer that it hasn't read.
    void Finish();

    /// The client's address as a text.
    [[nodiscard]] std::string Peer() const;

    Descriptor socket;

private:
    bool Await(short events, Clock::time_point until) const;

    const EndSignal& ending;
    std::array<char, 16384> buffer{};
    std::size_t first = 0, last = 0;  // of what is in the buffer
    std::size_t left = 0;             // bytes that may still come
    Clock::time_point deadline{};
};

}  // namespace page
