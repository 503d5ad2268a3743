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

/// What is found under a key.
struct StoredValue {
    enum class State {
        Present,
        Absent,
        Damaged,     ///< absent from a file with lines that can't be used, where it may have been
        Unreadable,  ///< there may be one: the file couldn't be opened or read
    };
    State state;
    std::string text;  ///< the value; of what isn't Present the reason, for a person
};

/// Reads and writes values by keys of "/"-separated names ("/Log/Index"). Values are UTF-8 text of any length
/// with any control characters but NUL; what isn't UTF-8 becomes U+FFFD. Nothing here throws or prints for
/// what the machine does: a store that can't be opened gives the default on reading and loses the write on
/// writing. What a damaged file still holds in whole lines stays readable, and stays in it when it is written
/// again; the file as it was is then stored beside it, with ".damaged" behind its name. The values below
/// "/Log" of the user's scope have a file of their own, so that a line of the log never replaces what a user
/// has set; while that one isn't there, the lines of older versions in the scope's file are read.
class ConfigStore {
public:
    enum class Scope { User, Machine };

    /// How long a change waits for another process that holds the lock: 50 ms in a game, and after a wait in
    /// vain not at all until the lock is free again; up to five seconds where a person waits for the answer.
    enum class Patience { Game, Person };

    ConfigStore(std::string root, Scope scope);

    /// The text under `key`, or `defaultValue` when there is none.
    std::string Read(const std::string& key, const std::string& defaultValue) const;

    /// The same for a caller to whom no value and a failed reading aren't one.
    StoredValue Find(const std::string& key) const;

    /// Stores the text under `key`, making the missing levels.
    void Write(const std::string& key, const std::string& value) const;

    /// Runs `change` as one step, which no other process or thread that writes comes between, and stores what
    /// it wrote, on the disk. When the store can't be opened for writing `change` doesn't run. Values below
    /// "/Log" aren't part of it. False when nothing was stored.
    bool Update(const std::function<void(OpenStore&)>& change, Patience patience = Patience::Game) const;

    /// The same for the values below "/Log" of the user's scope, and for them alone; they aren't worth a wait
    /// for the disk. Takes no mutex of the process, so that it works in a child that the game forked, too.
    bool UpdateLog(const std::function<void(OpenStore&)>& change) const;

private:
    bool IsOfLog(const std::string& key) const;

    std::string root;
    Scope scope;
};

/// Ends all access to the stores of this process: from here on reading gives the default, and a write is
/// lost. For the end of the process, where other threads may still log while the libraries below are taken
/// apart.
void CloseStores();

/// The keys of the configuration document, and of one that couldn't be used and was replaced.
inline constexpr const char* configurationKey = "/Speakers/Configuration";
inline constexpr const char* keptConfigurationKey = "/Speakers/KeptConfiguration";

/// The configuration document, from the user's scope. Throws slib::BadDataException "It appears that speakers
/// have not yet been set up." when there is none, and slib::BadStateException when there may be one, with
/// the reason.
std::string ReadSpeakerConfiguration();

/// Stores the configuration document in the user's scope.
void WriteSpeakerConfiguration(const std::string& text);

/// The path of the format library, from the machine's scope: the value of "/Formats/AFL", or when that is
/// empty, under "/Formats/UFL". A path that begins with a dot starts at the folder of the store's file, so
/// that a tree can be moved. Empty when no library is configured.
std::string ReadFormatLibraryPath();

}  // namespace orb3
