#include "slib/exception.h"

#include <string_view>

#include <cerrno>
#include <system_error>
#include <utility>

namespace slib {
namespace {

std::string WithErrno(const std::string& text) {
    const int code = errno;
    return code == 0 ? text : text + " [" + std::generic_category().message(code) + "]";
}

std::string WithLastError(const std::string& text) {
    const int code = errno;
    return code == 0 ? text : text + " [Error " + std::to_string(code) + "]";
}

}  // namespace

const char* Exception::what() const noexcept {
    return "An unspecified failure occurred.";
}

const char* OutOfMemoryException::what() const noexcept {
    return "Out of memory.";
}

StringException::StringException(std::string text) : text(std::move(text)) {}

const char* StringException::what() const noexcept {
    return text.c_str();
}

OperatingSystemErrnoException::OperatingSystemErrnoException(const std::string& text)
    : OperatingSystemBaseException(WithErrno(text)) {}

OperatingSystemGetLastErrorException::OperatingSystemGetLastErrorException(const std::string& text)
    : OperatingSystemBaseException(WithLastError(text)) {}

namespace {

// From what the compiler was given, "../../src/slib/task.cpp" or the like, to "slib/task".
std::string SourcePath(std::string_view file) {
    constexpr std::string_view root = "/src/";
    if (const auto found = file.rfind(root); found != file.npos) file.remove_prefix(found + root.size());
    return std::string(file.substr(0, file.rfind('.')));
}

}  // namespace

void ThrowUnreachable(const SourceLocation& where) {
    ThrowUnreachable(SourcePath(where.file).c_str(), where.line);
}

void ThrowUnreachable(const char* file, int line) {
    throw IntegrityFailureException("There was an assertion failure on line " + std::to_string(line) +
                                    " of file '" + file +
                                    "'. The assertion was: Line should never be reached.");
}

}  // namespace slib
