#pragma once

// The machine and the format library as a start would find them: the output that the settings choose, its
// devices, and the library that the machine's store names, which is only read. One thread.

#include <functional>
#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/layeredlibrarian.h"
#include "orb3core/library/processingformatlibrarian.h"
#include "orb3core/setup/devicelookup.h"
#include "slib/log.h"
#include "slib/smartptr.h"

namespace tool {

/// Any thread. `log` is borrowed and outlives the devices.
orb3::Frameworks MakeFrameworks(slib::Log& log);

/// A device with the framework that it belongs to.
struct Output {
    audiopipe::FrameworkPtr framework;
    audiopipe::DevicePtr device;
};

/// The device with this id, name or number (from 1, through all frameworks), or the only one whose name
/// begins or ends so; the default device when `name` is empty. Throws WrongUse, which lists the devices.
Output FindOutput(const orb3::Frameworks& frameworks, const std::string& name);

/// The library that the machine's store names.
class FormatLibrary {
public:
    /// `log` is borrowed and outlives the library. Throws slib::BadDataException, which says what to do.
    explicit FormatLibrary(slib::Log& log);

    const orb3::fl::FormatLibrarian& Librarian() const { return *librarian; }

    const std::string path;

private:
    orb3::aspace::BasicAcousticFactory factory;
    slib::SmartPtr<orb3::fl::ProcessingFormatLibrarian, slib::ThreadsafeCounter> librarian;
};

/// The user's own library over that one, to be changed: `change` is given both as one library, and what it
/// stored is written when it returns. Throws slib::BadDataException, which says what to do, and what `change`
/// throws; then nothing was written.
void ChangeOwnLibrary(const std::function<void(orb3::fl::LayeredLibrarian& library)>& change);

/// Errors go to standard error, as sentences of this program; the rest goes nowhere.
class ErrorsToTerminal : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override;
};

}  // namespace tool
