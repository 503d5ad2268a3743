#pragma once

// A user's store of this process's own, for settings that are to hold for one run. Made before the library is
// called, on the main thread, for it changes the environment.

#include <filesystem>
#include <string>

#include "slib/standardformats.h"

namespace tool {

/// Is deleted at the end of the scope.
class PrivateStore {
public:
    enum class Content {
        UsersOwn,  ///< a copy of the user's store
        Defaults,  ///< a document with the defaults, whatever the user and the machine are like
    };

    /// Throws slib::StringException when there is no room for it.
    explicit PrivateStore(Content content = Content::UsersOwn);
    ~PrivateStore();
    PrivateStore(const PrivateStore&) = delete;
    PrivateStore& operator=(const PrivateStore&) = delete;

    /// From now on contexts play into this file, as a whole: where no settings are stored yet the machine is
    /// measured for them, which takes a second.
    void PlayInto(const std::string& waveFile) const;

    /// Stores one value. Throws slib::BadStateException when there is no room for it.
    static void Write(const std::string& key, const std::string& value);

    /// From now on these are the system's speakers, and the layout follows them.
    void TakeSpeakers(slib::StandardFormat format) const;

private:
    std::filesystem::path folder;
};

}  // namespace tool
