#pragma once

// Files as streams, for readers and writers that seek. Unlike the standard library's file streams these leave
// no descriptor to the programs that the game starts. No state beside the stream; usable from any thread.

#include <ext/stdio_filebuf.h>

#include <istream>
#include <ostream>
#include <string>

namespace slib {

/// What opening a file came to: a descriptor, or the reason why there is none.
struct OpenedFile {
    int descriptor;
    int error;
};

/// Reads a file's bytes. The stream has failed from the start, with the reason in errno, when the file can't
/// be opened.
class InputFile : public std::istream {
public:
    explicit InputFile(const std::string& path);

private:
    explicit InputFile(const OpenedFile& file);
    __gnu_cxx::stdio_filebuf<char> buffer;
};

/// Creates the file, or empties it, for bytes to be written. Fails as InputFile does. What didn't fit the
/// disk shows in the stream after `flush`.
class OutputFile : public std::ostream {
public:
    explicit OutputFile(const std::string& path);

private:
    explicit OutputFile(const OpenedFile& file);
    __gnu_cxx::stdio_filebuf<char> buffer;
};

}  // namespace slib
