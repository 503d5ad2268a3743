#include "tools/page/api/privatefile.h"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "slib/exception.h"

namespace page {
namespace {

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

PrivateFile::PrivateFile(std::string_view bytes, const std::string& ending) {
    std::string name = (std::filesystem::temp_directory_path() / "tessarune-XXXXXX").string() + ending;
    const int descriptor = mkstemps(name.data(), static_cast<int>(ending.size()));
    const bool isWritten = descriptor >= 0 && WriteAll(descriptor, bytes);
    const int error = errno;
    if (descriptor >= 0) {
        close(descriptor);
        path = name;
    }
    if (isWritten) return;
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove(path, ignored);
    errno = error;
    throw slib::OperatingSystemErrnoException(
        "What the page sent can't be kept. Free space in the folder for temporary files, or name another in "
        "TMPDIR.");
}

PrivateFile::~PrivateFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

std::string PrivateFile::Named(std::string sentence, const std::string& name) const {
    for (std::size_t at = 0; (at = sentence.find(path.string(), at)) != std::string::npos; at += name.size())
        sentence.replace(at, path.string().size(), name);
    return sentence;
}

}  // namespace page
