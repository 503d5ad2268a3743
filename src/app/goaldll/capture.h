#pragma once

// Recording, for a game whose profile allows it: the open capture devices and the names of all inputs. The
// calls of alc.h come here with no lock held; none of apiMutex's is taken, so that a sound server that is
// slow holds up the calls that wait for it and nothing else. Any thread.

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "slib/exception.h"
#include "slib/log.h"
#include "slib/mutex.h"

namespace goal {

/// A capture call that failed.
class CaptureException : public slib::StringException {
public:
    CaptureException(const std::string& text, int code, bool isOfMachine = false)
        : StringException(text), code(code), isOfMachine(isOfMachine) {}

    const int code;          ///< for alcGetError
    const bool isOfMachine;  ///< not a mistake of the game's: the user wants to know
};

/// Functions throw CaptureException, and std::bad_alloc where there is no memory; what was there stays then.
class CaptureDevices {
public:
    struct Device;

    /// `log` is borrowed and outlives the object.
    explicit CaptureDevices(slib::Log* log);
    ~CaptureDevices();
    CaptureDevices(const CaptureDevices&) = delete;
    CaptureDevices& operator=(const CaptureDevices&) = delete;

    /// `name` is null or empty for the user's default input; `frequency` in Hz, `format` an AL_FORMAT_...,
    /// `size` in frames. Stopped. May wait for the sound server, as may Close and Names.
    Device* Open(const char* name, std::uint32_t frequency, int format, int size);
    void Close(const void* device);

    // Of a device that is open; of any other handle they throw.
    void SetRunning(const void* device, bool running, const char* call);
    void Read(const void* device, void* samples, int frames);
    int Available(const void* device);
    /// Valid until the device is closed.
    const char* NameOf(const void* device);

    /// The names of all inputs, the default first, each ended by a NUL, and one more NUL at the end. It is
    /// also the default's name. The server is asked once a second at most. The pointer stays valid while the
    /// list has changed fewer than 64 times.
    const char* Names();

    /// A device is open, or a call under way: a child that is forked now has a part of it only.
    bool IsInUse() const { return uses != 0; }

    /// Closes all and gives back all memory. No device is opened from then on.
    void ShutDown();

private:
    class Use;
    std::unique_ptr<Device>& Find(const void* device, const char* call) SLIB_REQUIRES(mutex);

    slib::Log* const log;
    std::atomic<int> uses{0};  // open devices, and calls under way

    slib::Mutex serverMutex;  // held by those who wait for the server; taken before `mutex`
    bool isOver SLIB_GUARDED_BY(serverMutex) = false;
    std::int64_t nextListing SLIB_GUARDED_BY(serverMutex) = 0;  // ns
    std::list<std::string> lists SLIB_GUARDED_BY(serverMutex);
    const std::string* newest SLIB_GUARDED_BY(serverMutex) = nullptr;  // of them

    slib::Mutex mutex;  // held for a moment
    std::vector<std::unique_ptr<Device>> devices SLIB_GUARDED_BY(mutex);
};

}  // namespace goal
