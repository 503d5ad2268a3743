#include "slib/filestream.h"

#include <fcntl.h>

namespace slib {

InputFile::InputFile(const std::string& path)
    : std::istream(nullptr),
      buffer(open(path.c_str(), O_RDONLY | O_CLOEXEC), std::ios::in | std::ios::binary) {
    rdbuf(&buffer);
    if (!buffer.is_open()) setstate(failbit);
}

OutputFile::OutputFile(const std::string& path)
    : std::ostream(nullptr),
      buffer(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666),
             std::ios::out | std::ios::binary) {
    rdbuf(&buffer);
    if (!buffer.is_open()) setstate(failbit);
}

}  // namespace slib
