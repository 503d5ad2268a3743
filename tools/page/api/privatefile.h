#pragma once

// Bytes that the page sent, as a file for the functions that read files. One thread.

#include <filesystem>
#include <string>
#include <string_view>

namespace page {

/// A file of nobody else's, in the folder for temporary ones, gone at the end of the scope.
class PrivateFile {
public:
    /// Throws slib::OperatingSystemErrnoException where there is no room for it.
    PrivateFile(std::string_view bytes, const std::string& ending);
    ~PrivateFile();
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;

    /// A sentence about the file, with the name that the person knows in place of its path.
    std::string Named(std::string sentence, const std::string& name) const;

    std::filesystem::path path;
};

}  // namespace page
