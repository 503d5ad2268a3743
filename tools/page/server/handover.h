#pragma once

// How a browser gets the token: by a file that only this user can read, which leads to the page with the
// token in the address's fragment. That part is sent to no server and written to no list of processes.

#include <filesystem>
#include <string>

#include "slib/mutex.h"

namespace page {

/// 128 bits of the system's random numbers, in 32 hexadecimal digits. Throws
/// slib::OperatingSystemErrnoException where it has none.
std::string MakeToken();

/// The address of the page without the token: "http://127.0.0.1:43211/".
std::string AddressOf(int port);

/// The file; any thread.
class Handover {
public:
    /// In `folder`, which is closed to others. Nothing is written yet.
    Handover(const std::filesystem::path& folder, std::string token);
    /// As Remove.
    ~Handover();
    Handover(const Handover&) = delete;
    Handover& operator=(const Handover&) = delete;

    /// Makes the file anew, for the user alone, to lead to the page at `address`. Throws
    /// slib::OperatingSystemErrnoException.
    void Write(const std::string& address);
    /// Once the page has its token.
    void Remove();

    static std::filesystem::path FileIn(const std::filesystem::path& folder) { return folder / "page.html"; }

private:
    const std::filesystem::path file;
    const std::string token;
    slib::Mutex mutex;
};

}  // namespace page
