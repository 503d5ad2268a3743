#include "slib/filestream.h"

#include <fcntl.h>

#include <cerrno>

namespace slib {

namespace {

OpenedFile Open(const std::string& path, int flags) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC, 0666);
    return {descriptor, descriptor < 0 ? errno : 0};
}

}  // namespace

InputFile::InputFile(const std::string& path) : InputFile(Open(path, O_RDONLY)) {}

InputFile::InputFile(const OpenedFile& file)
    : std::istream(nullptr), buffer(file.descriptor, std::ios::in | std::ios::binary) {
    rdbuf(&buffer);
    if (file.error != 0) setstate(failbit);
    errno = file.error;
}

OutputFile::OutputFile(const std::string& path) : OutputFile(Open(path, O_WRONLY | O_CREAT | O_TRUNC)) {}

OutputFile::OutputFile(const OpenedFile& file)
    : std::ostream(nullptr), buffer(file.descriptor, std::ios::out | std::ios::binary) {
    rdbuf(&buffer);
    if (file.error != 0) setstate(failbit);
    errno = file.error;
}

}  // namespace slib
