#pragma once

// The log that keeps its last 100 lines in the configuration store, for all processes of the user together.

#include <cstdint>
#include <string>

#include "slib/log.h"
#include "slib/mutex.h"

namespace ggui {

/// Writes lines like "I2012-03-04 05:06:07.89 Tessarune: Rendering started." into the ring "/Log/000" to
/// "/Log/099" of the user's store; "/Log/Index" is the slot written last. The first 25 errors of a process
/// are kept, the 26th becomes "[Suppressing further errors.]", and later ones go nowhere; other lines never
/// stop. Any thread; a write costs about half a millisecond.
class RegistryLog : public slib::Log {
public:
    /// `root` is the store's root, `program` the name in each line.
    RegistryLog(std::string root, const std::string& program);

    void Write(const std::string& text, bool isError) override;

private:
    slib::Mutex mutex;  // the order of the lines, too
    const std::string root;
    const std::string name;  // " program: "
    std::uint32_t errorCount SLIB_GUARDED_BY(mutex) = 0;
};

}  // namespace ggui
