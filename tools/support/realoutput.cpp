#include "tools/support/realoutput.h"

#include "platform/soundsystem.h"

namespace tool {

bool DoesOutputAnswer(slib::Log& log) {
    bool isFound = false;
    // The primary driver, which has no identifier, is always there.
    platform::MakeSoundSystem({}, &log)->DirectSoundEnumerateA(
        [&](const char* identifier, const char*, const char*) {
            isFound = isFound || identifier != nullptr;
            return true;
        });
    return isFound;
}

}  // namespace tool
