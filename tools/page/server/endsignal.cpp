#include "tools/page/server/endsignal.h"

#include <sys/eventfd.h>

#include "slib/exception.h"

namespace page {

EndSignal::EndSignal() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!descriptor.IsOpen())
        throw slib::OperatingSystemErrnoException(
            "The page's server has no descriptor left. End other programs, and start it again.");
}

void EndSignal::Raise() const {
    eventfd_write(descriptor.value, 1);
}

}  // namespace page
