#include "slib/memorystreambuffer.h"

#include <algorithm>

namespace slib {

MemoryStreamBuffer::MemoryStreamBuffer(const char* begin, const char* end)
    : begin(begin), end(end), cursor(begin) {}

MemoryStreamBuffer::int_type MemoryStreamBuffer::pbackfail(int_type c) {
    const int_type any = traits_type::eof();
    if (cursor == begin) return any;
    const int_type before = traits_type::to_int_type(cursor[-1]);
    if (c != any && c != before) return any;
    --cursor;
    return before;
}

std::streamsize MemoryStreamBuffer::showmanyc() {
    return end - cursor;
}

MemoryStreamBuffer::int_type MemoryStreamBuffer::underflow() {
    return cursor == end ? traits_type::eof() : traits_type::to_int_type(*cursor);
}

MemoryStreamBuffer::int_type MemoryStreamBuffer::uflow() {
    return cursor == end ? traits_type::eof() : traits_type::to_int_type(*cursor++);
}

std::streamsize MemoryStreamBuffer::xsgetn(char* destination, std::streamsize count) {
    const std::streamsize taken = std::min<std::streamsize>(count, end - cursor);
    if (taken <= 0) return 0;
    std::copy_n(cursor, taken, destination);
    cursor += taken;
    return taken;
}

MemoryStreamBuffer::pos_type MemoryStreamBuffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                                         std::ios_base::openmode side) {
    const char* base = begin;
    if (from == std::ios_base::cur) base = cursor;
    if (from == std::ios_base::end) base = end;
    const bool isInside = offset >= begin - base && offset < end - base;
    if (!isInside || (side & std::ios_base::out) != 0) return pos_type(off_type(-1));
    cursor = base + offset;
    return pos_type(cursor - begin);
}

MemoryStreamBuffer::pos_type MemoryStreamBuffer::seekpos(pos_type position, std::ios_base::openmode side) {
    return seekoff(off_type(position), std::ios_base::beg, side);
}

}  // namespace slib
