#pragma once

// libsndfile, loaded when it is first needed, and a file in a game's process as it writes to one. For the
// writers of sound files alone.

#include <sndfile.h>

#include <string>

#include "platform/dynamiclibrary.h"
#include "platform/gamefile.h"

namespace platform {

struct SoundFileLibrary {
    DynamicLibrary library{"libsndfile.so.1"};

    Imported<decltype(sf_open_virtual)> open{library, "sf_open_virtual"};
    Imported<decltype(sf_close)> close{library, "sf_close"};
    Imported<decltype(sf_command)> command{library, "sf_command"};
    Imported<decltype(sf_set_string)> setText{library, "sf_set_string"};
    Imported<decltype(sf_writef_int)> writeIntegers{library, "sf_writef_int"};
    Imported<decltype(sf_writef_float)> writeFloats{library, "sf_writef_float"};
    Imported<decltype(sf_strerror)> explain{library, "sf_strerror"};
};

/// The one of the process; its `problem` says whether it is there.
SoundFileLibrary& Sndfile();

/// The file, with the calls that the library makes of it. One thread at a time.
class SoundFileTarget {
public:
    /// Replaces what is at `path`. Without success IsOurs is false, and errno says why.
    explicit SoundFileTarget(const std::string& path);

    /// See GameFile.
    bool IsOurs() const { return file.IsOurs(); }

    /// For a user pointer to an object of this class.
    static SF_VIRTUAL_IO Calls();

private:
    static SoundFileTarget& Of(void* self) { return *static_cast<SoundFileTarget*>(self); }
    static sf_count_t Seek(sf_count_t offset, int whence, void* self);
    sf_count_t Advance(ssize_t count);

    const GameFile file;
    sf_count_t position = 0;  // bytes
    sf_count_t length = 0;    // bytes
};

}  // namespace platform
