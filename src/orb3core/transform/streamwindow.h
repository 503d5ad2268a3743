#pragma once

// A window that moves over the bytes of a stream, fetched in large blocks, for the readers of stored
// transforms. Lives while one transform is read, on the thread that reads it. The stream is worked through
// its buffer, so that its state and its exception mask are left alone.

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>

namespace orb3::strans {

class StreamWindow {
public:
    /// The most bytes that can be asked for at once.
    static constexpr std::size_t capacity = std::size_t{1} << 17;

    /// Starts at the stream's position. The stream has to be one that can seek, and outlive the window.
    /// Throws slib::OperatingSystemErrnoException when it is bad already.
    explicit StreamWindow(std::istream& stream);

    /// Takes the stream back to the first byte that wasn't used.
    ~StreamWindow();

    StreamWindow(const StreamWindow&) = delete;
    StreamWindow& operator=(const StreamWindow&) = delete;

    /// The buffered bytes, valid up to the next Fetch. Using some means moving `next` on, by as many.
    const unsigned char* next = nullptr;
    const unsigned char* end = nullptr;

    std::size_t AtHand() const { return static_cast<std::size_t>(end - next); }

    /// Buffers `count` bytes, at most `capacity`; false, with those that there are, when the stream ends
    /// before or fails.
    [[nodiscard]] bool Fetch(std::size_t count);

    /// Bytes from `next` to the end of the stream; 0 for a stream that can't tell.
    std::uint64_t Remaining() const { return AtHand() + ahead; }

    /// Bytes used so far.
    std::uint64_t Used() const { return fetched - AtHand(); }

    /// Counts the last `count` bytes that were used as unused. They aren't buffered again: nothing may be
    /// read from then on.
    void GiveBack(std::size_t count) { givenBack += count; }

    bool isBroken = false;  ///< A read failed, which is another thing than an end.

private:
    std::size_t Read(unsigned char* to, std::size_t count);

    std::streambuf& source;
    std::streampos origin;
    std::uint64_t ahead = 0;    // bytes of the stream not fetched yet
    std::uint64_t fetched = 0;  // since the start
    std::uint64_t givenBack = 0;
    std::unique_ptr<unsigned char[]> bytes;
};

}  // namespace orb3::strans
