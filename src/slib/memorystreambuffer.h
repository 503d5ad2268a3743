#pragma once

// Lets a std::istream read a block of memory, so that a library held in memory is read by the same code as
// one in a file. Owned and used by one thread at a time.

#include <ios>
#include <streambuf>

namespace slib {

/// Reads the bytes from `begin` to `end`, which stay the caller's and have to outlive the buffer. There is
/// nothing to write to: the output side refuses everything.
class MemoryStreamBuffer : public std::basic_streambuf<char> {
public:
    const char* begin;   ///< first byte
    const char* end;     ///< after the last byte
    const char* cursor;  ///< the next byte to read

    MemoryStreamBuffer(const char* begin, const char* end);

protected:
    /// Steps back one byte unless the cursor is at `begin`, or `c` is a byte that isn't there.
    int_type pbackfail(int_type c) override;
    /// The bytes left.
    std::streamsize showmanyc() override;
    int_type underflow() override;
    int_type uflow() override;
    std::streamsize xsgetn(char* destination, std::streamsize count) override;

    /// Both take positions from `begin` up to the last byte and return the offset from `begin`. For any other
    /// one, `end` included, and for the output side, they return -1 and the cursor stays.
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode side) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode side) override;
};

}  // namespace slib
