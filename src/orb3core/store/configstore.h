#pragma once

// The hierarchical store of text values in which the system keeps what lasts between two runs: the
// configuration document, the path of the format library and the log. Each operation opens the store, does
// its work and closes it again, so that what another process changed is seen at the next one. Any thread.

#include <functional>
#include <string>

#include "slib/productname.h"

namespace orb3 {

/// The root key of everything that the system stores.
inline constexpr const char* storeRoot = slib::productFolder;

/// A store that is open for a change: what one function given to ConfigStore::Update reads and writes.
class OpenStore {
public:
    virtual ~OpenStore() = default;
    virtual std::string Read(const std::string& key, const std::string& defaultValue) const = 0;
    virtual void Write(const std::string& key, const std::string& value) = 0;
};

/// Reads and writes values by keys of "/"-separated names ("/Log/Index"). Values are UTF-8 text of any length
/// with any control characters but NUL; what isn't UTF-8 becomes U+FFFD. Nothing here throws or prints for
/// what the machine does: a store that can't be opened gives the default on reading and loses the write on
/// writing. What a damaged file still holds in whole lines stays readable, and stays in it when it is written
/// again.
class ConfigStore {
public:
    enum class Scope { User, Machine };

    ConfigStore(std::string root, Scope scope);

    /// The text under `key`, or `defaultValue` when there is none.
    std::string Read(const std::string& key, const std::string& defaultValue) const;

    /// Stores the text under `key`, making the missing levels.
    void Write(const std::string& key, const std::string& value) const;

    /// Runs `change` as one step, which no other process or thread that writes comes between, and stores what
    /// it wrote. When the store can't be opened for writing `change` doesn't run.
    void Update(const std::function<void(OpenStore&)>& change) const;

private:
    std::string root;
    Scope scope;
};

/// Ends all access to the stores of this process: from here on reading gives the default, and a write is
/// lost. For the end of the process, where other threads may still log while the libraries below are taken
/// apart.
void CloseStores();

/// The configuration document, from the user's scope. Throws slib::BadDataException "It appears that speakers
/// have not yet been set up." when there is none.
std::string ReadSpeakerConfiguration();

/// Stores the configuration document in the user's scope.
void WriteSpeakerConfiguration(const std::string& text);

/// The path of the format library, from the machine's scope: the value of "/Formats/AFL", or when that is
/// empty, under "/Formats/UFL". A path that begins with a dot starts at the folder of the store's file, so
/// that a tree can be moved. Empty when no library is configured.
std::string ReadFormatLibraryPath();

}  // namespace orb3
