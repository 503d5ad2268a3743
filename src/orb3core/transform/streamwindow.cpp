#include "orb3core/transform/streamwindow.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <ios>

#include "slib/exception.h"

namespace orb3::strans {
namespace {

constexpr std::streamoff nowhere = -1;

std::streambuf& SourceOf(const std::istream& stream) {
    errno = 0;  // what went wrong earlier and elsewhere isn't the reason of a failure here
    if (!stream || stream.rdbuf() == nullptr)
        throw slib::OperatingSystemErrnoException("Unable to read a transform from a stream.");
    return *stream.rdbuf();
}

// Goes by way of the last byte, for a stream over memory doesn't seek to its very end.
std::uint64_t BytesAhead(std::streambuf& source, std::streampos here) {
    if (here == std::streampos(nowhere)) return 0;
    const std::streampos last = source.pubseekoff(-1, std::ios::end, std::ios::in);
    if (last == std::streampos(nowhere)) return 0;
    source.pubseekpos(here, std::ios::in);
    const std::streamoff count = last - here;
    return count < 0 ? 0 : static_cast<std::uint64_t>(count) + 1;
}

}  // namespace

StreamWindow::StreamWindow(std::istream& stream)
    : source(SourceOf(stream)),
      origin(source.pubseekoff(0, std::ios::cur, std::ios::in)),
      ahead(BytesAhead(source, origin)),
      bytes(std::make_unique_for_overwrite<unsigned char[]>(capacity)) {
    next = end = bytes.get();
}

StreamWindow::~StreamWindow() {
    const std::uint64_t used = Used() - givenBack;
    if (used == fetched) return;
    try {
        source.pubseekpos(origin + static_cast<std::streamoff>(used), std::ios::in);
    } catch (const std::exception&) {
        isBroken = true;  // a position that is lost shows at the next read
    }
}

bool StreamWindow::Fetch(std::size_t count) {
    const std::size_t kept = AtHand();
    if (kept >= count) return true;
    std::memmove(bytes.get(), next, kept);
    const std::size_t added = Read(bytes.get() + kept, capacity - kept);
    ahead -= added < ahead ? added : ahead;
    fetched += added;
    next = bytes.get();
    end = next + kept + added;
    return AtHand() >= count;
}

// A stream buffer over a file throws when the system reports a failure.
std::size_t StreamWindow::Read(unsigned char* to, std::size_t count) {
    try {
        const auto got = source.sgetn(reinterpret_cast<char*>(to), static_cast<std::streamsize>(count));
        return static_cast<std::size_t>(got);
    } catch (const std::exception&) {
        isBroken = true;
        return 0;
    }
}

}  // namespace orb3::strans
