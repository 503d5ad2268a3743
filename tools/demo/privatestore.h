#pragma once

// A user's store of this process's own, for settings that are to hold for one run. Made before the library is
// called, on the main thread, for it changes the environment.

#include <filesystem>
#include <string>

#include "slib/standardformats.h"

namespace demo {

/// Starts as a copy of the user's store, and is deleted at the end of the scope.
class PrivateStore {
public:
    /// Throws slib::StringException when there is no room for it.
    PrivateStore();
    ~PrivateStore();
    PrivateStore(const PrivateStore&) = delete;
    PrivateStore& operator=(const PrivateStore&) = delete;

    /// From now on contexts play into this file.
    void PlayInto(const std::string& waveFile) const;

    /// From now on these are the system's speakers, and the layout follows them.
    void TakeSpeakers(slib::StandardFormat format) const;

private:
    std::filesystem::path folder;
};

}  // namespace demo
