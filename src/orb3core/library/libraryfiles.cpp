#include "orb3core/library/libraryfiles.h"

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "orb3core/transform/transformwriter.h"
#include "slib/digest.h"
#include "slib/exception.h"

namespace orb3::fl {
namespace {

constexpr std::string_view separators = "/\\";

}  // namespace

LibraryLock::LibraryLock(const std::string& path) : lock(path) {
    if (lock.IsHeld()) return;
    errno = 0;  // the last thing that was tried isn't what a person needs to know
    throw slib::OperatingSystemErrnoException("Failed to lock '" + path +
                                              "'. Its folder has to be one that can be written to.");
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
    if (!platform::ReplaceStoreFile(path, std::string(bytes)))
        throw slib::OperatingSystemErrnoException("Failed to write to file '" + path + "'.");
}

void ReplaceTransformFile(const std::string& path, const strans::TimeDomainTransform<double, 1>& transform) {
    std::ostringstream stream;
    strans::writeTransform(stream, transform, strans::TransformForm::Single);
    ReplaceFile(path, stream.view());
}

void RemoveFile(const std::string& path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    errno = error.value();
    if (error) throw slib::OperatingSystemErrnoException("Failed to remove file '" + path + "'.");
}

std::string FileNameFor(const std::string& name) {
    constexpr std::size_t greatestLength = 200;  // file systems take 255 bytes, extensions included
    const bool isPlain = name.find_first_of(separators) == std::string::npos &&
                         name.find('\0') == std::string::npos && name.size() <= greatestLength;
    return isPlain ? name : slib::hexText(slib::md5(name));
}

std::string FolderOf(const std::string& path) {
    return path.substr(0, path.find_last_of(separators) + 1);
}

}  // namespace orb3::fl
