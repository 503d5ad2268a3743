#pragma once

// That a user has one server of the page: a lock in the runtime folder, which ends with the process. One
// thread.

#include <sys/types.h>

#include <filesystem>

#include "tools/page/server/descriptor.h"

namespace page {

class OnlyServer {
public:
    /// Takes the lock in `folder`, or finds who has it. Throws slib::Exceptions where neither is possible.
    explicit OnlyServer(const std::filesystem::path& folder);

    [[nodiscard]] bool IsFirst() const { return owner == 0; }

    pid_t owner = 0;  ///< the other server, where there is one

private:
    Descriptor file;
};

}  // namespace page
