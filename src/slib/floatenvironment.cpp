#include "slib/floatenvironment.h"

namespace slib {

void DefaultFloatEnvironment::Change() {
    std::fegetenv(&before);
    std::fesetenv(FE_DFL_ENV);
    isChanged = true;
}

// The game finds its flags as it left them, too.
void DefaultFloatEnvironment::Restore() const {
    std::fesetenv(&before);
}

}  // namespace slib
